// Streams over memory.
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include <qs/Log.h>
#include <qs/MemStream.h>

using namespace qs;

namespace {

std::vector<unsigned char> Count(size_t size)
{
    std::vector<unsigned char> bytes(size);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    return bytes;
}

} // namespace

TEST(MemReadStream, ReadsOnlyWhatIsThere)
{
    const auto bytes = Count(16);
    MemReadStream stream(ConstByteView(bytes.data(), bytes.size()));
    uint32_t word = 0;
    ASSERT_TRUE(stream.Read(word));
    EXPECT_EQ(word, 0x03020100u);
    uint64_t large = 0;
    ASSERT_TRUE(stream.ReadValue(large));
    EXPECT_EQ(large, 0x0b0a090807060504u);
    EXPECT_EQ(stream.Read(size_t(3)).GetData(), bytes.data() + 12);

    // One byte is left: nothing larger moves the position or the target.
    word = 77;
    EXPECT_FALSE(stream.Read(word));
    EXPECT_EQ(word, 77u);
    EXPECT_TRUE(stream.Read(size_t(2)).IsNull());
    EXPECT_TRUE(stream.Read(SIZE_MAX).IsNull());
    EXPECT_FALSE(stream.Skip(2));
    EXPECT_FALSE(stream.SetPosition(17));
    EXPECT_EQ(stream.GetPosition(), 15u);
    EXPECT_EQ(stream.GetRemainder().GetSize(), 1u);
    unsigned char target[8] = {};
    const auto copied = stream.Read(ByteView(target, sizeof target));
    ASSERT_TRUE(copied.IsOk());
    EXPECT_EQ(copied.Get(), 1u);
    EXPECT_EQ(target[0], 15);
    EXPECT_TRUE(stream.IsAtEnd());
    EXPECT_EQ(stream.Read(ByteView(target, sizeof target)).GetError(), EError::EndOfData);
    EXPECT_EQ(stream.Read(ByteView()).Get(), 0u);
    EXPECT_FALSE(stream.Read(size_t(0)).IsNull()) << "nothing asked for, nothing missing";

    MemReadStream unbound{ConstByteView()};
    EXPECT_TRUE(unbound.IsAtEnd());
    LogCapture log;
    EXPECT_FALSE(unbound.Read(word));
    EXPECT_EQ(word, 77u);
    EXPECT_EQ(log.GetLast(), "Stream is unbound");
    EXPECT_EQ(log.GetEntries().at(0).flag, 1);
    EXPECT_EQ(unbound.Read(ByteView()).GetError(), EError::Unbound);
    EXPECT_TRUE(unbound.Read(size_t(0)).IsNull());
}

TEST(MemWriteStream, WritesOnlyInsideItsBuffer)
{
    std::vector<unsigned char> target(8, 0xee);
    const auto source = Count(8);
    MemWriteStream stream(MemBuffer(ByteView(target.data(), 7)));
    EXPECT_TRUE(stream.Write(ConstByteView(source.data(), 3)));
    EXPECT_TRUE(stream.Write(ConstByteView(source.data() + 1, 1), 6));
    EXPECT_EQ(stream.GetPosition(), 3u) << "an offset leaves the position alone";
    const ByteView place = stream.Advance(2);
    ASSERT_EQ(place.GetSize(), 2u);
    EXPECT_EQ(place.GetData(), target.data() + 3);
    EXPECT_FALSE(stream.Write(ConstByteView(source.data(), 3)));
    EXPECT_FALSE(stream.Write(ConstByteView(source.data(), 2), 6));
    EXPECT_FALSE(stream.Write(ConstByteView(source.data(), 0), 8));
    EXPECT_FALSE(stream.Write(ConstByteView(source.data(), 1), INT64_MAX));
    EXPECT_TRUE(stream.Advance(3).IsNull());
    EXPECT_TRUE(stream.Advance(SIZE_MAX).IsNull());
    EXPECT_FALSE(stream.SetPosition(8));
    EXPECT_EQ(stream.GetWritten().GetSize(), 5u);
    EXPECT_EQ(target, (std::vector<unsigned char>{0, 1, 2, 0xee, 0xee, 0xee, 1, 0xee}));
    EXPECT_TRUE(MemWriteStream().Advance(0).IsNull());
}
