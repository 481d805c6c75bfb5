// Compiled shaders kept on disk.
//
// The folder is GLEAM_CACHE; without it $XDG_CACHE_HOME/gleamwork or ~/.cache/gleamwork; `off` keeps nothing. Entries
// are files "shaders/<key>.glsc". The key is the hash of everything that a compilation starts from; the entry lists
// the files that were included with the hashes of their contents, and counts only when all are unchanged. Any number
// of processes may share a folder: entries are written aside and renamed into place, and a damaged or foreign one
// counts as absent and is replaced.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "shader/IncludeFiles.h"
#include "shader/Preprocess.h"

namespace gleam {

/// The cache's folder, or an empty path when nothing is to be kept. Reads the environment anew at each call.
std::filesystem::path CacheFolder();

using CacheKey = std::array<std::uint64_t, 2>;

CacheKey MakeCacheKey(std::string_view source, const std::string& sourceName, const Macros& macros,
                      const std::string& entryPoint, const std::string& target, std::uint32_t flags);

struct CacheEntry
{
    std::vector<IncludeRecord> includes;
    std::string warnings;
    std::vector<std::uint8_t> container;
};

std::optional<CacheEntry> LoadCacheEntry(const CacheKey& key);
/// Failure to write leaves things as they were; one debug line tells why.
void StoreCacheEntry(const CacheKey& key, const CacheEntry& entry);

} // namespace gleam
