// What conversions give: hand-worked numbers for families, packed words, byte order and values out of range.
#include "TestBytes.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <qs/Log.h>

using namespace gw;
using namespace gw::image;

namespace {

using Words = std::vector<uint32_t>;
using Floats = std::vector<float>;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

struct Row
{
    EFormat from, to;
    ByteVector source, expected;
    bool swap = false;
};

template <class From, class To>
Row Case(EFormat from, std::vector<From> source, EFormat to, std::vector<To> expected, bool swap = false)
{
    return {from, to, BytesOf(source), BytesOf(expected), swap};
}

void CheckRows(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        const ByteVector result = Convert(row.from, row.to, row.source, row.swap);
        EXPECT_EQ(result, row.expected) << GetFormatDescription(row.from).name << " to "
                                        << GetFormatDescription(row.to).name << (row.swap ? " swapped" : "");
    }
}

bool HasConverters(uint32_t format)
{
    return (format >= FORMAT_R8 && format <= FORMAT_RGB10A2) || format == FORMAT_A1RGB5 || format == FORMAT_BGR8 ||
           format == FORMAT_BGRA8;
}

Floats Decoded(EFormat format, uint32_t word)
{
    return NumbersOf<float>(Convert(format, FORMAT_RGBA32F, BytesOf(Words{word})));
}

uint32_t Encoded(EFormat format, Floats rgba)
{
    return NumbersOf<uint32_t>(Convert(FORMAT_RGBA32F, format, BytesOf(rgba)))[0];
}

} // namespace

TEST(Converter, TableHoldsTheDocumentedPairs)
{
    for (uint32_t from = 0; from < FORMAT_MAX; ++from) {
        for (uint32_t to = 0; to < FORMAT_MAX; ++to) {
            const bool both = HasConverters(from) && HasConverters(to);
            const auto converter = [&](bool swap) { return GetPixelConverter(EFormat(from), EFormat(to), swap); };
            EXPECT_EQ(converter(false) != nullptr, both || from == to) << from << " to " << to;
            EXPECT_EQ(converter(true) != nullptr, both) << from << " to " << to;
        }
    }
    EXPECT_EQ(GetPixelConverter(FORMAT_DXT1, FORMAT_DXT1, false), GetPixelConverter(FORMAT_NONE, FORMAT_NONE, false));
    qs::LogCapture log;
    EXPECT_EQ(GetPixelConverter(FORMAT_MAX, FORMAT_R8, false), nullptr);
    EXPECT_EQ(GetPixelConverter(FORMAT_R8, FORMAT_MAX, true), nullptr);
    EXPECT_EQ(log.CountContaining("From format is invalid"), 1u);
    EXPECT_EQ(log.CountContaining("To format is invalid"), 1u);
}

