// Textures as picture files: read back, mips, compression and encoding, to a file or to memory.
#include "Gleamwork/GWFS.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

#include <DirectXTex.h>
#include <cstdio>
#include <wincodec.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererCapture";
constexpr char FUNCTION[] = "api::D3D11Renderer::SaveRenderTargetData";

enum class Encoder
{
    Unsupported,
    DDS,
    TGA,
    WIC,
};

struct PictureFormat
{
    Encoder encoder = Encoder::Unsupported;
    const GUID* container = nullptr; ///< of the WIC encoder
};

PictureFormat FormatOfExtension(const qs::FixedString& extension)
{
    if (extension.EqualsNoCase(GWFS::strDDS)) {
        return {Encoder::DDS};
    }
    if (extension.EqualsNoCase(GWFS::strTGA)) {
        return {Encoder::TGA};
    }
    if (extension.EqualsNoCase(GWFS::strJPG)) {
        return {Encoder::WIC, &GUID_ContainerFormatJpeg};
    }
    if (extension.EqualsNoCase(GWFS::strPNG)) {
        return {Encoder::WIC, &GUID_ContainerFormatPng};
    }
    if (extension.EqualsNoCase(GWFS::strBMP)) {
        return {Encoder::WIC, &GUID_ContainerFormatBmp};
    }
    return {};
}

/// Logs a failed step by its name; true when it did not fail.
bool Check(HRESULT hr, const char* operation)
{
    if (FAILED(hr)) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "DirectX::%s failed!\nError: %s\nDescription: %s", operation,
                     GetErrorName(hr), GetErrorDescription(hr));
    }
    return SUCCEEDED(hr);
}

/// Replaces a picture by its mip chain.
bool AddMips(DirectX::ScratchImage& picture)
{
    DirectX::ScratchImage chain;
    const HRESULT hr = DirectX::GenerateMipMaps(picture.GetImages(), picture.GetImageCount(), picture.GetMetadata(),
                                                DirectX::TEX_FILTER_DEFAULT, 0, chain);
    if (!Check(hr, "GenerateMipMaps")) {
        return false;
    }
    picture = std::move(chain);
    return true;
}

/// Replaces a picture by its BC1 form.
bool CompressBlocks(DirectX::ScratchImage& picture, bool sRGB)
{
    DirectX::ScratchImage compressed;
    const HRESULT hr =
        DirectX::Compress(picture.GetImages(), picture.GetImageCount(), picture.GetMetadata(), DXGI_FORMAT_BC1_UNORM,
                          sRGB ? DirectX::TEX_COMPRESS_SRGB_IN : DirectX::TEX_COMPRESS_DEFAULT, 0.5f, compressed);
    if (!Check(hr, "Compress")) {
        return false;
    }
    picture = std::move(compressed);
    return true;
}

struct CaptureRequest
{
    ID3D11Device* device;
    ID3D11DeviceContext* context;
    const Texture* texture;
    bool compress;
    bool generateMips;
    const qs::FixedString& extension;
};

/// Reads the texture back and prepares it for its encoder.
bool Capture(const CaptureRequest& request, PictureFormat& format, DirectX::ScratchImage& picture)
{
    ID3D11Resource* resource = request.texture ? request.texture->resource : nullptr;
    if (!Check(DirectX::CaptureTexture(request.device, request.context, resource, picture), "CaptureTexture")) {
        return false;
    }
    format = FormatOfExtension(request.extension);
    if (format.encoder == Encoder::Unsupported) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "api::D3D11Renderer::SaveRenderTargetData: Unsupported extension (%s)!",
                     request.extension.ToChar());
        return false;
    }
    if (format.encoder != Encoder::DDS) {
        return true;
    }
    const bool isSRGB = (request.texture->usage & gw::eTextureUsageFlag_SRGB) != 0;
    return (!request.generateMips || AddMips(picture)) && (!request.compress || CompressBlocks(picture, isSRGB));
}

