// The renderer's life: creation and destruction, default textures, fonts, texture reloads, debug render passes.
#include "Gleamwork/Renderer.h"

#include "Gleamwork/DeviceImageFormats.h"
#include "Gleamwork/image/GraphicsBuffer.h"
#include "Gleamwork/image/Image.h"

#include <algorithm>
#include <cstring>
#include <qs/Log.h>
#include <qs/Path.h>
#include <qs/Settings.h>

namespace gw {

Renderer::Renderer(api::D3D11API* api) : api::D3D11Renderer(api) {}

Renderer::~Renderer()
{
    CheckFonts();
    ReleaseFonts();
}

bool Renderer::Create()
{
    const bool prefabs = CreatePrefabStates();
    const bool triangle = CreateFullScreenTriangle();
    if (prefabs && triangle) {
        return true;
    }
    QS_LOG_ASSERT("Gleamwork/Renderer", "gw::Renderer::Create", "Failed to create default renderstates!");
    return false;
}

bool Renderer::CreateFullScreenTriangle()
{
    if (!m_fullScreenTriangle) {
        m_fullScreenTriangle = new FullScreenTriangle;
    }
    return m_fullScreenTriangle && m_fullScreenTriangle->Init(qs::ObjectHandle::Unassigned, false, nullptr);
}

void Renderer::DestroyFullScreenTriangle()
{
    if (m_fullScreenTriangle) {
        // A queued removal would come up behind the renderer's end, so the vertices go at once.
        RemoveVertexBuffer(m_fullScreenTriangle->m_vertexBuffer);
        m_fullScreenTriangle->m_vertexBuffer = qs::ObjectHandle::Unassigned;
        m_fullScreenTriangle->Destroy(nullptr);
        delete m_fullScreenTriangle;
        m_fullScreenTriangle = nullptr;
    }
}

qs::ObjectHandle Renderer::CreateDefaultTexture(const unsigned char (&texel)[4], bool cube)
{
    unsigned bytes = DEFAULT_TEXTURE_SIZE * DEFAULT_TEXTURE_SIZE * sizeof(texel) * (cube ? 6 : 1);
    GraphicsBuffer pixels(bytes, 4);
    for (unsigned offset = 0; offset < pixels.GetSize(); offset += sizeof(texel)) {
        std::memcpy(pixels.GetBytes() + offset, texel, sizeof(texel));
    }
    ETextureUsageFlag usage = eTextureUsageFlag_ShaderResource;
    if (cube) {
        usage = usage | eTextureUsageFlag_CubeMap;
    }
    const qs::ObjectHandle handle = AddTexture();
    CreateTexture(handle, pixels, FORMAT_RGBA8, DEFAULT_TEXTURE_SIZE, DEFAULT_TEXTURE_SIZE, 0, 1, 1, &bytes, 1, 1,
                  usage, eTextureAccessFlag_GPURead);
    return handle;
}

bool Renderer::CreateDefaultTextures()
{
    constexpr unsigned char white[4] = {255, 255, 255, 255};
    constexpr unsigned char black[4] = {0, 0, 0, 255};
    constexpr unsigned char transparent[4] = {0, 0, 0, 0};
    m_whiteTexture = CreateDefaultTexture(white, false);
    m_blackTexture = CreateDefaultTexture(black, false);
    m_transparentTexture = CreateDefaultTexture(transparent, false);
    m_whiteTextureCube = CreateDefaultTexture(white, true);
    m_blackTextureCube = CreateDefaultTexture(black, true);
    return m_whiteTexture.IsValid() && m_blackTexture.IsValid() && m_transparentTexture.IsValid() &&
           m_whiteTextureCube.IsValid() && m_blackTextureCube.IsValid();
}

void Renderer::RemoveDefaultTextures()
{
    for (qs::ObjectHandle* texture :
         {&m_whiteTexture, &m_blackTexture, &m_transparentTexture, &m_whiteTextureCube, &m_blackTextureCube}) {
        RemoveTexture(*texture, true, false);
        *texture = qs::ObjectHandle::Unassigned;
    }
}

bool Renderer::Destroy()
{
    DestroyFullScreenTriangle();
    RemoveDefaultTextures();
    CheckFonts();
    ReleaseFonts();
    ClearTextures(true);
    RemovePrefabStates();
    return true;
}

void Renderer::CheckFonts()
{
    if (m_fonts.GetLiveCount() != 0) {
        QS_LOG_ASSERT("Gleamwork/Renderer", "gw::Renderer::ReleaseFonts", "Textured Fonts still alive at shutdown!");
    }
}

void Renderer::ReleaseFonts()
{
    while (const TexturedFont* font = m_fonts.GetLiveAt(0)) {
        RemoveFont(font->handle);
    }
}

qs::ObjectHandle Renderer::AddFont(const TexturedFont& font)
{
    qs::ObjectHandle handle;
    m_fonts.Add(font, handle);
    return handle;
}

void Renderer::RemoveFont(qs::ObjectHandle handle)
{
    if (!m_fonts.IsAlive(handle)) {
        return;
    }
    TexturedFont* font = m_fonts.Get(handle);
    RemoveTexture(font->texture, true, false);
    font->DestroyCharData();
    m_fonts.Destroy(handle);
}

void Renderer::ReloadTexture(qs::ObjectHandle handle, Image& image, bool srgb)
{
    if (handle == qs::ObjectHandle::Unassigned) {
        QS_LOG_ASSERT("Gleamwork/Renderer", "gw::Renderer::ReloadTexture",
                      "Cannot reload a texture on a TEXTURE_NONE id!");
    }
    if (IsAlive(handle)) {
        RemoveTexture(handle, false, false);
        CreateTexture(handle, image, srgb);
    }
}

void Renderer::ReloadTexture(qs::ObjectHandle handle, const qs::Path& path, bool srgb)
{
    if (!IsAlive(handle)) {
        return;
    }
    RemoveTexture(handle, false, false);
    ImageLoadParams params;
    params.flags = srgb ? std::uint32_t(IMAGE_LOAD_SRGB) : 0;
    params.mipSkip = GraphicSettings->defaultImageLoadQuality;
    params.formatReplacements = image::GetDeviceFormatReplacements();
    Image image;
    if (image.Load(path, {}, params)) {
        CreateTexture(handle, image, srgb);
        image.FreePixelData();
    } else {
        QS_LOG_ERROR("Gleamwork/Renderer", "gw::Renderer::ReloadTexture", "Couldn't open \"%s\"", path.ToChar());
    }
}

// A row longer than the pitch would run into the next one, and the last out of the texture: it is cut.
static void CopyRows(void* target, std::size_t pitch, const unsigned char* pixels, std::size_t rowSize,
                     std::size_t rows)
{
    if (pitch == rowSize) {
        std::memcpy(target, pixels, rowSize * rows);
        return;
    }
    for (std::size_t row = 0; row < rows; ++row) {
        std::memcpy(static_cast<char*>(target) + row * pitch, pixels + row * rowSize, std::min(pitch, rowSize));
    }
}

void Renderer::UpdateTextureData(qs::ObjectHandle handle, const unsigned char* pixels, int width, int height,
                                 int bytesPerPixel)
{
    unsigned textureWidth = 0;
    unsigned textureHeight = 0;
    unsigned textureDepth = 0;
    GetTextureDimensions(handle, textureWidth, textureHeight, textureDepth);
    if (width < 1 || height < 1 || bytesPerPixel < 1 || unsigned(height) > std::max(textureHeight, 1u)) {
        QS_LOG_ERROR("Gleamwork/Renderer", "gw::Renderer::UpdateTextureData",
                     "%d by %d pixels of %d bytes do not fit into a texture of %u by %u", width, height, bytesPerPixel,
                     textureWidth, textureHeight);
        return;
    }
    void* data = nullptr;
    int pitch = 0;
    if (!LockTexture(handle, 0, &data, &pitch, eResourceAccess_WriteDiscard)) {
        return;
    }
    CopyRows(data, std::size_t(pitch), pixels, std::size_t(width) * std::size_t(bytesPerPixel), std::size_t(height));
    UnlockTexture(handle, 0);
}

void Renderer::DebugMRT(const qs::FixedString& pass, int target)
{
    if (!IsDebuggingRenderPass(pass)) {
        return;
    }
    const qs::ObjectHandle current = GetCurrentRenderTarget(unsigned(target));
    const EFormat format = GetFormat(current);
    unsigned width = 0;
    unsigned height = 0;
    unsigned depth = 0;
    GetTextureDimensions(current, width, height, depth);

    const qs::ObjectHandle texture = GetDebugRenderPassTexture(pass);
    if (texture.IsValid() && GetFormat(texture) == format) {
        unsigned oldWidth = 0;
        unsigned oldHeight = 0;
        unsigned oldDepth = 0;
        GetTextureDimensions(texture, oldWidth, oldHeight, oldDepth);
        if (oldWidth != width || oldHeight != height || oldDepth != depth) {
            ResizeRenderTarget(texture, int(width), int(height), int(depth), 1);
        }
        CopyTexture(current, texture);
        return;
    }
    if (texture.IsValid()) {
        RemoveTexture(texture, true, false);
    }
    MakeDebugTexture(pass, current, format, width, height, depth);
}

void Renderer::MakeDebugTexture(const qs::FixedString& pass, qs::ObjectHandle current, EFormat format, unsigned width,
                                unsigned height, unsigned depth)
{
    const qs::ObjectHandle texture = AddTexture();
    CreateTexture(texture, GraphicsBuffer::Empty, format, width, height, depth, 1, 1, nullptr, 1, 1,
                  GetUsageFlags(current), GetAccessFlags(current));
    SetDebugRenderPassTexture(pass, texture);
    CopyTexture(current, texture);
}

} // namespace gw
