// Value containers and views: growth, removal, iteration, and what their checks leave untouched.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include <qs/Array.h>
#include <qs/FixedSizeArray.h>
#include <qs/FixedStringMap.h>
#include <qs/MemView.h>
#include <qs/RangeContainer.h>
#include <qs/Result.h>
#include <qs/Set.h>
#include <qs/String.h>
#include <qs/Tokenizer.h>

namespace {

using qs::LogCapture;

// Runs `action` and says what it asserted: the newest text, the flag of its entry.
template <class Action>
std::string Asserted(Action&& action, int flag = 1)
{
    LogCapture capture;
    action();
    const auto entries = capture.GetEntries();
    if (entries.size() != 1) {
        return "messages: " + std::to_string(entries.size());
    }
    EXPECT_EQ(entries[0].level, qs::u32(qs::LogLevelAssertion));
    EXPECT_EQ(entries[0].flag, flag);
    EXPECT_EQ(entries[0].file.substr(0, 3), "qs/");
    EXPECT_NE(entries[0].function.find("::"), std::string::npos);
    return entries[0].text;
}

TEST(Set, GrowsByDoublingOrByItsStep)
{
    for (const auto& [step, expected] : {std::pair(0u, std::vector<qs::u32>{1, 2, 4, 4, 8, 8, 8, 8, 16}),
                                         std::pair(16u, std::vector<qs::u32>(9, 16))}) {
        qs::PrimitiveSet<int> set(0, step);
        std::vector<qs::u32> capacities;
        for (int i = 0; i < 9; ++i) {
            set.Add(i);
            capacities.push_back(set.GetCapacity());
        }
        EXPECT_EQ(capacities, expected);
        EXPECT_EQ(set.Find(8), 8);
        EXPECT_EQ(set.Find(9), -1);
    }
    qs::PrimitiveSet<int> stepped(16, 16);
    for (int i = 0; i < 33; ++i) {
        stepped.Add(i);
    }
    EXPECT_EQ(stepped.GetCapacity(), 48u);
}

TEST(Set, AddsAnElementOfItself)
{
    qs::ObjectSet<qs::STDString> set;
    set.Add("the first of many, long enough to be worth freeing");
    for (int i = 0; i < 20; ++i) {
        set.Add(set[0]);
    }
    EXPECT_STREQ(set[20].ToChar(), set[0].ToChar());
}

TEST(Set, RemovalMovesTheLastElementAndResetsItsCell)
{
    qs::ObjectSet<std::string> set;
    for (const char* text : {"a", "b", "c"}) {
        set.Add(text);
    }
    set.RemoveAt(0);
    EXPECT_EQ(set[0], "c");
    EXPECT_EQ(set.GetData()[2], "");
    EXPECT_EQ(Asserted([&] { set.RemoveAt(2); }), "Index [2] out of range [0 - 2]");
    set.RemoveAt(1);
    set.RemoveAt(0);
    EXPECT_EQ(Asserted([&] { set.RemoveAt(0); }), "Trying to remove an item from the set that is empty");
    EXPECT_EQ(set.GetSize(), 0u);
}

TEST(Set, ReallocAndCloneKeepWithinTheirMemory)
{
    qs::PrimitiveSet<int> set;
    for (int i = 0; i < 5; ++i) {
        set.Add(i);
    }
    EXPECT_EQ(Asserted([&] { set.Realloc(3); }),
              "[qs::Set] Trying to reallocate a set with a size '3' smaller than the current use '5'");
    EXPECT_EQ(set.GetSize(), 3u);
    qs::PrimitiveSet<int> copy;
    copy.Add(99);
    copy.Clone(set);
    EXPECT_EQ(copy.GetSize(), 3u);
    EXPECT_EQ(copy[2], 2);
    EXPECT_EQ(Asserted([&] { copy.Clone(copy); }, 0), "[qs::Set] A Set is cloning itself, this will clear it!");
    EXPECT_TRUE(copy.IsEmpty());
    set.Realloc(0);
    EXPECT_EQ(set.GetData(), nullptr);
    EXPECT_TRUE(set.IsEmpty());
    EXPECT_EQ(Asserted([&] { *set.begin(); }, 0),
              "You are dereferencing a NULL iterator.\nMaybe the owning container was empty?");
}

TEST(Set, WritesOutOfRangeReachNoElement)
{
    qs::PrimitiveSet<int> set(4);
    set.Add(1);
    EXPECT_EQ(Asserted([&] { set.SetAt(1, 7); }), "Index [1] out of range [0 - 1]");
    EXPECT_EQ(Asserted([&] { EXPECT_EQ(set[1], 0); }), "Index [1] out of range [0 - 1]");
    set.Add(2);
    EXPECT_EQ(set[0], 1);
    EXPECT_EQ(set[1], 2);
}

TEST(Array, CountsCellsThatDifferFromTheDefault)
{
    qs::PrimitiveArray<float> array(4);
    array.SetAt(10, 1.5f);
    EXPECT_EQ(array.GetCapacity(), 14u);
    EXPECT_EQ(array.GetSize(), 11u);
    EXPECT_EQ(array[9], 0.0f);
    array.SetAt(3, std::numeric_limits<float>::quiet_NaN());
    array.SetAt(4, 2.0f);
    EXPECT_EQ(array.GetUsed(), 3u);
    array.SetAt(4, 0.0f);
    array.SetAt(10, 2.5f);
    EXPECT_EQ(array.GetUsed(), 2u);
    array.SetSize(4);
    EXPECT_EQ(array.GetUsed(), 1u);
    EXPECT_EQ(array.GetSize(), 4u);
    array.SetSize(8);
    EXPECT_EQ(Asserted([&] { array[4] = 1.0f; }), "Index [4] out of range [0 - 4]");
    array.SetSize(0);
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_EQ(array.GetUsed(), 0u);
}

TEST(Array, RefusesAnIndexItCannotGrowTo)
{
    qs::ObjectArray<qs::STDString> array(0, 2);
    array.SetAt(1, "last");
    EXPECT_EQ(Asserted([&] { array.SetAt(2, "beyond"); }),
              "Index 2 larger than the max size 2 of array! This will cause memory corruption!");
    EXPECT_EQ(array.GetSize(), 2u);
    const qs::ObjectArray<qs::STDString> copy(array);
    EXPECT_TRUE(copy[1] == "last");
    EXPECT_EQ(copy.GetUsed(), 1u);
}

TEST(Array, MovesItsBlock)
{
    qs::PrimitiveArray<int> array(3);
    array.SetAt(5, 7);
    const int* block = array.GetData();
    qs::PrimitiveArray<int> moved(std::move(array));
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_EQ(array.GetCapacity() + array.GetSize() + array.GetUsed(), 0u);
    qs::PrimitiveArray<int> target(1, 4);
    target = std::move(moved);
    EXPECT_EQ(target.GetData(), block);
    EXPECT_EQ(target.GetSize(), 6u);
    EXPECT_EQ(target.GetUsed(), 1u);
    target.SetAt(8, 1);
    EXPECT_EQ(target.GetCapacity(), 11u); // the growth step came along
    moved.SetAt(0, 2);
    EXPECT_EQ(moved[0], 2);
    qs::PrimitiveArray<int>& self = target;
    target = std::move(self);
    EXPECT_EQ(target[5], 7);
}

TEST(FixedStringMap, HoldsOneNodePerText)
{
    qs::FixedStringMap<int> map(7);
    std::vector<qs::FixedString> keys;
    for (int i = 0; i < 100; ++i) {
        keys.push_back(qs::FixedString::Create(("key" + std::to_string(i)).c_str()));
        map.SetAt(keys.back(), i);
    }
    map.SetAt(qs::FixedString::Create("key7xyz", 4), 700);
    EXPECT_EQ(map.GetCount(), 100u);
    EXPECT_EQ(map.Lookup(keys[7])->value, 700);
    int sum = 0;
    for (const auto& node : map) {
        sum += node.value;
    }
    EXPECT_EQ(sum, 99 * 50 - 7 + 700);
    for (int i = 0; i < 100; i += 2) {
        EXPECT_TRUE(map.RemoveKey(keys[i]));
        EXPECT_FALSE(map.RemoveKey(keys[i]));
    }
    EXPECT_EQ(map.Lookup(keys[8]), nullptr);
    EXPECT_EQ(map.Lookup(keys[9])->value, 9);
    EXPECT_EQ(keys[8].GetReferenceCount(), 1u);
    EXPECT_EQ(keys[9].GetReferenceCount(), 2u);
    map.RemoveAll();
    EXPECT_EQ(map.GetCount(), 0u);
    EXPECT_EQ(map.GetFirst(), nullptr);
}

TEST(FixedStringMap, WithoutBucketsHoldsNothing)
{
    EXPECT_EQ(Asserted(
                  [] {
                      qs::FixedStringMap<int> map(0);
                      EXPECT_EQ(map.Lookup(qs::FixedString::Create("x")), nullptr);
                      EXPECT_FALSE(map.RemoveKey(qs::FixedString::Create("x")));
                  },
                  0),
              "Hashtable is not valid!");
}

TEST(RangeContainer, TracksWhatChanged)
{
    int objects[3];
    qs::RangeContainer<int*, 16> range;
    EXPECT_EQ(range.GetFirst(), 0);
    EXPECT_EQ(range.GetLast(), 15);
    range.Flush([](qs::u32 first, qs::u32 count, int* const*) { EXPECT_EQ(first + count, 16u); });
    EXPECT_EQ(range.GetFirst(), 16);
    EXPECT_EQ(range.GetLast(), -1);
    range.Set(3, nullptr);
    EXPECT_TRUE(range.IsClean());
    range.Set(5, &objects[0]);
    range.Set(2, &objects[1]);
    range.Set(5, &objects[0]);
    EXPECT_EQ(Asserted([&] { range.Set(16, &objects[2]); }), "Range index out of bounds!");
    EXPECT_EQ(Asserted([&] { range.Set(-1, &objects[2]); }), "Range index out of bounds!");
    EXPECT_EQ(Asserted([&] { EXPECT_EQ(range[16], nullptr); }), "Range index out of bounds!");
    range.Flush([&](qs::u32 first, qs::u32 count, int* const* values) {
        EXPECT_EQ(first, 2u);
        EXPECT_EQ(count, 4u);
        EXPECT_EQ(values[0], &objects[1]);
        EXPECT_EQ(values[3], &objects[0]);
    });
    range.Flush([](qs::u32, qs::u32, int* const*) { FAIL() << "a clean range has nothing to apply"; });
    range.Reset();
    EXPECT_EQ(range[5], nullptr);
    EXPECT_EQ(range.GetLast(), 15);
}

TEST(FixedSizeArray, ChecksIndexAndAlignment)
{
    qs::FixedSizeArray<std::string, 3> array;
    array[2] = "last";
    const qs::FixedSizeArray<std::string, 3> copy(array);
    EXPECT_EQ(copy[2], "last");
    EXPECT_EQ(Asserted([&] { array[3] = "beyond"; }), "Out of bounds");
    alignas(8) char block[24];
    using Memory = qs::BaseFixedMem<double, 2>;
    EXPECT_EQ(Asserted([&] { EXPECT_EQ(Memory::Construct(block + 4), nullptr); }, 0), "Unexpected misaligned block");
    EXPECT_EQ(Memory::Construct(block)[1], 0.0);
}

TEST(Views, SliceAndRefuseWhatLiesOutside)
{
    const qs::StringView view("Texture.png");
    EXPECT_EQ(view.Find('.'), 7);
    EXPECT_EQ(view.Find('x'), 2);
    EXPECT_EQ(view.Find('?'), -1);
    EXPECT_TRUE((view[qs::ViewRange{8, 11}]).EqualsNoCase("PNG"));
    EXPECT_FALSE(view.EqualsNoCase("Texture.pn"));
    EXPECT_EQ(Asserted([&] { EXPECT_EQ(view[11], '\0'); }), "Char index 11 is out-of view bounds [0, 11)");
    EXPECT_EQ(Asserted([&] {
                  EXPECT_TRUE((view[qs::ViewRange{8, 12}]) == "png");
              }),
              "Boundaries [8, 12) are out-of view bounds [0, 11)");
    EXPECT_EQ(Asserted([&] {
                  EXPECT_TRUE((view[qs::ViewRange{-1, 2}]) == "Te");
              }),
              "Boundaries [-1, 2) are out-of view bounds [0, 11)");

    unsigned char bytes[7] = {1, 0, 0, 0, 2};
    const qs::MemView<unsigned char> memory(bytes, 7);
    EXPECT_EQ(Asserted([&] { EXPECT_EQ(memory.AsItems<qs::u16>().GetLength(), 3u); }),
              "Can't cast memory due to size mismatch");
    EXPECT_TRUE(qs::MemView<unsigned char>().AsItems<int>().IsNull());
    EXPECT_EQ(memory.SubView(4, 100).GetSize(), 3u);
    EXPECT_TRUE(memory.SubView(8).IsEmpty());
    EXPECT_EQ(Asserted([&] { memory[7] = 1; }), "Index [7] out of range [0 - 7]");

    const qs::IndexRange range(3);
    EXPECT_EQ(range[2], 2);
    EXPECT_EQ(Asserted([&] { range[3]; }), "IndexRange overflow: 3-th index requested of max 3 indices");
    EXPECT_EQ(Asserted([] { qs::IndexRange(-4)[0]; }), "IndexRange overflow: 0-th index requested of max 0 indices");
}

TEST(Result, GivesADefaultBehindItsAssertion)
{
    const qs::Result<int> good(5);
    EXPECT_EQ(good.Get(), 5);
    const qs::Result<int> bad(qs::EError::EndOfData);
    EXPECT_TRUE(bad.IsError());
    EXPECT_EQ(Asserted([&] { EXPECT_EQ(bad.Get(), 0); }), "qs::Result is an error, value is inaccessible");
}

TEST(Tokenizer, SplitsAtRunsOfDelimiters)
{
    const qs::StringView delimiters(" \0,;", 4);
    const struct
    {
        std::string_view text;
        std::vector<std::string_view> tokens;
    } cases[] = {{"jpg, jpeg", {"jpg", "jpeg"}},
                 {" ,;a;;b ", {"a", "b"}},
                 {"one", {"one"}},
                 {std::string_view("x\0y", 3), {"x", "y"}},
                 {" ;, ", {}},
                 {"", {}}};
    for (const auto& test : cases) {
        std::vector<std::string_view> tokens;
        for (qs::StringView token : qs::_private::TokenizeIterator(qs::StringView(test.text), delimiters)) {
            tokens.push_back(token.ToStd());
        }
        EXPECT_EQ(tokens, test.tokens) << test.text;
    }
    const qs::StringView text("a  b");
    const auto parts = qs::_private::Split<2, char>(text, delimiters);
    EXPECT_EQ(parts[1].GetData(), text.GetData() + 3);
    const qs::_private::TokenizeIterator first(text, delimiters);
    EXPECT_EQ(Asserted([&] { EXPECT_TRUE(first != first); }), "This iterator should only ever be used in for-range!");
}

} // namespace
