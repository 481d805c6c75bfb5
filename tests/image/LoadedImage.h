// An image loaded from bytes, for tests; frees its pixels.
#pragma once

#include "Gleamwork/image/Image.h"
#include "TestBytes.h"

struct LoadedImage
{
    gw::Image image;
    bool good;

    LoadedImage(gw::EImageFileType type, const ByteVector& file, const gw::ImageLoadParams& params = {})
        : good(image.Load(type, ViewOf(file), params))
    {
    }
    ~LoadedImage() { image.FreePixelData(); }
    ByteVector Pixels() const { return ByteVector(image.GetPixels(), image.GetPixels() + image.GetBufferSize()); }
};
