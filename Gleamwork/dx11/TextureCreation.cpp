// Checks and device descriptions of a texture that is being created.
#include "Gleamwork/dx11/TextureCreation.h"

#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

#include <algorithm>
#include <limits>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/TextureCreation";
constexpr char FUNCTION[] = "api::D3D11Renderer::CreateTexture";

constexpr unsigned MAX_SIZE_1D_2D = 16384;
constexpr unsigned MAX_SIZE_3D = 2048;
constexpr unsigned MAX_SAMPLES = 32;
constexpr unsigned MIN_BLOCK_SIZE = 4;

constexpr unsigned SHADER_RESOURCE_BITS =
    gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_ShaderResourceSlices;
constexpr unsigned RENDER_TARGET_BITS = gw::eTextureUsageFlag_RenderTarget | gw::eTextureUsageFlag_RenderTargetSlices;
constexpr unsigned DEPTH_STENCIL_BITS = gw::eTextureUsageFlag_DepthStencil | gw::eTextureUsageFlag_DepthStencilSlices;
constexpr unsigned UNORDERED_ACCESS_BITS =
    gw::eTextureUsageFlag_UnorderedAccess | gw::eTextureUsageFlag_UnorderedAccessSlices;
constexpr unsigned ACCESS_BITS = 15;

bool Refuse(const char* text)
{
    QS_LOG_ASSERT(FILE_NAME, FUNCTION, "%s", text);
    return false;
}

template <class... Arguments>
bool Refuse(const char* format, Arguments... arguments)
{
    QS_LOG_ASSERT(FILE_NAME, FUNCTION, format, arguments...);
    return false;
}

unsigned MipSize(unsigned size, unsigned mip)
{
    return std::max(mip < 32 ? size >> mip : 0u, 1u);
}

} // namespace

TextureCreation::TextureCreation(const TextureRequest& request, Texture& texture)
    : m_request(request), m_texture(texture), m_format(gw::image::GetFormatDescription(request.format))
{
}

bool TextureCreation::CheckDimensions() const
{
    if (m_request.width == 0) {
        return Refuse("CreateTexture failed! Invalid dimensions (%u x %u x %u).", m_request.width, m_request.height,
                      m_request.depth);
    }
    if (Is1D()) {
        return Check1D();
    }
    return Is2D() ? Check2D() : Check3D();
}

bool TextureCreation::Check1D() const
{
    return m_request.width <= MAX_SIZE_1D_2D ||
           Refuse("CreateTexture failed! 1D texture width must be in range [1, %u].", MAX_SIZE_1D_2D);
}

bool TextureCreation::Check2D() const
{
    if (m_request.width > MAX_SIZE_1D_2D || m_request.height > MAX_SIZE_1D_2D) {
        return Refuse("CreateTexture failed! 2D texture dimensions must be in range [1, %u] (was %u, %u).",
                      MAX_SIZE_1D_2D, m_request.width, m_request.height);
    }
    if (m_format.isBlockCompressed && (m_request.width < MIN_BLOCK_SIZE || m_request.height < MIN_BLOCK_SIZE)) {
        return Refuse("CreateTexture failed! 2D texture dimensions must be at least[4, 4].");
    }
    return true;
}

bool TextureCreation::Check3D() const
{
    if (m_request.width > MAX_SIZE_3D || m_request.height > MAX_SIZE_3D || m_request.depth > MAX_SIZE_3D) {
        return Refuse("CreateTexture failed! 3D texture dimensions must be in range [1, %u] (was %u x %u x %u).",
                      MAX_SIZE_3D, m_request.width, m_request.height, m_request.depth);
    }
    return m_request.arraySize <= 1 || Refuse("CreateTexture failed! 3D texture arrays are not supported!");
}

bool TextureCreation::SettleDescription()
{
    if (!SettleUsage()) {
        return false;
    }
    if (m_usage == D3D11_USAGE_IMMUTABLE && m_request.mem.IsEmpty()) {
        return Refuse("CreateTexture failed! Usage is D3D11_USAGE_IMMUTABLE but mem == NULL!");
    }
    if (!SettleBindFlags()) {
        return false;
    }
    SettleCPUAccess();
    return SettleCube() && SettleMipGeneration() && SettleSamples();
}

