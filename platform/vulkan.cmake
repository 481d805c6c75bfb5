# The device over Vulkan. The loader is opened at run time, so only the headers are needed here.
find_package(Vulkan REQUIRED)
list(APPEND PLATFORM_SOURCES
  src/device.cpp
  src/vulkan/Buffer.cpp
  src/vulkan/CommandStream.cpp
  src/vulkan/ContextBindings.cpp
  src/vulkan/ContextCopy.cpp
  src/vulkan/ContextDescriptors.cpp
  src/vulkan/ContextDraw.cpp
  src/vulkan/ContextMap.cpp
  src/vulkan/ContextPass.cpp
  src/vulkan/ContextPresent.cpp
  src/vulkan/ContextQuery.cpp
  src/vulkan/ContextTexture.cpp
  src/vulkan/ContextVertices.cpp
  src/vulkan/Device.cpp
  src/vulkan/DeviceSupport.cpp
  src/vulkan/Functions.cpp
  src/vulkan/Gpu.cpp
  src/vulkan/Instance.cpp
  src/vulkan/Memory.cpp
  src/vulkan/PipelineBuild.cpp
  src/vulkan/PipelineCacheFile.cpp
  src/vulkan/Pipelines.cpp
  src/vulkan/Queries.cpp
  src/vulkan/ReleaseQueue.cpp
  src/vulkan/Resource.cpp
  src/vulkan/Shader.cpp
  src/vulkan/Slices.cpp
  src/vulkan/StateObjects.cpp
  src/vulkan/Texture.cpp
  src/vulkan/TextureLayout.cpp
  src/vulkan/Tracking.cpp
  src/vulkan/UploadQueue.cpp
  src/vulkan/ValidationLog.cpp
  src/vulkan/Views.cpp
  src/vulkan/VulkanPresenter.cpp
  src/vulkan/WindowSurface.cpp
)
list(APPEND PLATFORM_LIBS Vulkan::Headers ${CMAKE_DL_LIBS})
