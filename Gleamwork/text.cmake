# Layout and drawing of text.
list(APPEND GLEAMWORK_SOURCES
  RendererCommandBufferText.cpp
  RendererText.cpp
  TextLayout.cpp)