bool TextureCreation::SettleUsage()
{
    const unsigned access = m_request.access & ACCESS_BITS;
    if (access == gw::eTextureAccessFlag_GPURead) {
        m_usage = D3D11_USAGE_IMMUTABLE;
    } else if (access == (gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_CPUWrite)) {
        m_usage = D3D11_USAGE_DYNAMIC;
    } else if (access & gw::eTextureAccessFlag_CPURead) {
        return SettleStaging();
    }
    return true;
}

// Textures are GPU readable unless told otherwise, so that bit alone is let through; what the processor reads back
// cannot be written by the device's shaders.
bool TextureCreation::SettleStaging()
{
    if (m_request.access & gw::eTextureAccessFlag_GPUWrite) {
        return Refuse("CreateTexture failed! Can not perform GPU read/write on staging resources!");
    }
    if (m_request.msaaSamples > 1) {
        return Refuse("CreateTexture failed! D3D11_USAGE_STAGING does not support multisampling.");
    }
    if (m_request.usage & DEPTH_STENCIL_BITS) {
        return Refuse("CreateTexture failed! D3D11_USAGE_STAGING does not support depth-stencil buffers.");
    }
    m_usage = D3D11_USAGE_STAGING;
    return true;
}

bool TextureCreation::SettleBindFlags()
{
    const unsigned usage = m_request.usage;
    if (usage & SHADER_RESOURCE_BITS) {
        if (m_usage == D3D11_USAGE_STAGING) {
            return Refuse("CreateTexture failed! A texture can only be a shader resource when usage is default, "
                          "dynamic or immutable!");
        }
        m_bindFlags |= D3D11_BIND_SHADER_RESOURCE;
    }
    if (usage & RENDER_TARGET_BITS) {
        if (m_usage != D3D11_USAGE_DEFAULT) {
            return Refuse("CreateTexture failed! A texture can only be a render target when usage is default!");
        }
        m_bindFlags |= D3D11_BIND_RENDER_TARGET;
    }
    if (usage & DEPTH_STENCIL_BITS) {
        if (m_usage != D3D11_USAGE_DEFAULT) {
            return Refuse("CreateTexture failed! A texture can only be a depth stencil target when usage is default!");
        }
        m_bindFlags |= D3D11_BIND_DEPTH_STENCIL;
    }
    if (usage & UNORDERED_ACCESS_BITS) {
        m_bindFlags |= D3D11_BIND_UNORDERED_ACCESS;
    }
    return true;
}

void TextureCreation::SettleCPUAccess()
{
    if (m_usage == D3D11_USAGE_DYNAMIC) {
        m_cpuAccess = D3D11_CPU_ACCESS_WRITE;
    } else if (m_usage == D3D11_USAGE_STAGING) {
        m_cpuAccess = D3D11_CPU_ACCESS_READ;
        if (m_request.access & gw::eTextureAccessFlag_CPUWrite) {
            m_cpuAccess |= D3D11_CPU_ACCESS_WRITE;
        }
    }
}

bool TextureCreation::SettleCube()
{
    if (!(m_request.usage & gw::eTextureUsageFlag_CubeMap)) {
        return true;
    }
    if (!Is2D()) {
        return Refuse("CreateTexture failed! CubeMap has to be a 2D texture!");
    }
    const std::int64_t faces = std::int64_t(m_texture.arraySize) * 6;
    m_texture.arraySize = std::int32_t(std::min<std::int64_t>(faces, std::numeric_limits<std::int32_t>::max()));
    m_miscFlags |= D3D11_RESOURCE_MISC_TEXTURECUBE;
    return true;
}

