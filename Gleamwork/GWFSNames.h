// The names in GWFS, in table order, grouped by use. X(name) stands for one string; its text is its name.
#pragma once

// The formatter would indent each entry further than the last.
// clang-format off

// Graphics device database keys.
#define GWFS_DEVICE_KEYS(X) \
    X(VendorID) X(DeviceID) X(Description) X(RecommendedQualityPreset) X(RecommendedScreenWidth) \
    X(RecommendedScreenHeight) X(GfxDeviceData) X(KnownGfxDevices) X(GfxDeviceInfo)

// Camera default.
#define GWFS_CAMERA(X) \
    X(NotRegistered)

// Named render targets.
#define GWFS_RENDER_TARGETS(X) \
    X(ScreenshotBackBuffer) X(ScreenshotDestTexture) X(DepthBuffer) X(MSAADepthBuffer) X(HalfWidthDepthBuffer) \
    X(HalfWidthBackBuffer) X(FakeFullScreenFrameBuffer)

// Shader constants and resources of the built-in shaders.
#define GWFS_SHADER_NAMES(X) \
    X(scaleBias) X(color) X(shadowColor) X(Tex) X(Color) X(offset) X(Base) X(BaseSampler) X(mvp) X(ViewportOffset)

// Global constant names.
#define GWFS_GLOBAL_CONSTANTS(X) \
    X(global_View) X(global_Projection) X(global_ViewProjection) X(global_FogPropertyMatrix) X(global_ViewInfo) \
    X(global_Data) X(global_ViewPos) X(global_LightPropertyMatrix) X(global_UserData)

// Format names.
#define GWFS_FORMATS(X) \
    X(FORMAT_NONE) X(FORMAT_R8) X(FORMAT_RG8) X(FORMAT_RGB8) X(FORMAT_RGBA8) X(FORMAT_R16) X(FORMAT_RG16) \
    X(FORMAT_RGB16) X(FORMAT_RGBA16) X(FORMAT_R8S) X(FORMAT_RG8S) X(FORMAT_RGB8S) X(FORMAT_RGBA8S) X(FORMAT_R16S) \
    X(FORMAT_RG16S) X(FORMAT_RGB16S) X(FORMAT_RGBA16S) X(FORMAT_R16F) X(FORMAT_RG16F) X(FORMAT_RGB16F) \
    X(FORMAT_RGBA16F) X(FORMAT_R32F) X(FORMAT_RG32F) X(FORMAT_RGB32F) X(FORMAT_RGBA32F) X(FORMAT_R16I) \
    X(FORMAT_RG16I) X(FORMAT_RGB16I) X(FORMAT_RGBA16I) X(FORMAT_R32I) X(FORMAT_RG32I) X(FORMAT_RGB32I) \
    X(FORMAT_RGBA32I) X(FORMAT_R16UI) X(FORMAT_RG16UI) X(FORMAT_RGB16UI) X(FORMAT_RGBA16UI) X(FORMAT_R32UI) \
    X(FORMAT_RG32UI) X(FORMAT_RGB32UI) X(FORMAT_RGBA32UI) X(FORMAT_RGBE8) X(FORMAT_RGB9E5) X(FORMAT_RG11B10F) \
    X(FORMAT_RGB565) X(FORMAT_RGBA4) X(FORMAT_RGB10A2) X(FORMAT_BGR10A2) X(FORMAT_A1RGB5) X(FORMAT_D16) \
    X(FORMAT_D24) X(FORMAT_D24S8) X(FORMAT_D32F) X(FORMAT_D32FS8) X(FORMAT_DXT1) X(FORMAT_DXT3) X(FORMAT_DXT5) \
    X(FORMAT_ATI1N) X(FORMAT_ATI2N) X(FORMAT_BC6H) X(FORMAT_BC7) X(FORMAT_BGR8) X(FORMAT_BGRA8) X(FORMAT_MAX)

// Image file types.
#define GWFS_IMAGE_FILES(X) \
    X(DDS) X(TGA) X(JPG) X(PNG) X(BMP)

// Every string but the empty one, which stands first in the table.
#define GWFS_NAMES(X) \
    GWFS_DEVICE_KEYS(X) GWFS_CAMERA(X) GWFS_RENDER_TARGETS(X) GWFS_SHADER_NAMES(X) GWFS_GLOBAL_CONSTANTS(X) \
    GWFS_FORMATS(X) GWFS_IMAGE_FILES(X)
// clang-format on
