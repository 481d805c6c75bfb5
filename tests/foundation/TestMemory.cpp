// Accounting by scope, the operators of classes, and scratch memory.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <qs/Memory.h>
#include <qs/ObjectContainer.h>
#include <qs/ScratchMemory.h>

namespace {

using qs::AllocType;
using qs::DefaultMemoryTag;
using qs::MemoryManager;
using qs::MemoryTrackerSample;

qs::i64 Bytes(const char* scope)
{
    return MemoryManager::GetUsage(scope).bytes;
}

TEST(Memory, AccountsUnderTheInnermostScope)
{
    MemoryTrackerSample outer("test outer");
    void* first = MemoryManager::Allocate(100, AllocType::Raw, DefaultMemoryTag, 0, true);
    void* second;
    {
        // A name that is composed anew each time is the same scope.
        MemoryTrackerSample inner((std::string("test ") + "inner").c_str());
        second = MemoryManager::Allocate(50, AllocType::NewArray, DefaultMemoryTag, 0, true);
    }
    first = MemoryManager::Reallocate(first, 300, DefaultMemoryTag, 0, true);
    EXPECT_EQ(Bytes("test outer"), 300);
    EXPECT_EQ(Bytes("test inner"), 50);
    EXPECT_EQ(MemoryManager::GetUsage("test outer").blocks, 1);
    std::thread([&] { MemoryManager::Deallocate(second, AllocType::DeleteArray, DefaultMemoryTag, true); }).join();
    EXPECT_EQ(Bytes("test inner"), 0);
    MemoryManager::Deallocate(first, AllocType::FreeRaw, DefaultMemoryTag, true);
    MemoryManager::Deallocate(nullptr, AllocType::FreeRaw, DefaultMemoryTag, true);
    EXPECT_EQ(Bytes("test outer"), 0);
    EXPECT_EQ(Bytes("never used"), 0);
}

TEST(Memory, KeepsContentAndAlignment)
{
    for (qs::u64 alignment : {0u, 16u, 64u, 4096u}) {
        char* block =
            static_cast<char*>(MemoryManager::Allocate(100, AllocType::Raw, DefaultMemoryTag, alignment, true));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (alignment ? alignment : 16), 0u);
        std::memset(block, 7, 100);
        block = static_cast<char*>(MemoryManager::Reallocate(block, 10000, DefaultMemoryTag, alignment, true));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % (alignment ? alignment : 16), 0u);
        EXPECT_EQ(std::string(block, 100), std::string(100, '\7'));
        MemoryManager::Deallocate(block, AllocType::FreeRaw, DefaultMemoryTag, true);
    }
}

TEST(Memory, SaysWhatWentWrong)
{
    qs::LogCapture capture;
    MemoryTrackerSample sample("test failures");
    EXPECT_EQ(MemoryManager::Allocate(~qs::u64(0) - 5, AllocType::Raw, DefaultMemoryTag, 0, true), nullptr);
    EXPECT_TRUE(capture.Contains("'test failures'", qs::LogLevelError));
    EXPECT_EQ(MemoryManager::Allocate(~qs::u64(0), AllocType::Raw, DefaultMemoryTag, 0, false), nullptr);
    EXPECT_EQ(capture.Count(), 1u);
    void* block = MemoryManager::Allocate(8, AllocType::NewObject, DefaultMemoryTag, 0, true);
    MemoryManager::Deallocate(block, AllocType::FreeRaw, DefaultMemoryTag, true);
    EXPECT_EQ(capture.Count(qs::LogLevelAssertion), 1u);
    EXPECT_EQ(Bytes("test failures"), 0);
}

TEST(Memory, TaggedNewIsFitForPlainDelete)
{
    MemoryTrackerSample sample("test tagged");
    auto* text = new (DefaultMemoryTag) std::string(100, 'x');
    auto* array = new (DefaultMemoryTag) std::string[10];
#if !defined(GLEAM_SANITIZE)
    EXPECT_GE(Bytes("test tagged"), qs::i64(11 * sizeof(std::string)));
#endif
    delete text;
    delete[] array;
    EXPECT_EQ(Bytes("test tagged"), 0);
#if !defined(GLEAM_SANITIZE)
    volatile std::size_t huge = ~std::size_t(0) / 4;
    qs::LogCapture capture;
    EXPECT_EQ(new (DefaultMemoryTag) char[huge], nullptr);
#endif
}

