# System calls, debugger output, object bases, formats, argument checks, DXGI and the null device.
find_package(SDL2 REQUIRED)
list(APPEND PLATFORM_SOURCES
  src/common/DebugOutput.cpp
  src/common/FormatInfo.cpp
  src/common/FormatTable.cpp
  src/common/PrivateData.cpp
  src/common/ValidationContext.cpp
  src/common/ValidationResources.cpp
  src/common/ValidationStates.cpp
  src/common/ValidationViews.cpp
  src/common/guids.cpp
)
list(APPEND PLATFORM_LIBS SDL2::SDL2)
