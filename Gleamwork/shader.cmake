# Shaders, vertex formats, render states, bindings and draws; displays.
list(APPEND GLEAMWORK_SOURCES
  BinaryShader.cpp
  Display.cpp
  TextShader.cpp
  dx11/D3D11RendererBinding.cpp
  dx11/D3D11RendererConstants.cpp
  dx11/D3D11RendererDraw.cpp
  dx11/D3D11RendererShaders.cpp
  dx11/D3D11RendererStates.cpp
  dx11/D3D11RendererTargets.cpp
  dx11/D3D11RendererVertexFormats.cpp
  dx11/D3D11ShaderCompiler.cpp
  dx11/D3D11StateCache.cpp
  dx11/DummyShader.cpp
  dx11/ShaderTables.cpp)