bool TextureCreation::SettleMipGeneration()
{
    if (!(m_request.usage & gw::eTextureUsageFlag_GenerateMips)) {
        return true;
    }
    if (!(m_request.usage & SHADER_RESOURCE_BITS) || !(m_request.usage & RENDER_TARGET_BITS)) {
        return Refuse("CreateTexture failed! A texture can only be set to generate mips if it is a shader resource "
                      "and a render target!");
    }
    if (m_request.mipCount == 0) {
        return Refuse("CreateTexture failed! Cannot generate mips! Texture has no mips!");
    }
    m_miscFlags |= D3D11_RESOURCE_MISC_GENERATE_MIPS;
    return true;
}

bool TextureCreation::SettleSamples()
{
    if (m_request.msaaSamples <= 1) {
        return true;
    }
    if (!Is2D()) {
        return Refuse("CreateTexture failed! Only 2D textures support multisampling!");
    }
    if (m_request.msaaSamples > MAX_SAMPLES) {
        return Refuse("CreateTexture failed! msaaSamples is too large! max value = %u", MAX_SAMPLES);
    }
    if (!m_request.mem.IsEmpty()) {
        return Refuse("CreateTexture failed! mem must be NULL when creating multisampled textures");
    }
    m_texture.msaaSamples = m_request.msaaSamples;
    return true;
}

TextureCreation::MipLayout TextureCreation::DescribeMip(unsigned mip) const
{
    const std::uint64_t width = MipSize(m_request.width, mip);
    const std::uint64_t height = MipSize(m_request.height, mip);
    const std::uint64_t depth = MipSize(m_request.depth, mip);
    const bool blocks = m_format.isBlockCompressed;
    MipLayout layout;
    layout.rowPitch = m_format.elementBytes * (blocks ? (width + 3) >> 2 : width);
    layout.slicePitch = layout.rowPitch * (blocks ? (height + 3) >> 2 : height);
    layout.bytes = layout.slicePitch * depth;
    return layout;
}

bool TextureCreation::SettleInitialData()
{
    if (m_request.mem.IsEmpty() || !m_request.mipSizes || m_texture.arraySize < 1) {
        return true;
    }
    const std::uint64_t slices = std::uint64_t(m_texture.arraySize);
    const std::uint64_t subresources = slices * m_request.mipCount;
    if (subresources > D3D11Renderer::MAX_INITIAL_SUBRESOURCES) {
        Refuse("Num subresources (%u) is larger than %u. Please investigate.", unsigned(subresources),
               D3D11Renderer::MAX_INITIAL_SUBRESOURCES);
        return true;
    }
    std::uint64_t total = 0;
    for (unsigned mip = 0; mip < m_request.mipCount; ++mip) {
        total += m_request.mipSizes[mip];
    }
    const std::uint64_t sliceStride = total / slices;
    m_initialData.reserve(subresources);
    for (std::uint64_t slice = 0; slice < slices; ++slice) {
        std::uint64_t offset = slice * sliceStride;
        for (unsigned mip = 0; mip < m_request.mipCount; ++mip) {
            const MipLayout layout = DescribeMip(mip);
            if (offset + layout.bytes > m_request.mem.GetSize()) {
                return Refuse("CreateTexture failed! Initial data holds %llu bytes, slice %u mip %u needs %llu.",
                              static_cast<unsigned long long>(m_request.mem.GetSize()), unsigned(slice), mip,
                              static_cast<unsigned long long>(offset + layout.bytes));
            }
            m_initialData.push_back(
                {m_request.mem.GetUBytes() + offset, UINT(layout.rowPitch), UINT(layout.slicePitch)});
            offset += m_request.mipSizes[mip] / slices;
        }
    }
    return true;
}

bool TextureCreation::CreateResource(ID3D11Device* device)
{
    const D3D11_SUBRESOURCE_DATA* data = m_initialData.empty() ? nullptr : m_initialData.data();
    const char* message;
    HRESULT hr;
    if (Is1D()) {
        message = "ID3D11Device::CreateTexture1D failed!\nError: %s\nDescription: %s";
        hr = Create1D(device, data);
    } else if (Is2D()) {
        message = "ID3D11Device::CreateTexture2D failed!\nError: %s\nDescription: %s";
        hr = Create2D(device, data);
    } else {
        message = "ID3D11Device::CreateTexture3D failed!\nError: %s\nDescription: %s";
        hr = Create3D(device, data);
    }
    if (FAILED(hr)) {
        m_texture.resource = nullptr;
        return Refuse(message, GetErrorName(hr), GetErrorDescription(hr));
    }
    if (m_request.mipCount == 0) {
        ReadBackMipCount();
    }
    return true;
}

