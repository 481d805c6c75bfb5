# Shaders, render states, bindings and draws.
list(APPEND GLEAMWORK_SOURCES
  TextShader.cpp
  dx11/D3D11RendererBinding.cpp
  dx11/D3D11RendererConstants.cpp
  dx11/D3D11RendererDraw.cpp
  dx11/D3D11RendererShaders.cpp
  dx11/D3D11RendererTargets.cpp
  dx11/D3D11ShaderCompiler.cpp
  dx11/D3D11StateCache.cpp
  dx11/ShaderTables.cpp)
