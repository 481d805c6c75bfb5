# System calls, debugger output, object bases, formats, argument checks, DXGI and the null device.
find_package(SDL2 REQUIRED)
list(APPEND PLATFORM_SOURCES
  src/common/DebugOutput.cpp
  src/common/FormatInfo.cpp
  src/common/FormatTable.cpp
  src/common/PrivateData.cpp
  src/common/StateCache.cpp
  src/common/ValidationContext.cpp
  src/common/ValidationResources.cpp
  src/common/ValidationStates.cpp
  src/common/ValidationViews.cpp
  src/common/guids.cpp
  src/dxgi/Adapter.cpp
  src/dxgi/Adapters.cpp
  src/dxgi/DxgiDevice.cpp
  src/dxgi/Factory.cpp
  src/dxgi/Modes.cpp
  src/dxgi/Output.cpp
  src/dxgi/SwapChain.cpp
  src/dxgi/SwapChainDesc.cpp
  src/dxgi/SwapChainState.cpp
  src/null/NullCalls.cpp
  src/null/NullContext.cpp
  src/null/NullContextMemory.cpp
  src/null/NullDevice.cpp
  src/null/NullPresenter.cpp
  src/null/NullQuery.cpp
  src/null/NullResource.cpp
  src/window/Display.cpp
  src/window/MessageBox.cpp
  src/window/Modules.cpp
  src/window/NativeWindow.cpp
  src/window/System.cpp
  src/window/Window.cpp
)
list(APPEND PLATFORM_LIBS SDL2::SDL2)