TEST(Converter, FamiliesScaleAndFillChannels)
{
    const uint32_t largestFloat = 0x7f7fffff;
    CheckRows({
        Case<uint8_t, uint8_t>(FORMAT_R8, {200}, FORMAT_RGBA8, {200, 0, 0, 255}),
        Case<uint8_t, float>(FORMAT_R8, {255, 51}, FORMAT_RGBA32F, {1, 0, 0, 1, 0.2f, 0, 0, 1}),
        Case<float, uint32_t>(FORMAT_R32F, {1}, FORMAT_RGBA32F, {0x3f800000, 0, 0, largestFloat}),
        Case<uint16_t, uint32_t>(FORMAT_R16F, {0x3c00}, FORMAT_RGBA32F, {0x3f800000, 0, 0, 0x7effffff}),
        Case<uint16_t, uint16_t>(FORMAT_RGB16F, {1, 2, 3}, FORMAT_RGBA16F, {1, 2, 3, 0x7c00}),
        Case<uint8_t, uint8_t>(FORMAT_RGBA8, {1, 2, 3, 4}, FORMAT_BGRA8, {3, 2, 1, 4}),
        Case<uint8_t, uint8_t>(FORMAT_BGR8, {1, 2, 3}, FORMAT_RGBA8, {3, 2, 1, 255}),
        Case<uint8_t, uint8_t>(FORMAT_BGR8, {1, 2, 3}, FORMAT_R8, {3}),
        Case<uint16_t, uint16_t>(FORMAT_RGB16, {7, 8, 9}, FORMAT_RGBA16, {7, 8, 9, 65535}),
        Case<uint8_t, uint8_t>(FORMAT_RGB8S, {1, 128, 3}, FORMAT_RGBA8S, {1, 128, 3, 127}),
        Case<uint8_t, uint16_t>(FORMAT_R8, {255, 128}, FORMAT_R16, {65535, 32896}),
        Case<uint8_t, uint8_t>(FORMAT_R8S, {127, 128}, FORMAT_R8, {255, 1}),
        Case<uint8_t, uint8_t>(FORMAT_R8, {255, 0}, FORMAT_R8S, {127, 0}),
        Case<uint8_t, float>(FORMAT_R8S, {128, 127, 0}, FORMAT_R32F, {-1, 1, static_cast<float>(128 / 127.5 - 1)}),
        Case<uint8_t, uint32_t>(FORMAT_R8, {254, 255}, FORMAT_R32I, {0, 1}),
        Case<uint32_t, uint8_t>(FORMAT_R32I, {1, 2}, FORMAT_R8, {255, 254}),
        Case<uint16_t, uint16_t>(FORMAT_R16, {1000}, FORMAT_RGBA16UI, {1000, 0, 0, 65535}),
        Case<uint16_t, uint16_t>(FORMAT_R16S, {0x8000, 5}, FORMAT_R16I, {0x8000, 5}),
        Case<uint16_t, uint32_t>(FORMAT_R16I, {0x8000}, FORMAT_RGBA32I, {0xffff8000, 0, 0, 32767}),
        Case<uint32_t, uint32_t>(FORMAT_R32I, {0xffffffff}, FORMAT_RGBA32UI, {0xffffffff, 0, 0, 0x7fffffff}),
        Case<uint32_t, float>(FORMAT_RG32UI, {0xffffffff, 1}, FORMAT_RG32F, {4294967296.0f, 1}),
    });
}

TEST(Converter, PackedFieldsStandWhereTheyShould)
{
    CheckRows({
        Case<uint16_t, uint8_t>(FORMAT_RGB565, {0xffff, 0xf800, 0x07e0, 0x001f}, FORMAT_RGBA8,
                                {255, 255, 255, 255, 255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255}),
        Case<uint16_t, uint8_t>(FORMAT_RGBA4, {0x1248}, FORMAT_RGBA8, {17, 34, 68, 136}),
        Case<uint32_t, float>(FORMAT_RGB10A2, {1023u << 22 | 0u << 12 | 1023u << 2 | 2}, FORMAT_RGBA32F,
                              {1, 0, 1, static_cast<float>(2 / 3.0)}),
        Case<uint16_t, uint8_t>(FORMAT_A1RGB5, {0xf800 | 1, 31 << 6, 31 << 1}, FORMAT_RGBA8,
                                {255, 0, 0, 255, 0, 255, 0, 0, 0, 0, 255, 0}),
        Case<float, uint16_t>(FORMAT_RGBA32F, {1, 0.5f, -1, 0.99f}, FORMAT_A1RGB5, {31 << 11 | 15 << 6}),
        Case<float, uint16_t>(FORMAT_RGBA32F, {notANumber, 2, -infinity, infinity}, FORMAT_RGBA4, {0xff0f}),
        Case<float, uint16_t>(FORMAT_RGB32F, {0.5f, 0.5f, 1}, FORMAT_RGB565, {15 << 11 | 31 << 5 | 31}),
        Case<uint16_t, uint16_t>(FORMAT_RGB565, {0x00f8}, FORMAT_RGB565, {0xf800}, true),
    });
}

