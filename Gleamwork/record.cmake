# Recording of render commands and their replay.
list(APPEND GLEAMWORK_SOURCES
  RendererCommandBuffer.cpp
  RendererCommandBufferConstants.cpp
  RendererCommandBufferDraw.cpp
  RendererCommandBufferResources.cpp
  RendererCommands.cpp)
if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/text.cmake)
  list(APPEND GLEAMWORK_SOURCES RendererCommandBufferText.cpp)
endif()