HRESULT TextureCreation::Create1D(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* data)
{
    D3D11_TEXTURE1D_DESC desc = {};
    desc.Width = m_request.width;
    desc.MipLevels = UINT(m_texture.mipCount);
    desc.ArraySize = UINT(m_texture.arraySize);
    desc.Format = DXGI_FORMAT(m_texture.textureFormat);
    desc.Usage = m_usage;
    desc.BindFlags = m_bindFlags;
    desc.CPUAccessFlags = m_cpuAccess;
    desc.MiscFlags = m_miscFlags;
    ID3D11Texture1D* resource = nullptr;
    const HRESULT hr = device->CreateTexture1D(&desc, data, &resource);
    m_texture.resource = resource;
    return hr;
}

HRESULT TextureCreation::Create2D(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* data)
{
    D3D11_TEXTURE2D_DESC desc = {};
    desc.Width = m_request.width;
    desc.Height = m_request.height;
    desc.MipLevels = UINT(m_texture.mipCount);
    desc.ArraySize = UINT(m_texture.arraySize);
    desc.Format = DXGI_FORMAT(m_texture.textureFormat);
    desc.SampleDesc.Count = std::max(m_request.msaaSamples, 1u);
    desc.Usage = m_usage;
    desc.BindFlags = m_bindFlags;
    desc.CPUAccessFlags = m_cpuAccess;
    desc.MiscFlags = m_miscFlags;
    ID3D11Texture2D* resource = nullptr;
    const HRESULT hr = device->CreateTexture2D(&desc, data, &resource);
    m_texture.resource = resource;
    return hr;
}

HRESULT TextureCreation::Create3D(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* data)
{
    D3D11_TEXTURE3D_DESC desc = {};
    desc.Width = m_request.width;
    desc.Height = m_request.height;
    desc.Depth = m_request.depth;
    desc.MipLevels = UINT(m_texture.mipCount);
    desc.Format = DXGI_FORMAT(m_texture.textureFormat);
    desc.Usage = m_usage;
    desc.BindFlags = m_bindFlags;
    desc.CPUAccessFlags = m_cpuAccess;
    desc.MiscFlags = m_miscFlags;
    ID3D11Texture3D* resource = nullptr;
    const HRESULT hr = device->CreateTexture3D(&desc, data, &resource);
    m_texture.resource = resource;
    return hr;
}

void TextureCreation::ReadBackMipCount()
{
    if (Is1D()) {
        D3D11_TEXTURE1D_DESC desc = {};
        static_cast<ID3D11Texture1D*>(m_texture.resource)->GetDesc(&desc);
        m_texture.mipCount = std::int32_t(desc.MipLevels);
    } else if (Is2D()) {
        D3D11_TEXTURE2D_DESC desc = {};
        static_cast<ID3D11Texture2D*>(m_texture.resource)->GetDesc(&desc);
        m_texture.mipCount = std::int32_t(desc.MipLevels);
    } else {
        D3D11_TEXTURE3D_DESC desc = {};
        static_cast<ID3D11Texture3D*>(m_texture.resource)->GetDesc(&desc);
        m_texture.mipCount = std::int32_t(desc.MipLevels);
    }
}

std::uint32_t TextureCreation::CalculateSize() const
{
    std::uint64_t slice = 0;
    for (int mip = 0; mip < m_texture.mipCount; ++mip) {
        slice += DescribeMip(unsigned(mip)).bytes;
    }
    const std::uint64_t total = slice * std::uint64_t(std::max(m_texture.arraySize, 0));
    return std::uint32_t(std::min<std::uint64_t>(total, std::numeric_limits<std::uint32_t>::max()));
}

} // namespace api
