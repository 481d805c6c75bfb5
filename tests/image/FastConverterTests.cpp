// Holds every converter that is made for a processor's instructions against the plain one, bit for bit.
#include "Gleamwork/image/ConverterTable.h"
#include "TestBytes.h"

#include <gtest/gtest.h>
#include <random>

using namespace gw;
using namespace gw::image;

namespace {

constexpr uint64_t guardBytes = 64;

bool HoldsFloats(EFormat format)
{
    return format >= FORMAT_R32F && format <= FORMAT_RGBA32F;
}
bool HoldsWideNumbers(EFormat format)
{
    return format >= FORMAT_R32I && format <= FORMAT_RGBA32I;
}

uint32_t SomeFloat(std::mt19937& random)
{
    constexpr uint32_t special[] = {0,          0x80000000, 1,          0x007fffff, 0x00800000, 0x7f800000,
                                    0xff800000, 0x7f800001, 0xffc00001, 0x7fbfffff, 0x7f7fffff, 0x3f800000,
                                    0x3f7fffff, 0xbf800000, 0x33000000, 0x32ffffff, 0x387fe000, 0x387fc000,
                                    0x477fe000, 0x477fefff, 0x477ff000, 0x4b000000, 0x4f000000, 0x5effffff};
    switch (random() % 4) {
    case 0:
        return special[random() % std::size(special)];
    case 1: // any bits
        return static_cast<uint32_t>(random());
    case 2: // around the normalised range
        return std::bit_cast<uint32_t>(static_cast<float>(static_cast<int>(random() % 140000) - 2000) / 65535.0f);
    default: // around a half's range, with ties
        return static_cast<uint32_t>((random() & 0x80000000) | (0x33000000 + (random() % 0x14800000 & ~0xfffu)) |
                                     (random() % 3));
    }
}

// Each place of a pixel meets every 8- and 16-bit number; wider numbers are random and special ones.
ByteVector MakeSource(EFormat format, uint64_t pixels)
{
    const FormatDescription description = GetFormatDescription(format);
    const uint64_t elementBytes = description.elementBytes / description.channelCount;
    std::mt19937 random(format);
    ByteVector bytes(pixels * description.elementBytes);
    for (uint64_t element = 0; element < bytes.size() / elementBytes; ++element) {
        const uint64_t place = element % description.channelCount;
        uint32_t number = static_cast<uint32_t>((element / description.channelCount) * 40503 + place * 977);
        if (elementBytes == 4)
            number = HoldsFloats(format) || HoldsWideNumbers(format) ? SomeFloat(random) : random();
        std::memcpy(bytes.data() + element * elementBytes, &number, elementBytes);
    }
    return bytes;
}

void Compare(EFormat from, EFormat to, bool swap, const ByteVector& source, uint64_t misalignment)
{
    const auto& plain = image::details::GetPlainConverterTable().entries[from][to][swap];
    const uint64_t pixels = source.size() / GetFormatDescription(from).elementBytes;
    const uint64_t size = pixels * GetFormatDescription(to).elementBytes;
    ByteVector expected(size + 2 * guardBytes, 0xee), found(expected);
    plain({expected.data() + guardBytes + misalignment, size}, ViewOf(source));
    GetPixelConverter(from, to, swap)({found.data() + guardBytes + misalignment, size}, ViewOf(source));
    ASSERT_TRUE(expected == found) << GetFormatDescription(from).name << " to " << GetFormatDescription(to).name
                                   << (swap ? " swapped, " : ", ") << pixels << " pixels";
}

template <class Visitor>
int ForEachFastPair(const Visitor& visit)
{
    int pairs = 0;
    for (uint32_t from = 0; from < FORMAT_MAX; ++from) {
        for (uint32_t to = 0; to < FORMAT_MAX; ++to) {
            for (const bool swap : {false, true}) {
                const auto fast = GetPixelConverter(EFormat(from), EFormat(to), swap);
                if (fast == image::details::GetPlainConverterTable().entries[from][to][swap])
                    continue;
                visit(EFormat(from), EFormat(to), swap);
                ++pairs;
            }
        }
    }
    return pairs;
}

} // namespace

TEST(FastConverter, AgreesWithThePlainOneOverAllNumbers)
{
    std::vector<ByteVector> sources(FORMAT_MAX);
    const int pairs = ForEachFastPair([&](EFormat from, EFormat to, bool swap) {
        if (sources[from].empty())
            sources[from] = MakeSource(from, 65536 + 7);
        Compare(from, to, swap, sources[from], 0);
    });
    RecordProperty("pairs", pairs);
#if defined(__x86_64__)
    EXPECT_TRUE(pairs > 500 || !__builtin_cpu_supports("avx2")) << pairs;
#endif
}

TEST(FastConverter, StaysInBoundsAtEveryLength)
{
    ForEachFastPair([&](EFormat from, EFormat to, bool swap) {
        for (const uint64_t pixels : {0, 1, 3, 7, 8, 15, 17, 33, 67}) {
            // Its own block, so that a sanitizer sees a read beyond it.
            const ByteVector source = MakeSource(from, pixels);
            Compare(from, to, swap, source, pixels % 5);
        }
    });
}

TEST(FastConverter, WritesLargeTargetsAroundTheCaches)
{
    constexpr std::pair<EFormat, EFormat> pairs[] = {
        {FORMAT_RGB8, FORMAT_RGBA8}, {FORMAT_RGBA8, FORMAT_BGRA8}, {FORMAT_RGB16F, FORMAT_RGBA16F}};
    for (const auto& [from, to] : pairs) {
        const ByteVector source = MakeSource(from, 1200000);
        for (const uint64_t misalignment : {0, 1, 4, 24})
            Compare(from, to, false, source, misalignment);
    }
}
