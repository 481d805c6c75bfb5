# The device back end: the only sources that include a platform header.
list(APPEND GLEAMWORK_SOURCES
  IAPI.cpp
  MeasurementNode.cpp
  dx11/D3D11API.cpp
  dx11/D3D11BufferAccess.cpp
  dx11/D3D11Displays.cpp
  dx11/D3D11Enums.cpp
  dx11/D3D11Error.cpp
  dx11/D3D11Formats.cpp
  dx11/D3D11Module.cpp
  dx11/D3D11PerformanceTracker.cpp
  dx11/D3D11RenderFrame.cpp
  dx11/D3D11RenderFrameDisplay.cpp
  dx11/D3D11RenderFrameFailure.cpp
  dx11/D3D11RenderFrameSurfaces.cpp
  dx11/D3D11Renderer.cpp
  dx11/D3D11RendererBuffers.cpp
  dx11/D3D11RendererCapture.cpp
  dx11/D3D11RendererTextures.cpp
  dx11/D3D11RollingBuffers.cpp
  dx11/D3D11TextureAccess.cpp
  dx11/D3D11TextureRemoval.cpp
  dx11/D3D11TextureViews.cpp
  dx11/EventQuery.cpp
  dx11/FrameQueryRing.cpp
  dx11/SRVMap.cpp
  dx11/SystemVersion.cpp
  dx11/TextureCreation.cpp
  dx11/TypeIndices.cpp)
list(APPEND GLEAMWORK_LIBS platform texture)