struct Owned
{
    QS_DECLARE_ALLOC(test::Owned)
    int value = 3;
    std::string text = "constructed";
};

TEST(Memory, ClassOperatorsAccountUnderTheClassName)
{
    EXPECT_STREQ(Owned::GetTrackName(), "test::Owned");
    Owned* one = new Owned;
    Owned* many = new (DefaultMemoryTag) Owned[3];
    EXPECT_GE(Bytes("test::Owned"), qs::i64(4 * sizeof(Owned)));
    alignas(Owned) unsigned char place[sizeof(Owned)];
    Owned* placed = new (static_cast<void*>(place)) Owned;
    EXPECT_EQ(placed->text, "constructed");
    placed->~Owned();
    delete one;
    delete[] many;
    EXPECT_EQ(Bytes("test::Owned"), 0);
}

TEST(Memory, ThirdPartyMemoryIsReportedApart)
{
    int owners[2];
    {
        MemoryTrackerSample sample("test textures");
        MemoryManager::Track3rdPartyAlloc(&owners[0], 1000);
        MemoryManager::Track3rdPartyAlloc(&owners[1], 500);
        MemoryManager::Track3rdPartyAlloc(&owners[1], 700);
    }
    EXPECT_EQ(MemoryManager::GetUsage("test textures").thirdPartyBytes, 1700);
    EXPECT_EQ(MemoryManager::GetUsage("test textures").thirdPartyBlocks, 2);
    bool listed = false;
    for (const qs::MemoryScopeUsage& usage : MemoryManager::GetUsage()) {
        listed |= std::string(usage.name) == "test textures" && usage.thirdPartyBytes == 1700;
    }
    EXPECT_TRUE(listed);
    MemoryManager::Track3rdPartyFree(&owners[0]);
    MemoryManager::Track3rdPartyFree(&owners[1]);
    MemoryManager::Track3rdPartyFree(&owners[1]);
    EXPECT_EQ(MemoryManager::GetUsage("test textures").thirdPartyBytes, 0);
}

struct Element
{
    qs::ObjectHandle handle;
    char payload[56];
};

TEST(Memory, ContainersTakeMemoryPageByPage)
{
    const qs::i64 before = Bytes("qs::ObjectContainer<T>::m_Object[page]");
    {
        qs::ObjectContainer<Element> container(8, 4);
        EXPECT_EQ(Bytes("qs::ObjectContainer<T>::m_Object[page]") - before, 8 * 64);
        for (int i = 0; i < 9; ++i) {
            container.Create();
        }
        EXPECT_EQ(Bytes("qs::ObjectContainer<T>::m_Object[page]") - before, 16 * 64);
    }
    EXPECT_EQ(Bytes("qs::ObjectContainer<T>::m_Object[page]"), before);
}

TEST(ScratchMemory, FramesGiveBackWhatTheyTook)
{
    struct Counted
    {
        ~Counted() { ++*ended; }
        int* ended = nullptr;
    };
    int ended = 0;
    const qs::u64 before = qs::ScratchMemory::GetUsed();
    {
        auto outer = qs::ScratchMemory::Request(__FILE__, __LINE__);
        unsigned char* kept = outer.AllocateBytes(100).GetData();
        std::memset(kept, 1, 100);
        unsigned char* late;
        {
            auto inner = qs::ScratchMemory::Request(__FILE__, __LINE__);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(inner.AllocateArray<double>(3)) % alignof(double), 0u);
            Counted* counted = inner.AllocateArray<Counted>(3);
            for (int i = 0; i < 3; ++i) {
                counted[i].ended = &ended;
            }
            std::memset(inner.AllocateBytes(200000).GetData(), 2, 200000);
            // The outer frame's memory outlives the inner frame although it was taken behind it.
            late = outer.AllocateBytes(1000).GetData();
            std::memset(late, 3, 1000);
        }
        EXPECT_EQ(ended, 3);
        auto next = qs::ScratchMemory::Request(__FILE__, __LINE__);
        std::memset(next.AllocateBytes(50000).GetData(), 4, 50000);
        EXPECT_EQ(kept[99], 1);
        EXPECT_EQ(late[999], 3);
    }
    EXPECT_EQ(qs::ScratchMemory::GetUsed(), before);
}

