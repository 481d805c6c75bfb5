// Handles and interned strings against what they cannot be faster than.
#include <random>
#include <string>
#include <thread>
#include <vector>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "bench/common/Ratio.h"

#include <qs/FixedString.h>
#include <qs/ObjectContainer.h>

namespace {

constexpr int ObjectCount = 100000;
constexpr int TextCount = 10000;
constexpr int Lookups = 200000;

struct Object
{
    qs::ObjectHandle handle;
    qs::u64 payload[15];
};
static_assert(sizeof(Object) == 128);

template <class Item>
std::vector<Item> Shuffled(const std::vector<Item>& items, int count, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<Item> result;
    for (int i = 0; i < count; ++i) {
        result.push_back(items[random() % items.size()]);
    }
    return result;
}

struct Objects
{
    qs::ObjectContainer<Object> container{2048, 64};
    const Object* first; // slots of a container stand one behind the other
    std::vector<qs::ObjectHandle> handles;

    Objects()
    {
        for (int i = 0; i < ObjectCount; ++i) {
            qs::ObjectHandle handle;
            container.Add(Object{{}, {qs::u64(i)}}, handle);
            handles.push_back(handle);
        }
        first = container.Get(handles[0]);
        handles = Shuffled(handles, Lookups, 1);
    }
};

Objects& GetObjects()
{
    static Objects objects;
    return objects;
}

void HandleGet(benchmark::State& state)
{
    Objects& objects = GetObjects();
    for (auto _ : state) {
        qs::u64 sum = 0;
        for (const qs::ObjectHandle& handle : objects.handles) {
            sum += objects.container.Get(handle)->payload[0];
        }
        benchmark::DoNotOptimize(sum);
    }
}

// The same objects by the handles' indices, from an array that the compiler knows the start of.
void RawLoad(benchmark::State& state)
{
    const Objects& objects = GetObjects();
    const Object* first = objects.first;
    for (auto _ : state) {
        qs::u64 sum = 0;
        for (const qs::ObjectHandle& handle : objects.handles) {
            sum += first[handle.GetIndex()].payload[0];
        }
        benchmark::DoNotOptimize(sum);
    }
}

struct Texts
{
    std::vector<std::string> order;
    std::vector<qs::FixedString> held;

    Texts()
    {
        std::mt19937 random(2);
        std::vector<std::string> texts;
        for (int i = 0; i < TextCount; ++i) {
            std::string text = std::to_string(i) + "_";
            const std::size_t length = 8 + random() % 17;
            while (text.size() < length) {
                text += static_cast<char>('a' + random() % 26);
            }
            texts.push_back(text);
            held.push_back(qs::FixedString::Create(text.c_str(), static_cast<qs::i32>(text.size())));
        }
        order = Shuffled(texts, Lookups, 3);
    }
};

Texts& GetTexts()
{
    static Texts texts;
    return texts;
}

void InternAll(const std::string* first, const std::string* end)
{
    for (; first != end; ++first) {
        qs::FixedString string = qs::FixedString::Create(first->data(), static_cast<qs::i32>(first->size()));
        benchmark::DoNotOptimize(string);
    }
}

void StringIntern(benchmark::State& state)
{
    const std::vector<std::string>& texts = GetTexts().order;
    for (auto _ : state) {
        InternAll(texts.data(), texts.data() + texts.size());
    }
}

// The same look-ups, half of them on each of two threads.
void StringInternTwoThreads(benchmark::State& state)
{
    const std::vector<std::string>& texts = GetTexts().order;
    const std::string* middle = texts.data() + texts.size() / 2;
    for (auto _ : state) {
        std::thread other([&] { InternAll(middle, texts.data() + texts.size()); });
        InternAll(texts.data(), middle);
        other.join();
    }
}

void Xxh3(benchmark::State& state)
{
    for (auto _ : state) {
        for (const std::string& text : GetTexts().order) {
            benchmark::DoNotOptimize(XXH3_64bits(text.data(), text.size()));
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::AddRow("handle_get", HandleGet, RawLoad, bench::ETime::Processor);
    bench::AddRow("string_intern", StringIntern, Xxh3, bench::ETime::Processor);
    bench::AddRow("string_intern_2t", StringInternTwoThreads, StringIntern);
    return bench::Run(argc, argv);
}
