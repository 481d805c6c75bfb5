// The driver's pipeline cache on disk: `pipelines/<device>.bin` in the cache folder, behind a header of ours that
// tells whether the file is whole. A damaged or foreign file counts as absent.
#include <xxhash.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include <unistd.h>

#include "common/DebugOutput.h"
#include "shader/ShaderCache.h"
#include "vulkan/Pipelines.h"

namespace gleam {
namespace {

struct FileHeader
{
    char magic[8];
    std::uint64_t size;
    std::uint64_t hash;
};

constexpr char Magic[8] = {'G', 'W', 'P', 'I', 'P', 'E', '0', '1'};
constexpr std::uint64_t LargestFile = 256u << 20;

std::vector<char> ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    FileHeader header;
    if (!file.read(reinterpret_cast<char*>(&header), sizeof header) ||
        std::memcmp(header.magic, Magic, sizeof Magic) != 0 || header.size > LargestFile) {
        return {};
    }
    std::vector<char> bytes(header.size);
    if (!file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())) ||
        XXH3_64bits(bytes.data(), bytes.size()) != header.hash) {
        return {};
    }
    return bytes;
}

bool WriteFile(const std::filesystem::path& path, const std::vector<char>& bytes)
{
    // Written aside and renamed, so that no other process ever sees half a file.
    std::filesystem::path aside = path;
    aside += '.';
    aside += std::to_string(getpid());
    FileHeader header;
    std::memcpy(header.magic, Magic, sizeof Magic);
    header.size = bytes.size();
    header.hash = XXH3_64bits(bytes.data(), bytes.size());
    std::ofstream file(aside, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(&header), sizeof header);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    std::error_code error;
    if (file) {
        std::filesystem::rename(aside, path, error);
    }
    if (!file || error) {
        std::filesystem::remove(aside, error);
        return false;
    }
    return true;
}

} // namespace

std::filesystem::path Pipelines::CacheFile() const
{
    const std::filesystem::path folder = CacheFolder();
    if (folder.empty()) {
        return {};
    }
    const VkPhysicalDeviceProperties& device = m_gpu.properties;
    char name[2 * VK_UUID_SIZE + 48];
    int used =
        std::snprintf(name, sizeof name, "%08x-%08x-%08x-", device.vendorID, device.deviceID, device.driverVersion);
    for (const uint8_t byte : device.pipelineCacheUUID) {
        used += std::snprintf(name + used, sizeof name - used, "%02x", byte);
    }
    return folder / "pipelines" / (std::string(name) + ".bin");
}

void Pipelines::LoadCache()
{
    const std::filesystem::path path = CacheFile();
    const std::vector<char> bytes = path.empty() ? std::vector<char>{} : ReadFile(path);
    m_loadedBytes = bytes.size();
    VkPipelineCacheCreateInfo create{VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO};
    create.initialDataSize = bytes.size();
    create.pInitialData = bytes.data();
    if (m_gpu.vk.CreatePipelineCache(m_gpu.device, &create, nullptr, &m_cache) != VK_SUCCESS) {
        // The driver checks its data too; without it everything still works.
        create.initialDataSize = 0;
        Check(m_gpu.vk.CreatePipelineCache(m_gpu.device, &create, nullptr, &m_cache), "vkCreatePipelineCache");
    }
}

void Pipelines::StoreCache()
{
    const std::filesystem::path path = CacheFile();
    size_t size = 0;
    if (path.empty() || m_gpu.IsLost() ||
        m_gpu.vk.GetPipelineCacheData(m_gpu.device, m_cache, &size, nullptr) != VK_SUCCESS || size <= m_loadedBytes) {
        return;
    }
    std::vector<char> bytes(size);
    if (m_gpu.vk.GetPipelineCacheData(m_gpu.device, m_cache, &size, bytes.data()) != VK_SUCCESS) {
        return;
    }
    bytes.resize(size);
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    if (error || !WriteFile(path, bytes)) {
        DebugLine("pipeline cache: cannot write %s", path.c_str());
    }
}

} // namespace gleam
