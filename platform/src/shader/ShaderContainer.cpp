// Framing of compiled shaders: header, chunk table and hash.
#include "shader/ShaderContainer.h"

#include <xxhash.h>

#include "shader/ByteCursor.h"

namespace gleam {
namespace {

constexpr std::uint32_t Tag(const char (&text)[5])
{
    return std::uint32_t(text[0]) | std::uint32_t(text[1]) << 8 | std::uint32_t(text[2]) << 16 |
           std::uint32_t(text[3]) << 24;
}

constexpr std::uint32_t FileTag = Tag("GLSH");
constexpr std::uint32_t SpirvTag = Tag("SPRV");
constexpr std::uint32_t InfoTag = Tag("INFO");
constexpr std::uint32_t MaxChunks = 16;

struct Header
{
    std::uint32_t tag;
    std::uint32_t version;
    std::uint32_t size;
    std::uint32_t chunks;
    std::uint64_t hash;
};
static_assert(sizeof(Header) == 24);

struct Chunk
{
    std::uint32_t tag;
    std::uint32_t offset;
    std::uint32_t size;
};
static_assert(sizeof(Chunk) == 12);

bool HeaderIsSound(const Header& header, std::span<const std::uint8_t> bytes)
{
    return header.tag == FileTag && header.version == ContainerVersion && header.size == bytes.size() &&
           header.chunks <= MaxChunks &&
           header.hash == XXH3_64bits(bytes.data() + sizeof(Header), bytes.size() - sizeof(Header));
}

} // namespace

std::vector<std::uint8_t> WriteContainer(std::span<const std::uint32_t> spirv, const ShaderInfo& info)
{
    const std::vector<std::uint8_t> infoBytes = WriteShaderInfo(info);
    const auto spirvOffset = static_cast<std::uint32_t>(sizeof(Header) + 2 * sizeof(Chunk));
    const auto spirvSize = static_cast<std::uint32_t>(spirv.size_bytes());

    ByteWriter body;
    body.Value(Chunk{SpirvTag, spirvOffset, spirvSize});
    body.Value(Chunk{InfoTag, spirvOffset + spirvSize, static_cast<std::uint32_t>(infoBytes.size())});
    body.Bytes(spirv.data(), spirv.size_bytes());
    body.Bytes(infoBytes.data(), infoBytes.size());

    ByteWriter whole;
    whole.Value(Header{FileTag, ContainerVersion, static_cast<std::uint32_t>(sizeof(Header) + body.Size()), 2,
                       XXH3_64bits(body.Data().data(), body.Size())});
    whole.Bytes(body.Data().data(), body.Size());
    return std::move(whole.Data());
}

bool OpenContainer(std::span<const std::uint8_t> bytes, ContainerView& view)
{
    ByteReader reader(bytes);
    const auto header = reader.Value<Header>();
    if (reader.Failed() || !HeaderIsSound(header, bytes))
        return false;

    ContainerView found;
    for (std::uint32_t i = 0; i < header.chunks; ++i) {
        const auto chunk = reader.Value<Chunk>();
        if (reader.Failed() || chunk.offset % 4 != 0 || std::uint64_t{chunk.offset} + chunk.size > bytes.size())
            return false;
        const auto content = bytes.subspan(chunk.offset, chunk.size);
        if (chunk.tag == SpirvTag)
            found.spirv = content;
        else if (chunk.tag == InfoTag)
            found.info = content;
    }
    if (found.spirv.empty() || found.spirv.size() % 4 != 0 || found.info.empty())
        return false;
    view = found;
    return true;
}

} // namespace gleam
