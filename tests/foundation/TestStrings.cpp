// Interned strings under load, owning strings, conversion, identifiers.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <qs/FixedString.h>
#include <qs/Guid.h>
#include <qs/String.h>

namespace {

using qs::FixedString;

TEST(FixedString, OneTextIsOnePointer)
{
    const FixedString a = FixedString::Create("Color");
    const FixedString b = FixedString::Create("Color of money", 5);
    const FixedString c = FixedString::Create("color");
    EXPECT_EQ(a.ToChar(), b.ToChar());
    EXPECT_EQ(a, b);
    EXPECT_FALSE(a == c);
    EXPECT_TRUE(a.EqualsNoCase(c));
    EXPECT_FALSE(a.EqualsNoCase(FixedString::Create("colour")));
    EXPECT_EQ(a.GetLength(), 5u);
    EXPECT_STREQ(b.ToChar(), "Color");
    const std::string longText(100000, 'x');
    EXPECT_EQ(FixedString::Create(longText.c_str()).GetLength(), 100000u);
    EXPECT_EQ(FixedString::Create("a\0b", 3).GetLength(), 3u);
    EXPECT_FALSE(FixedString::Create("a\0b", 3) == FixedString::Create("a\0c", 3));
}

TEST(FixedString, NullAndEmptyAreTwoStrings)
{
    const FixedString null;
    EXPECT_EQ(null.ToChar(), FixedString::NULL_STRING);
    EXPECT_EQ(FixedString::Create("", -1), FixedString::Empty);
    EXPECT_EQ(FixedString::Create("abc", 0), FixedString::Empty);
    EXPECT_FALSE(null == FixedString::Empty);
    EXPECT_EQ(FixedString::Create(nullptr), null);
    EXPECT_STREQ(null.ToChar(), "");
    EXPECT_EQ(null.GetLength(), 0u);
    EXPECT_EQ(qs::FFFS::str, FixedString::Empty);
}

TEST(FixedString, CountsEveryHolderAndReleasesBehindTheLast)
{
    const qs::u64 before = FixedString::GetInternedCount();
    {
        FixedString first = FixedString::Create("held by several");
        FixedString copy = first;
        EXPECT_EQ(first.GetReferenceCount(), 2u);
        FixedString moved = std::move(copy);
        EXPECT_EQ(first.GetReferenceCount(), 2u);
        EXPECT_TRUE(copy.IsNull());
        FixedString& alias = moved;
        moved = alias;
        first = moved;
        EXPECT_EQ(first.GetReferenceCount(), 2u);

        FixedString raw;
        qs::FixedStringHacker::SetHandleNoRef(raw, first.ToChar());
        EXPECT_EQ(raw, first);
        EXPECT_EQ(first.GetReferenceCount(), 2u);
        qs::FixedStringHacker::SetHandleNoRef(raw, FixedString::NULL_STRING);
        moved = FixedString::Create("another");
        EXPECT_EQ(first.GetReferenceCount(), 1u);
        EXPECT_EQ(FixedString::GetInternedCount(), before + 2);
    }
    EXPECT_EQ(FixedString::GetInternedCount(), before);
}

TEST(FixedString, ReferencesMoveBetweenThreads)
{
    const qs::u64 before = FixedString::GetInternedCount();
    std::vector<FixedString> strings;
    std::thread([&] {
        for (int i = 0; i < 500; ++i) {
            strings.push_back(FixedString::Create(("from another thread " + std::to_string(i)).c_str()));
            strings.push_back(strings.back());
        }
    }).join();
    EXPECT_EQ(strings[0].GetReferenceCount(), 2u);
    EXPECT_EQ(FixedString::GetInternedCount(), before + 500);
    std::vector<FixedString> kept(strings.begin(), strings.begin() + 10);
    std::thread([moved = std::move(strings)]() mutable { moved.clear(); }).join();
    EXPECT_EQ(kept[0].GetReferenceCount(), 2u);
    EXPECT_EQ(FixedString::GetInternedCount(), before + 5);
    kept.clear();
    EXPECT_EQ(FixedString::GetInternedCount(), before);
}

// Threads make, copy, hand over and drop a few hundred texts, so that texts are released while others look them up.
TEST(FixedString, SurvivesReleaseAndLookUpAtOnce)
{
    const qs::u64 before = FixedString::GetInternedCount();
    constexpr int texts = 200;
    FixedString exchange[16];
    std::atomic_flag locks[16] = {};
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (unsigned t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(t);
            FixedString mine[32];
            for (int i = 0; i < 30000; ++i) {
                const std::string text = "contended " + std::to_string(random() % texts);
                FixedString made = FixedString::Create(text.c_str());
                const FixedString again = FixedString::Create(text.c_str());
                wrong += made != again || text != made.ToChar() ? 1 : 0;
                const unsigned place = random() % 16;
                if (!locks[place].test_and_set(std::memory_order_acquire)) {
                    std::swap(made, exchange[place]);
                    locks[place].clear(std::memory_order_release);
                }
                mine[random() % 32] = made;
                wrong += std::string(made.ToChar()).find("contended ") != 0 && !made.IsNull() ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    for (FixedString& string : exchange) {
        string = FixedString();
    }
    EXPECT_EQ(FixedString::GetInternedCount(), before);
}

// More threads than can have counts of their own, all alive at once.
TEST(FixedString, ManyThreadsShareTexts)
{
    const qs::u64 before = FixedString::GetInternedCount();
    const FixedString held = FixedString::Create("shared by all");
    std::atomic<int> arrived{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 300; ++t) {
        threads.emplace_back([&, t] {
            FixedString mine = FixedString::Create(("of thread " + std::to_string(t / 3)).c_str());
            ++arrived;
            while (arrived < 300) {
                std::this_thread::yield();
            }
            for (int i = 0; i < 50; ++i) {
                mine = FixedString::Create("shared by all");
                EXPECT_EQ(mine, held);
                mine = FixedString::Create(("passing " + std::to_string(i)).c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(held.GetReferenceCount(), 1u);
    EXPECT_EQ(FixedString::GetInternedCount(), before + 1);
}

TEST(STDString, EditsItsText)
{
    qs::STDString text("Path\\To\\File");
    text.Replace("\\", "/");
    text.Concatenate('.');
    text.Concatenate(qs::StringView("PNGxyz", 3));
    EXPECT_STREQ(text.ToChar(), "Path/To/File.PNG");
    text.Replace("aaaa", "b");
    text.Replace("", "b");
    text.ToLower();
    EXPECT_TRUE(text.EqualsNoCase("PATH/to/FILE.png"));
    text.Replace("file", "a file of its own");
    EXPECT_STREQ(text.ToChar(), "path/to/a file of its own.png");
    text.Concatenate(text);
    EXPECT_EQ(text.GetLength(), 58);
    qs::STDString copy(text);
    text.Clear();
    EXPECT_STREQ(text.ToChar(), "");
    qs::STDString moved(std::move(copy));
    EXPECT_STREQ(copy.ToChar(), "");
    qs::STDString& alias = moved;
    moved = alias;
    EXPECT_EQ(moved.GetLength(), 58);
    EXPECT_STREQ(qs::STDString("cut here", 3).ToChar(), "cut");
    EXPECT_GE(qs::STDString(qs::u64(100)).GetCapacity(), 100);
    EXPECT_TRUE(qs::STDString(static_cast<const char*>(nullptr)).IsEmpty());
}

TEST(STDString, PassesTheLimitOfItsLengthByKeepingTheText)
{
    qs::LogCapture capture;
    qs::STDString text("kept");
    const char byte = 'x';
    text.Concatenate(qs::StringView(&byte, 0x7fffffff));
    EXPECT_STREQ(text.ToChar(), "kept");
    EXPECT_EQ(capture.Count(qs::LogLevelError), 1u);
}

TEST(Conversion, TellsUTF8AndWideTextApart)
{
    const struct
    {
        const char* utf8;
        std::u32string points;
    } cases[] = {{"", U""},
                 {"plain", U"plain"},
                 {"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80", U"\u00e4\u20ac\U0001f600"},
                 {"a\xffz", U"a\ufffdz"},
                 {"\xc3", U"\ufffd"},
                 {"\xed\xa0\x80", U"\ufffd\ufffd\ufffd"},
                 {"\xc0\xaf", U"\ufffd\ufffd"}};
    for (const auto& test : cases) {
        const auto wide = qs::StringConverter::ConvertToWide(test.utf8);
        const std::wstring expected(test.points.begin(), test.points.end());
        EXPECT_EQ(std::wstring(wide.Get(), wide.GetLength()), expected) << test.utf8;
        EXPECT_EQ(std::wstring(qs::STDWString::FromUTF8(test.utf8).ToWChar()), expected);
    }
    const wchar_t text[] = L"\u00e4\u20ac\U0001f600!";
    EXPECT_STREQ(qs::Localization::ConvertWideToMultiByte(text, 3).Get(), "\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80");
    const wchar_t damaged[] = {L'a', static_cast<wchar_t>(0xd800), static_cast<wchar_t>(0x110000), 0};
    EXPECT_STREQ(qs::Localization::ConvertWideToMultiByte(damaged, -1).Get(), "a\xef\xbf\xbd\xef\xbf\xbd");
    const std::wstring many(500, L'\u20ac');
    EXPECT_EQ(qs::Localization::ConvertWideToMultiByte(many.c_str(), -1).GetLength(), 1500u);
}

TEST(Formatter, NeverPassesItsBuffer)
{
    char buffer[8] = "#######";
    qssprintf(buffer, 5, "%d-%s", 12, "abc");
    EXPECT_STREQ(buffer, "12-a");
    EXPECT_EQ(buffer[5], '#');
}

TEST(Guid, IsUniqueAndReadsAsVersion4)
{
    std::set<std::string> seen;
    for (int i = 0; i < 100; ++i) {
        const qs::Guid guid = qs::Guid::Generate();
        const std::string text = guid.ToFS(true).ToChar();
        ASSERT_EQ(text.size(), 36u);
        EXPECT_EQ(text[14], '4');
        EXPECT_NE(std::string("89ab").find(text[19]), std::string::npos);
        EXPECT_EQ(guid.ToFS(true), guid.ToFS(true));
        EXPECT_EQ(guid.ToFS(false).GetLength(), 32u);
        seen.insert(text);
    }
    EXPECT_EQ(seen.size(), 100u);
}

} // namespace
