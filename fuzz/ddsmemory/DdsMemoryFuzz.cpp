// Any bytes as a DDS file: the reader refuses or decodes, and what it decodes can be written and compressed.
#include <DirectXTex.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    DirectX::TexMetadata metadata;
    DirectX::ScratchImage image;
    if (FAILED(DirectX::LoadFromDDSMemory(data, size, DirectX::DDS_FLAGS_NONE, &metadata, image)))
        return 0;
    DirectX::Blob blob;
    DirectX::SaveToDDSMemory(image.GetImages(), image.GetImageCount(), metadata, DirectX::DDS_FLAGS_NONE, blob);
    DirectX::ScratchImage chain;
    DirectX::GenerateMipMaps(image.GetImages(), image.GetImageCount(), metadata, DirectX::TEX_FILTER_DEFAULT, 0, chain);
    DirectX::ScratchImage blocks;
    DirectX::Compress(image.GetImages(), image.GetImageCount(), metadata, DXGI_FORMAT_BC1_UNORM,
                      DirectX::TEX_COMPRESS_DEFAULT, DirectX::TEX_THRESHOLD_DEFAULT, blocks);
    return 0;
}
