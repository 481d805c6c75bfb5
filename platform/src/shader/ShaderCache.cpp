// The shader cache on disk.
#include "shader/ShaderCache.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include <unistd.h>
#include <xxhash.h>

#include "common/DebugOutput.h"
#include "shader/ByteCursor.h"
#include "shader/ShaderContainer.h"

namespace gleam {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t EntryTag = 0x43534c47; // "GLSC"
constexpr std::uint64_t MaxEntryBytes = 256u << 20;

fs::path EntryPath(const fs::path& folder, const CacheKey& key)
{
    char name[48];
    std::snprintf(name, sizeof(name), "%016llx%016llx.glsc", static_cast<unsigned long long>(key[0]),
                  static_cast<unsigned long long>(key[1]));
    return folder / "shaders" / name;
}

std::vector<std::uint8_t> Encode(const CacheKey& key, const CacheEntry& entry)
{
    ByteWriter out;
    out.Value(EntryTag);
    out.Value(ContainerVersion);
    out.Value(key);
    out.Value(static_cast<std::uint32_t>(entry.includes.size()));
    for (const IncludeRecord& include : entry.includes) {
        out.Value(static_cast<std::uint32_t>(include.type));
        out.Text(include.name);
        out.Value(include.parent);
        out.Value(include.hash);
    }
    out.Text(entry.warnings);
    out.Value(static_cast<std::uint32_t>(entry.container.size()));
    out.Bytes(entry.container.data(), entry.container.size());
    out.Value(XXH3_64bits(out.Data().data(), out.Size()));
    return std::move(out.Data());
}

bool HashIsRight(std::span<const std::uint8_t> bytes)
{
    if (bytes.size() < sizeof(std::uint64_t))
        return false;
    const auto body = bytes.first(bytes.size() - sizeof(std::uint64_t));
    return ByteReader(bytes.last(sizeof(std::uint64_t))).Value<std::uint64_t>() ==
           XXH3_64bits(body.data(), body.size());
}

std::optional<CacheEntry> Decode(const CacheKey& key, std::span<const std::uint8_t> bytes)
{
    if (!HashIsRight(bytes))
        return std::nullopt;
    ByteReader in(bytes.first(bytes.size() - sizeof(std::uint64_t)));
    const bool isOurs = in.Value<std::uint32_t>() == EntryTag && in.Value<std::uint32_t>() == ContainerVersion &&
                        in.Value<CacheKey>() == key;
    if (!isOurs)
        return std::nullopt;
    CacheEntry entry;
    const std::uint32_t includes = in.Count(20);
    for (std::uint32_t i = 0; i < includes && !in.Failed(); ++i) {
        IncludeRecord& include = entry.includes.emplace_back();
        include.type = in.Enum<D3D_INCLUDE_TYPE>(D3D_INCLUDE_SYSTEM);
        include.name = in.Text();
        include.parent = in.Value<std::uint32_t>();
        include.hash = in.Value<std::uint64_t>();
    }
    entry.warnings = in.Text();
    const auto container = in.Bytes(in.Value<std::uint32_t>());
    entry.container.assign(container.begin(), container.end());
    ContainerView view;
    if (!in.AtEnd() || !OpenContainer(entry.container, view))
        return std::nullopt;
    return entry;
}

std::vector<std::uint8_t> ReadWhole(const fs::path& path)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(path, error);
    if (error || size > MaxEntryBytes)
        return {};
    std::vector<std::uint8_t> bytes(size);
    std::ifstream stream(path, std::ios::binary);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size));
    return stream ? bytes : std::vector<std::uint8_t>();
}

/// Writes beside the target and renames, so that no reader ever sees half an entry.
bool WriteWhole(const fs::path& path, const std::vector<std::uint8_t>& bytes)
{
    static std::atomic<unsigned> s_serial{0};
    fs::path aside = path;
    aside += "." + std::to_string(::getpid()) + "." + std::to_string(s_serial.fetch_add(1)) + ".tmp";
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    {
        std::ofstream stream(aside, std::ios::binary);
        stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        stream.close();
        if (!stream) {
            fs::remove(aside, error);
            return false;
        }
    }
    fs::rename(aside, path, error);
    if (!error)
        return true;
    fs::remove(aside, error);
    return false;
}

} // namespace

fs::path CacheFolder()
{
    const auto variable = [](const char* name) {
        const char* value = std::getenv(name);
        return std::string(value ? value : "");
    };
    if (const std::string folder = variable("GLEAM_CACHE"); !folder.empty())
        return folder == "off" ? fs::path() : fs::path(folder);
    if (const std::string cache = variable("XDG_CACHE_HOME"); !cache.empty())
        return fs::path(cache) / "gleamwork";
    if (const std::string home = variable("HOME"); !home.empty())
        return fs::path(home) / ".cache" / "gleamwork";
    return {};
}

CacheKey MakeCacheKey(std::string_view source, const std::string& sourceName, const Macros& macros,
                      const std::string& entryPoint, const std::string& target, std::uint32_t flags)
{
    ByteWriter out;
    out.Value(ContainerVersion);
    out.Value(flags);
    for (const std::string* text : {&sourceName, &entryPoint, &target})
        out.Text(*text);
    out.Value(static_cast<std::uint32_t>(macros.size()));
    for (const auto& [name, definition] : macros) {
        out.Text(name);
        out.Text(definition);
    }
    out.Text(source);
    const XXH128_hash_t hash = XXH3_128bits(out.Data().data(), out.Size());
    return {hash.high64, hash.low64};
}

std::optional<CacheEntry> LoadCacheEntry(const CacheKey& key)
{
    const fs::path folder = CacheFolder();
    return folder.empty() ? std::nullopt : Decode(key, ReadWhole(EntryPath(folder, key)));
}

void StoreCacheEntry(const CacheKey& key, const CacheEntry& entry)
{
    const fs::path folder = CacheFolder();
    if (folder.empty())
        return;
    const fs::path path = EntryPath(folder, key);
    if (!WriteWhole(path, Encode(key, entry)))
        DebugLine("D3DCompile: cannot write the cache entry %s", path.c_str());
}

} // namespace gleam
