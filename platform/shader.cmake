# Shader compiler, reflection, container, cache and stage linking.
find_package(Threads REQUIRED)
find_package(glslang CONFIG REQUIRED)
find_package(SPIRV-Tools-opt CONFIG REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)
list(APPEND PLATFORM_SOURCES
  src/shader/Blob.cpp
  src/shader/BufferLayout.cpp
  src/shader/BufferLayoutApply.cpp
  src/shader/D3DCompile.cpp
  src/shader/HlslDeclarations.cpp
  src/shader/HlslFacts.cpp
  src/shader/HlslProgram.cpp
  src/shader/HlslRewrite.cpp
  src/shader/HlslSignature.cpp
  src/shader/HlslTokens.cpp
  src/shader/HlslTree.cpp
  src/shader/HlslTypes.cpp
  src/shader/IncludeFiles.cpp
  src/shader/InstructionCount.cpp
  src/shader/Preprocess.cpp
  src/shader/ResourceSlots.cpp
  src/shader/ShaderCache.cpp
  src/shader/ShaderCompiler.cpp
  src/shader/ShaderContainer.cpp
  src/shader/ShaderInfoCodec.cpp
  src/shader/ShaderMessages.cpp
  src/shader/ShaderModule.cpp
  src/shader/ShaderReflection.cpp
  src/shader/SpirvMatrixRows.cpp
  src/shader/SpirvModule.cpp
  src/shader/SpirvPatches.cpp
  src/shader/SpirvTools.cpp
  src/shader/SpirvUses.cpp
  src/shader/StageLink.cpp
)
# glslang is built without run-time type information; classes derived from its own must be too.
set_source_files_properties(
  src/shader/HlslProgram.cpp src/shader/HlslSignature.cpp src/shader/HlslTree.cpp src/shader/HlslTypes.cpp
  src/shader/Preprocess.cpp
  PROPERTIES COMPILE_OPTIONS "-fno-rtti;-fno-sanitize=vptr")
list(APPEND PLATFORM_LIBS
  glslang::glslang glslang::SPIRV glslang::glslang-default-resource-limits
  SPIRV-Tools-opt SPIRV-Tools-static PkgConfig::XXHASH Threads::Threads)