TEST(ScratchMemory, FramesMayCloseInAnyOrder)
{
    const qs::u64 before = qs::ScratchMemory::GetUsed();
    auto first = std::make_unique<qs::ScratchMemoryFrame>(qs::ScratchMemory::Request(__FILE__, __LINE__));
    auto second = std::make_unique<qs::ScratchMemoryFrame>(qs::ScratchMemory::Request(__FILE__, __LINE__));
    unsigned char* data = second->AllocateBytes(64).GetData();
    std::memset(data, 5, 64);
    first.reset();
    auto third = qs::ScratchMemory::Request(__FILE__, __LINE__);
    std::memset(third.AllocateBytes(64).GetData(), 6, 64);
    EXPECT_EQ(data[63], 5);
    second.reset();
    {
        auto moved = std::move(third);
    }
    EXPECT_EQ(qs::ScratchMemory::GetUsed(), before);
}

TEST(ScratchMemory, RefusesWhatPassesItsLimit)
{
    EXPECT_TRUE(qs::ScratchMemory::CanAllocate(1 << 20));
    EXPECT_FALSE(qs::ScratchMemory::CanAllocate(qs::ScratchMemory::Limit + 1));
    qs::LogCapture capture;
    auto frame = qs::ScratchMemory::Request(__FILE__, __LINE__);
    EXPECT_TRUE(frame.AllocateBytes(qs::ScratchMemory::Limit + 1).IsNull());
    EXPECT_EQ(frame.AllocateArray<qs::u64>(~qs::u64(0) / 4), nullptr);
    EXPECT_EQ(capture.Count(qs::LogLevelError), 2u);
    EXPECT_FALSE(frame.AllocateBytes(16).IsNull());
}

TEST(ScratchBuffer, AppendsItsOwnContentAndKeepsItsLimit)
{
    qs::ScratchBuffer buffer(32, 0);
    buffer.Write("0123456789", 10);
    for (int i = 0; i < 8; ++i) {
        buffer.Write(buffer.GetReadData(), buffer.GetSize());
    }
    ASSERT_EQ(buffer.GetSize(), 2560u);
    EXPECT_EQ(std::string(buffer.GetReadData() + 2550, 10), "0123456789");
    qs::ScratchBuffer copy(4, 0);
    copy.CopyFrom(buffer);
    buffer.Clear();
    EXPECT_EQ(copy.GetSize(), 2560u);
    EXPECT_EQ(buffer.GetSize(), 0u);
    qs::LogCapture capture;
    qs::ScratchBuffer limited(4, 8);
    EXPECT_TRUE(limited.Write("12345678", 8));
    EXPECT_FALSE(limited.Write("9", 1));
    EXPECT_EQ(limited.GetSize(), 8u);
    EXPECT_EQ(capture.Count(qs::LogLevelError), 1u);
}

TEST(ScratchString, WritesNumbersAndCutsWhatDoesNotFit)
{
    qs::ScratchString text(32, 0xffffffff, true);
    text << "Default RenderFrame " << 18446744073709551615ull << " " << -2147483647 - 1 << " " << 7u << " "
         << static_cast<unsigned char>(65) << qs::StringView("xyz", 1);
    EXPECT_STREQ(text.ToChar(), "Default RenderFrame 18446744073709551615 -2147483648 7 65x");
    char storage[6];
    qs::ScratchString fixed{qs::Span<char>(storage)};
    fixed << "abc"
          << "defgh";
    EXPECT_STREQ(storage, "abcde");
    qs::ScratchString capped(2, 100, false);
    capped << 12345;
    EXPECT_STREQ(capped.ToChar(), "12");
    qs::ScratchString none{qs::Span<char>()};
    none << "x";
    EXPECT_STREQ(none.ToChar(), "");
}

} // namespace
