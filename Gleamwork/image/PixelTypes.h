// How one pixel of each convertible format is read into four double channels and written from them.
// Inside the image code only: the header of its users is ImagePixelOps.h.
#pragma once

#include "Gleamwork/image/Format.h"
#include "Gleamwork/image/Half.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>

namespace gw::image::details {

// R, G, B, A: every conversion goes through these four.
using WorkingPixel = std::array<double, 4>;

// Formats of the same storage exchange their numbers unscaled.
enum class EStorage
{
    Unsigned8,
    Signed8,
    Unsigned16,
    Signed16,
    Unsigned32,
    Signed32,
    Half,
    Float,
    Packed
};

enum class ERange
{
    Plain,
    Unsigned, // normalised to 0..1
    Signed    // normalised to -1..1
};

// The processor's own answer differs between architectures outside the range; this is x86-64's, for all of them.
constexpr int64_t TruncateToInt64(double value)
{
    return value >= -0x1p63 && value < 0x1p63 ? static_cast<int64_t>(value) : std::numeric_limits<int64_t>::min();
}

constexpr int32_t TruncateToInt32(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value)
                                                         : std::numeric_limits<int32_t>::min();
}

// A NaN comes out quiet, with its sign and payload. Said explicitly, since a compiler may drop the way through double
// that would make it so.
constexpr float NarrowToFloat(double value)
{
    const uint32_t bits = std::bit_cast<uint32_t>(static_cast<float>(value));
    return std::bit_cast<float>(value != value ? bits | 0x400000 : bits);
}

constexpr uint8_t ReverseBytes(uint8_t value)
{
    return value;
}
constexpr uint16_t ReverseBytes(uint16_t value)
{
    return static_cast<uint16_t>(value << 8 | value >> 8);
}
constexpr uint32_t ReverseBytes(uint32_t value)
{
    return static_cast<uint32_t>(ReverseBytes(static_cast<uint16_t>(value))) << 16 |
           ReverseBytes(static_cast<uint16_t>(value >> 16));
}

// Elements are held by their bits; memory needs no alignment.
template <class Bits, bool Swap>
Bits LoadBits(const unsigned char* memory)
{
    Bits bits;
    std::memcpy(&bits, memory, sizeof bits);
    return Swap ? ReverseBytes(bits) : bits;
}

template <class Bits>
void StoreBits(unsigned char* memory, Bits bits)
{
    std::memcpy(memory, &bits, sizeof bits);
}

// A family of channel formats: its stored element, range and the alpha of formats that store none.
template <EStorage StorageOf, class BitsOf, ERange RangeOf, class Signedness>
struct IntegerFamily
{
    using Bits = BitsOf;
    static constexpr EStorage storage = StorageOf;
    static constexpr ERange range = RangeOf;
    static constexpr double minimum = std::numeric_limits<Signedness>::min();
    static constexpr double maximum = std::numeric_limits<Signedness>::max();
    static constexpr double defaultAlpha = maximum;

    static constexpr double Load(Bits bits) { return static_cast<double>(static_cast<Signedness>(bits)); }
    static constexpr Bits Store(double value)
    {
        // Unsigned 32-bit numbers need the wider cast; the signed ones give their smallest outside 32 bits.
        if constexpr (std::numeric_limits<Signedness>::is_signed)
            return static_cast<Bits>(TruncateToInt32(value));
        else
            return static_cast<Bits>(TruncateToInt64(value));
    }
};

using FamilyU8 = IntegerFamily<EStorage::Unsigned8, uint8_t, ERange::Unsigned, uint8_t>;
using FamilyS8 = IntegerFamily<EStorage::Signed8, uint8_t, ERange::Signed, int8_t>;
using FamilyU16 = IntegerFamily<EStorage::Unsigned16, uint16_t, ERange::Unsigned, uint16_t>;
using FamilyS16 = IntegerFamily<EStorage::Signed16, uint16_t, ERange::Signed, int16_t>;
using FamilyUI16 = IntegerFamily<EStorage::Unsigned16, uint16_t, ERange::Plain, uint16_t>;
using FamilyI16 = IntegerFamily<EStorage::Signed16, uint16_t, ERange::Plain, int16_t>;
using FamilyUI32 = IntegerFamily<EStorage::Unsigned32, uint32_t, ERange::Plain, uint32_t>;
using FamilyI32 = IntegerFamily<EStorage::Signed32, uint32_t, ERange::Plain, int32_t>;

