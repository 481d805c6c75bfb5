// Graphics buffers and half floats.
#include "Gleamwork/image/GraphicsBuffer.h"
#include "Gleamwork/image/Half.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <qs/Log.h>

using gw::GraphicsBuffer;
using gw::half;

namespace {

uint64_t LiveBlocks()
{
    return static_cast<uint64_t>(qs::MemoryManager::GetUsage("GraphicsBuffer").blocks);
}

uint16_t BitsOf(half value)
{
    return std::bit_cast<uint16_t>(value);
}
float FloatOf(uint16_t bits)
{
    return std::bit_cast<half>(bits);
}

} // namespace

TEST(GraphicsBuffer, SizesAlignmentAndContent)
{
    const uint64_t before = LiveBlocks();
    {
        GraphicsBuffer buffer(0, 64);
        EXPECT_TRUE(buffer.IsEmpty());
        EXPECT_EQ(buffer.GetData(), nullptr);
        EXPECT_EQ(buffer.GetAlignment(), 0u);
        EXPECT_EQ(buffer.GetOwner(), &buffer);
        buffer.Free();

        buffer.Alloc(16, 0);
        EXPECT_EQ(buffer.GetAlignment(), 4u);
        buffer.CopyData("0123456789", 10);
        const void* block = buffer.GetData();
        buffer.GrowTo(10);
        EXPECT_EQ(buffer.GetData(), block);
        buffer.GrowTo(5000);
        EXPECT_EQ(buffer.GetSize(), 5000u);
        EXPECT_EQ(std::string(buffer.GetBytes(), 10), "0123456789");
        buffer.Realloc(4, 4096);
        EXPECT_EQ(std::string(buffer.GetBytes(), buffer.GetSize()), "0123");
        EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer.GetData()) % 4096, 0u);
        EXPECT_EQ(buffer[3], '3');
        {
            qs::LogCapture log;
            static_cast<void>(&buffer[4]);
            EXPECT_EQ(log.CountContaining("GraphicsBuffer index out of range!", qs::LogLevelAssertion), 1u);
        }
        EXPECT_EQ(LiveBlocks(), before + 1);
    }
    EXPECT_EQ(LiveBlocks(), before);
}

TEST(GraphicsBuffer, OwnerDecidesWhoFrees)
{
    const uint64_t before = LiveBlocks();
    const int owner = 0, stranger = 0;
    void* held = nullptr;
    {
        GraphicsBuffer buffer(64, 0);
        buffer.TakeOwnership(&owner);
        buffer.SafeFree(&stranger);
        EXPECT_FALSE(buffer.IsEmpty());
        held = buffer.GetData();
    }
    EXPECT_EQ(LiveBlocks(), before + 1) << "freed by its destructor although owned by another";
    qs::MemoryManager::Deallocate(held, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);

    GraphicsBuffer source(8, 16), target(32, 0);
    target = std::move(source);
    EXPECT_EQ(LiveBlocks(), before + 1) << "a self-owned target frees what it held";
    EXPECT_EQ(target.GetOwner(), &source);
    EXPECT_EQ(source.GetOwner(), nullptr);
    EXPECT_TRUE(source.IsEmpty());
    target.ReleaseOwnership();
    target.SafeFree(&target);
    EXPECT_EQ(LiveBlocks(), before);
    EXPECT_EQ(target.GetOwner(), &target);
}

TEST(Half, EveryValueSurvivesTheWayThroughFloat)
{
    for (uint32_t bits = 0; bits <= 0xffff; ++bits) {
        const uint16_t value = static_cast<uint16_t>(bits);
        EXPECT_EQ(gw::details::FloatToHalfBits(gw::details::HalfBitsToFloat(value)), value) << bits;
        if ((value & 0x7fff) < 0x7c00) {
            const int exponent = value >> 10 & 31, mantissa = value & 1023;
            const double magnitude = std::ldexp(exponent ? mantissa + 1024 : mantissa, (exponent ? exponent : 1) - 25);
            EXPECT_EQ(static_cast<double>(std::bit_cast<half>(value)), value >> 15 ? -magnitude : magnitude) << bits;
        }
    }
}

TEST(Half, TiesGoAwayFromZero)
{
    for (uint32_t bits = 0; bits < 0x7c00; ++bits) {
        const double low = FloatOf(static_cast<uint16_t>(bits));
        const double high = bits == 0x7bff ? 65536.0 : FloatOf(static_cast<uint16_t>(bits + 1));
        const float tie = static_cast<float>((low + high) / 2);
        EXPECT_EQ(BitsOf(tie), bits + 1) << bits;
        EXPECT_EQ(BitsOf(-tie), bits + 1 + 0x8000) << bits;
        EXPECT_EQ(BitsOf(std::nextafter(tie, 0.0f)), bits) << bits;
    }
}

TEST(Half, SpecialValues)
{
    EXPECT_EQ(BitsOf(half()), 0);
    EXPECT_EQ(BitsOf(65504.0f), 0x7bff);
    EXPECT_EQ(BitsOf(1e30f), 0x7c00);
    EXPECT_EQ(BitsOf(-std::numeric_limits<float>::infinity()), 0xfc00);
    EXPECT_EQ(BitsOf(-0.0f), 0x8000);
    EXPECT_EQ(BitsOf(-std::numeric_limits<float>::denorm_min()), 0x8000);
    EXPECT_EQ(BitsOf(std::bit_cast<float>(0x7f800001u)), 0x7c01);
    EXPECT_EQ(BitsOf(std::bit_cast<float>(0xffc02000u)), 0xfe01);
    EXPECT_EQ(BitsOf(1.0), 0x3c00);
    EXPECT_EQ(std::bit_cast<uint32_t>(gw::details::HalfBitsToFloat(0x7c01)), 0x7f802000u);
}