HRESULT EncodeToMemory(const DirectX::ScratchImage& picture, const PictureFormat& format, DirectX::Blob& blob)
{
    switch (format.encoder) {
    case Encoder::DDS:
        return DirectX::SaveToDDSMemory(picture.GetImages(), picture.GetImageCount(), picture.GetMetadata(),
                                        DirectX::DDS_FLAGS_NONE, blob);
    case Encoder::TGA:
        return DirectX::SaveToTGAMemory(*picture.GetImage(0, 0, 0), blob);
    default:
        return DirectX::SaveToWICMemory(*picture.GetImage(0, 0, 0), DirectX::WIC_FLAGS_NONE, *format.container, blob,
                                        nullptr, nullptr);
    }
}

HRESULT EncodeToFile(const DirectX::ScratchImage& picture, const PictureFormat& format, const wchar_t* file)
{
    switch (format.encoder) {
    case Encoder::DDS:
        return DirectX::SaveToDDSFile(picture.GetImages(), picture.GetImageCount(), picture.GetMetadata(),
                                      DirectX::DDS_FLAGS_NONE, file);
    case Encoder::TGA:
        return DirectX::SaveToTGAFile(*picture.GetImage(0, 0, 0), file);
    default:
        return DirectX::SaveToWICFile(*picture.GetImage(0, 0, 0), DirectX::WIC_FLAGS_NONE, *format.container, file,
                                      nullptr, nullptr);
    }
}

/// Name of the save operation in messages, as "SaveToDDS" and what it saves to.
bool CheckSave(HRESULT hr, Encoder encoder, const char* target)
{
    const char* kind = encoder == Encoder::DDS ? "DDS" : encoder == Encoder::TGA ? "TGA" : "WIC";
    char operation[32];
    std::snprintf(operation, sizeof(operation), "SaveTo%s%s", kind, target);
    return Check(hr, operation);
}

constexpr PictureFormat PNG = {Encoder::WIC, &GUID_ContainerFormatPng};

} // namespace

bool D3D11Renderer::SaveRenderTargetData(qs::ObjectHandle texture, qs::Path path, bool compress, bool generateMips, int,
                                         int)
{
    const qs::FixedString extension = qs::FixedString::Create(path.GetExtension());
    DirectX::ScratchImage picture;
    PictureFormat format;
    if (!Capture(
            {m_deviceData.device, m_deviceData.context, m_textures.Get(texture), compress, generateMips, extension},
            format, picture)) {
        return false;
    }
    return CheckSave(EncodeToFile(picture, format, path.ToWString().ToWChar()), format.encoder, "File");
}

bool D3D11Renderer::SaveRenderTargetData(qs::ObjectHandle texture, qs::ScratchBuffer* buffer, bool compress,
                                         bool generateMips, const qs::FixedString& extension)
{
    DirectX::ScratchImage picture;
    PictureFormat format;
    if (!Capture(
            {m_deviceData.device, m_deviceData.context, m_textures.Get(texture), compress, generateMips, extension},
            format, picture)) {
        return false;
    }
    DirectX::Blob blob;
    return CheckSave(EncodeToMemory(picture, format, blob), format.encoder, "Memory") &&
           buffer->Write(blob.GetBufferPointer(), blob.GetBufferSize());
}

bool D3D11Renderer::SaveRenderTargetData(qs::ObjectHandle texture, gw::RenderFrameCopyBuffer* buffer)
{
    qs::AlertNotImplemented(FILE_NAME, __LINE__, FUNCTION);
    return false;
}

bool D3D11Renderer::SaveRenderTargetDataJiraUtility(qs::ObjectHandle texture, qs::ScratchBuffer* buffer)
{
    const Texture* record = m_textures.Get(texture);
    DirectX::ScratchImage picture;
    DirectX::Blob blob;
    return record &&
           SUCCEEDED(DirectX::CaptureTexture(m_deviceData.device, m_deviceData.context, record->resource, picture)) &&
           SUCCEEDED(EncodeToMemory(picture, PNG, blob)) &&
           buffer->Write(blob.GetBufferPointer(), blob.GetBufferSize());
}

bool D3D11Renderer::SaveRenderTargetDataJiraUtility(qs::ObjectHandle texture, const qs::Path& path)
{
    const Texture* record = m_textures.Get(texture);
    DirectX::ScratchImage picture;
    return record &&
           SUCCEEDED(DirectX::CaptureTexture(m_deviceData.device, m_deviceData.context, record->resource, picture)) &&
           SUCCEEDED(EncodeToFile(picture, PNG, path.ToWString().ToWChar()));
}

} // namespace api
