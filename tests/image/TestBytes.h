// Bytes for image tests: building them from numbers, and one conversion from bytes to bytes.
#pragma once

#include "Gleamwork/image/ImagePixelOps.h"

#include <cstdint>
#include <cstring>
#include <vector>

using ByteVector = std::vector<unsigned char>;

template <class T>
ByteVector BytesOf(const std::vector<T>& numbers)
{
    ByteVector bytes(numbers.size() * sizeof(T));
    if (!bytes.empty())
        std::memcpy(bytes.data(), numbers.data(), bytes.size());
    return bytes;
}

template <class T>
std::vector<T> NumbersOf(const ByteVector& bytes)
{
    std::vector<T> numbers(bytes.size() / sizeof(T));
    if (!numbers.empty())
        std::memcpy(numbers.data(), bytes.data(), numbers.size() * sizeof(T));
    return numbers;
}

inline qs::MemView<const unsigned char> ViewOf(const ByteVector& bytes)
{
    return {bytes.data(), bytes.size()};
}

inline ByteVector Convert(gw::EFormat from, gw::EFormat to, const ByteVector& source, bool swap = false)
{
    const uint64_t pixels = source.size() / gw::image::GetFormatDescription(from).elementBytes;
    ByteVector target(pixels * gw::image::GetFormatDescription(to).elementBytes, 0xcd);
    gw::image::GetPixelConverter(from, to, swap)({target.data(), target.size()}, ViewOf(source));
    return target;
}
