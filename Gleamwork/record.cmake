# Recording of render commands and their replay.
list(APPEND GLEAMWORK_SOURCES
  RendererCommandBuffer.cpp
  RendererCommandBufferConstants.cpp
  RendererCommandBufferDraw.cpp
  RendererCommandBufferResources.cpp
  RendererCommandBufferText.cpp
  RendererCommands.cpp)