TEST(Converter, SharedExponents)
{
    EXPECT_EQ(Encoded(FORMAT_RGBE8, {1, 1, 1, 0}), 129u << 24 | 0x808080u);
    EXPECT_EQ(Decoded(FORMAT_RGBE8, 129u << 24 | 0x808080u), (Floats{1, 1, 1, 1}));
    EXPECT_EQ(Encoded(FORMAT_RGB9E5, {1, 0.5f, 0, 0}), 16u << 27 | 128u << 9 | 256u);
    EXPECT_EQ(Decoded(FORMAT_RGB9E5, 31u << 27 | 511u), (Floats{65408, 0, 0, 1}));
    EXPECT_EQ(Decoded(FORMAT_RGBE8, 1u), (Floats{std::ldexp(1.0f, -136), 0, 0, 1}));
    for (const EFormat format : {FORMAT_RGBE8, FORMAT_RGB9E5}) {
        EXPECT_EQ(Encoded(format, {0, 0, 0, 1}), 0u);
        EXPECT_EQ(Encoded(format, {-1, -2, -3, 1}), 0u);
        EXPECT_EQ(Encoded(format, {1e-8f, 0, 0, 1}), 0u);
        EXPECT_EQ(Decoded(format, Encoded(format, {infinity, notANumber, 5, 1})), (Floats{0, 0, 0, 1}));
    }
    // A mantissa that rounds up to its full range loses its top bit.
    EXPECT_EQ(Encoded(FORMAT_RGBE8, {std::nextafter(1.0f, 0.0f), 0, 0, 1}), 128u << 24);
}

TEST(Converter, SmallFloatsFollowThePublishedLayout)
{
    EXPECT_EQ(Encoded(FORMAT_RG11B10F, {1, 0, 0, 1}), 15u << 6);
    EXPECT_EQ(Encoded(FORMAT_RG11B10F, {0, 1, 0, 1}), 15u << 17);
    EXPECT_EQ(Encoded(FORMAT_RG11B10F, {0, 0, 1, 1}), 15u << 27);
    EXPECT_EQ(Decoded(FORMAT_RG11B10F, 0xf7fdffbf), (Floats{65024, 65024, 64512, 1}));
    EXPECT_EQ(Encoded(FORMAT_RG11B10F, {1e9f, 1e9f, 1e9f, 1}), 0xf7fdffbfu);
    EXPECT_EQ(Encoded(FORMAT_RG11B10F, {-1, -infinity, -0.0f, 1}), 0u);
    EXPECT_EQ(Encoded(FORMAT_RG11B10F, {infinity, infinity, infinity, 1}), 31u << 6 | 31u << 17 | 31u << 27);
    for (const float channel :
         Decoded(FORMAT_RG11B10F, Encoded(FORMAT_RG11B10F, {notANumber, notANumber, notANumber, notANumber})))
        EXPECT_TRUE(std::isnan(channel) || channel == 1.0f);
    // Every finite value comes back; the middle between two goes to the even one.
    for (uint32_t field = 0; field < 31u << 5; ++field) {
        const uint32_t word = field << 22 | field << 12 | field << 1;
        const Floats values = Decoded(FORMAT_RG11B10F, word);
        EXPECT_EQ(Encoded(FORMAT_RG11B10F, values), word) << field;
        const float next = field + 1 == 31u << 5 ? 65536.0f : Decoded(FORMAT_RG11B10F, (field + 1) << 22)[2];
        const uint32_t even = field + 1 == 31u << 5 ? field : field + (field & 1);
        EXPECT_EQ(Encoded(FORMAT_RG11B10F, {0, 0, (values[2] + next) / 2, 1}), even << 22) << field;
    }
}