struct FamilyHalf
{
    using Bits = uint16_t;
    static constexpr EStorage storage = EStorage::Half;
    static constexpr ERange range = ERange::Plain;
    static constexpr double defaultAlpha = std::numeric_limits<float>::max() / 2;

    static constexpr double Load(Bits bits) { return gw::details::HalfBitsToFloat(bits); }
    static constexpr Bits Store(double value) { return gw::details::FloatToHalfBits(NarrowToFloat(value)); }
};

struct FamilyFloat
{
    using Bits = uint32_t;
    static constexpr EStorage storage = EStorage::Float;
    static constexpr ERange range = ERange::Plain;
    static constexpr double defaultAlpha = std::numeric_limits<float>::max();

    static constexpr double Load(Bits bits) { return std::bit_cast<float>(bits); }
    static constexpr Bits Store(double value) { return std::bit_cast<Bits>(NarrowToFloat(value)); }
};

// Channels of one family side by side. Bgr exchanges the places of red and blue.
template <class FamilyOf, int Channels, bool Bgr = false>
struct ChannelPixel
{
    using Family = FamilyOf;
    using Bits = typename Family::Bits;
    static constexpr EStorage storage = Family::storage;
    static constexpr ERange range = Family::range;
    static constexpr int elementsPerPixel = Channels;
    static constexpr int bytes = Channels * static_cast<int>(sizeof(Bits));

    // The channel (0 is red) that stands at a place in memory; also the place of a channel.
    static constexpr int ChannelAt(int place) { return Bgr && place < 3 ? 2 - place : place; }

    template <bool Swap>
    static WorkingPixel Read(const unsigned char* memory)
    {
        WorkingPixel pixel{0.0, 0.0, 0.0, Family::defaultAlpha};
        for (int place = 0; place < Channels; ++place)
            pixel[ChannelAt(place)] = Family::Load(LoadBits<Bits, Swap>(memory + place * sizeof(Bits)));
        return pixel;
    }

    static void Write(unsigned char* memory, const WorkingPixel& pixel)
    {
        for (int place = 0; place < Channels; ++place)
            StoreBits<Bits>(memory + place * sizeof(Bits), Family::Store(pixel[ChannelAt(place)]));
    }
};

struct PackedFamily
{
    static constexpr EStorage storage = EStorage::Packed;
    static constexpr ERange range = ERange::Plain;
};

// One word per pixel; the codec turns it into channels and back.
template <class Codec>
struct PackedPixel
{
    using Family = PackedFamily;
    using Bits = typename Codec::Word;
    static constexpr EStorage storage = EStorage::Packed;
    static constexpr ERange range = Family::range;
    static constexpr int elementsPerPixel = 1;
    static constexpr int bytes = sizeof(Bits);

    template <bool Swap>
    static WorkingPixel Read(const unsigned char* memory)
    {
        return Codec::Decode(LoadBits<Bits, Swap>(memory));
    }
    static void Write(unsigned char* memory, const WorkingPixel& pixel)
    {
        StoreBits<Bits>(memory, Codec::Encode(pixel));
    }
};

template <class Family>
double Normalise(double value)
{
    const double clamped = value < Family::minimum   ? Family::minimum
                           : value > Family::maximum ? Family::maximum
                                                     : value;
    if constexpr (Family::range == ERange::Unsigned)
        return clamped / Family::maximum;
    else
        return (clamped - Family::minimum) / (Family::maximum + 0.5) - 1.0;
}

template <class Family>
double ScaleFromNormalised(double value)
{
    if constexpr (Family::range == ERange::Unsigned)
        return value * Family::maximum;
    else
        return (value + 1.0) * (Family::maximum + 0.5) + Family::minimum;
}

// A channel's number in the target family for its number in the source family. Storage is not looked at.
template <class Source, class Target>
double ConvertChannel(double value)
{
    if constexpr (Source::range != ERange::Plain)
        value = Normalise<Source>(value);
    if constexpr (Target::range != ERange::Plain)
        value = ScaleFromNormalised<Target>(value);
    return value;
}

} // namespace gw::image::details
