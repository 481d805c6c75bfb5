// The plain converters: every pair of formats goes through blocks of working pixels, in three stages.
#include "Gleamwork/image/PixelFormats.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace gw::image::details {
namespace {

// Few enough to stay in the nearest cache.
constexpr uint64_t blockPixels = 64;

using Reader = void (*)(const unsigned char* from, WorkingPixel* block, uint64_t count);
using NumberConverter = void (*)(WorkingPixel* block, uint64_t count);
using Writer = void (*)(const WorkingPixel* block, unsigned char* to, uint64_t count);

template <class Source, bool Swap>
void ReadPixels(const unsigned char* from, WorkingPixel* block, uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i)
        block[i] = Source::template Read<Swap>(from + i * Source::bytes);
}

template <class Source, class Target>
void ConvertNumbers(WorkingPixel* block, uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i) {
        for (double& channel : block[i])
            channel = ConvertChannel<Source, Target>(channel);
    }
}

template <class Target>
void WritePixels(const WorkingPixel* block, unsigned char* to, uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i)
        Target::Write(to + i * Target::bytes, block[i]);
}

template <class... Families>
struct FamilyList
{
    static constexpr int count = sizeof...(Families);

    template <class Family>
    static constexpr int IndexOf()
    {
        int index = 0;
        static_cast<void>(((std::is_same_v<Family, Families> || (++index, false)) || ...));
        return index;
    }

    // By target family. Null where numbers stay as they are.
    struct Row
    {
        NumberConverter converters[count];
    };

    template <class Source>
    static constexpr Row MakeRow()
    {
        return {{Choose<Source, Families>()...}};
    }
    static constexpr std::array<Row, count> MakeRows() { return {MakeRow<Families>()...}; }

private:
    template <class Source, class Target>
    static constexpr NumberConverter Choose()
    {
        if constexpr (Source::storage == Target::storage ||
                      (Source::range == ERange::Plain && Target::range == ERange::Plain))
            return nullptr;
        else
            return &ConvertNumbers<Source, Target>;
    }
};

using AllFamilies = FamilyList<FamilyU8, FamilyS8, FamilyU16, FamilyS16, FamilyUI16, FamilyI16, FamilyUI32, FamilyI32,
                               FamilyHalf, FamilyFloat, PackedFamily>;
constexpr auto numberConverters = AllFamilies::MakeRows();

struct FormatRow
{
    EFormat format;
    PixelShape shape;
    int family;
    Reader readers[2]; // by byte order
    Writer writer;
};

constexpr uint32_t formatCount = 49;

constexpr std::array<FormatRow, formatCount> MakeFormatRows()
{
    std::array<FormatRow, formatCount> rows = {};
    size_t next = 0;
    ForEachConvertibleFormat([&](auto entry) {
        using Pixel = typename decltype(entry)::Pixel;
        rows[next++] = {entry.format,
                        ShapeOf<Pixel>(),
                        AllFamilies::IndexOf<typename Pixel::Family>(),
                        {&ReadPixels<Pixel, false>, &ReadPixels<Pixel, true>},
                        &WritePixels<Pixel>};
    });
    return rows;
}

constexpr std::array<FormatRow, formatCount> formatRows = MakeFormatRows();

template <class Bits>
void ReverseElements(const unsigned char* from, unsigned char* to, uint64_t bytes)
{
    for (uint64_t at = 0; at < bytes; at += sizeof(Bits))
        StoreBits<Bits>(to + at, LoadBits<Bits, true>(from + at));
}

// Equal formats in the other byte order: elements are reversed and not looked at.
__attribute__((noinline)) void RunReversal(PixelShape shape, const qs::MemView<unsigned char>& target,
                                           const qs::MemView<const unsigned char>& source)
{
    const uint64_t bytes = CountPixels(target, shape, source, shape) * shape.Bytes();
    constexpr void (*reversals[])(const unsigned char*, unsigned char*, uint64_t) = {
        nullptr, &ReverseElements<uint8_t>, &ReverseElements<uint16_t>, nullptr, &ReverseElements<uint32_t>};
    reversals[shape.elementBytes](source.GetData(), target.GetData(), bytes);
}

// Not to be copied into each of the thousands of converters that call it.
__attribute__((noinline)) void RunPair(const FormatRow& from, const FormatRow& to, bool swap,
                                       const qs::MemView<unsigned char>& target,
                                       const qs::MemView<const unsigned char>& source)
{
    const uint64_t count = CountPixels(target, to.shape, source, from.shape);
    const Reader read = from.readers[swap];
    const NumberConverter convert = numberConverters[from.family].converters[to.family];
    WorkingPixel block[blockPixels];
    for (uint64_t done = 0; done < count; done += blockPixels) {
        const uint64_t pixels = std::min(blockPixels, count - done);
        read(source.GetData() + done * from.shape.Bytes(), block, pixels);
        if (convert)
            convert(block, pixels);
        to.writer(block, target.GetData() + done * to.shape.Bytes(), pixels);
    }
}

// A pair and its byte order in one number, so that each converter is a function of its own.
constexpr uint32_t pairCount = formatCount * formatCount * 2;

template <uint32_t Pair>
void Run(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
{
    constexpr uint32_t from = Pair / (2 * formatCount);
    constexpr uint32_t to = Pair / 2 % formatCount;
    if constexpr (from == to && Pair % 2 == 1)
        RunReversal(formatRows[from].shape, target, source);
    else
        RunPair(formatRows[from], formatRows[to], Pair % 2 == 1, target, source);
}

template <uint32_t... Pairs>
constexpr std::array<PixelConverter, pairCount> MakeRuns(std::integer_sequence<uint32_t, Pairs...>)
{
    return {&Run<Pairs>...};
}

constexpr auto runs = MakeRuns(std::make_integer_sequence<uint32_t, pairCount>());

} // namespace

void FillPlainConverters(ConverterTable& table)
{
    for (uint32_t pair = 0; pair < pairCount; ++pair) {
        const EFormat from = formatRows[pair / (2 * formatCount)].format;
        const EFormat to = formatRows[pair / 2 % formatCount].format;
        table.entries[from][to][pair % 2] = runs[pair];
    }
}

} // namespace gw::image::details