TEST(Converter, OutOfRangeGivesOneResultEverywhere)
{
    const std::vector<float> wild = {2, -1, 1e30f, -1e30f, notANumber, infinity, 16777216.0f, 25165826.0f};
    CheckRows({
        Case<float, uint8_t>(FORMAT_R32F, wild, FORMAT_R8, {254, 1, 0, 0, 0, 0, 0, 254}),
        Case<float, uint16_t>(FORMAT_R32F, wild, FORMAT_R16, {65534, 1, 0, 0, 0, 0, 0, 65534}),
        Case<float, uint8_t>(FORMAT_R32F, {2, -2, 1e30f, -1e30f, notANumber}, FORMAT_R8S, {254, 1, 0, 0, 0}),
        Case<float, uint32_t>(FORMAT_R32F, {-1, 1e30f, notANumber, 4294967296.0f}, FORMAT_R32UI, {0xffffffff, 0, 0, 0}),
        Case<float, uint32_t>(FORMAT_R32F, {-1.9f, 1e30f, notANumber, 4294967296.0f}, FORMAT_R32I,
                              {0xffffffff, 0x80000000, 0x80000000, 0x80000000}),
        Case<float, uint8_t>(FORMAT_R32F, {1}, FORMAT_RGBA8, {255, 0, 0, 0}),
        Case<uint32_t, uint32_t>(FORMAT_R32F, {0x7f800001, 0xff800001}, FORMAT_RG32F, {0x7fc00001, 0, 0xffc00001, 0}),
        Case<uint16_t, uint32_t>(FORMAT_R16F, {0x7c01}, FORMAT_R32F, {0x7fc02000}),
    });
}

TEST(Converter, ByteOrder)
{
    CheckRows({
        Case<uint8_t, uint8_t>(FORMAT_R16, {0x12, 0x34}, FORMAT_R16, {0x34, 0x12}, true),
        Case<uint8_t, uint8_t>(FORMAT_R16, {0x12, 0x34}, FORMAT_R16, {0x12, 0x34}),
        Case<uint8_t, uint8_t>(FORMAT_RG32F, {1, 2, 3, 4, 5, 6, 7, 8}, FORMAT_RG32F, {4, 3, 2, 1, 8, 7, 6, 5}, true),
        Case<uint8_t, uint8_t>(FORMAT_RGB8, {1, 2, 3}, FORMAT_BGR8, {3, 2, 1}, true),
        Case<uint8_t, uint16_t>(FORMAT_RGB16, {1, 2, 3, 4, 5, 6}, FORMAT_RGBA16, {0x102, 0x304, 0x506, 65535}, true),
        Case<uint8_t, float>(FORMAT_R32F, {0x3f, 0x80, 0, 0}, FORMAT_R32F, {1}, true),
        Case<uint8_t, uint8_t>(FORMAT_RGB10A2, {0, 0, 0, 3}, FORMAT_RGBA8, {0, 0, 0, 255}, true),
    });
}

TEST(Converter, MismatchedSizesAssertAndStayInBounds)
{
    const struct
    {
        EFormat from, to;
        size_t sourceBytes, targetBytes;
        const char* message;
    } rows[] = {
        {FORMAT_R16, FORMAT_R8, 5, 2, "Can't cast memory due to size mismatch"},
        {FORMAT_RGB8, FORMAT_RGBA8, 7, 8, "Input buffer size is no multiply of output pixel size"},
        {FORMAT_RGB8, FORMAT_RGBA8, 6, 9, "Output buffer size is no multiply of output pixel size"},
        {FORMAT_RGB8, FORMAT_RGBA8, 300, 8, "Input and output buffers can store unequal number of pixels"},
        {FORMAT_RGBA8, FORMAT_R32F, 4, 400, "Input and output buffers can store unequal number of pixels"},
        {FORMAT_RGBA8, FORMAT_RGBA8, 400, 8, "Noop pixel conversion, but different buffer sizes"},
    };
    for (const auto& row : rows) {
        qs::LogCapture log;
        const ByteVector source(row.sourceBytes, 1);
        ByteVector target(row.targetBytes);
        GetPixelConverter(row.from, row.to, false)({target.data(), target.size()}, ViewOf(source));
        EXPECT_EQ(log.CountContaining(row.message, qs::LogLevelAssertion), 1u) << row.message;
        EXPECT_NE(target[0], 0) << "the pixels that both hold are converted: " << row.message;
    }
}
