// Any bytes as a binary shader file: what is accepted lies inside the file, and reading it fills just the destination.
#include "Gleamwork/RendererBase.h"

#include <cstdio>
#include <cstdlib>
#include <qs/FileSystem.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

// A file in memory where the system has one for it.
const std::string& Path()
{
    static const std::string path = "/dev/shm/binaryshader" + std::to_string(getpid());
    return path;
}

bool Write(const unsigned char* data, std::size_t size)
{
    std::FILE* file = std::fopen(Path().c_str(), "wb");
    if (!file) {
        return false;
    }
    const bool isWritten = std::fwrite(data, 1, size, file) == size;
    return std::fclose(file) == 0 && isWritten;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using gw::details::RendererBase;
    if (!Write(data, size)) {
        std::abort();
    }
    qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, Path().c_str()));
    gw::CompiledShaderDirectory directory;
    const bool isRead = RendererBase::ReadBinaryShaderInfo(reader, directory);
    if (!isRead && !directory.IsEmpty()) {
        std::abort();
    }
    std::uint64_t total = 0;
    for (const gw::CompiledShaderInfo& info : directory) {
        if (std::uint64_t(info.offset) + info.size > size) {
            std::abort();
        }
        total += info.size;
    }
    if (total > size) {
        std::abort();
    }
    std::vector<char> destination(total);
    gw::ShaderData stages[4];
    const bool isFilled = RendererBase::ReadBinaryShaders(reader, directory, destination.data(), stages[0], stages[1],
                                                          stages[2], stages[3]);
    if (isRead != isFilled && isRead) {
        std::abort();
    }
    for (const gw::ShaderData& stage : stages) {
        if (stage.data &&
            (stage.data < destination.data() || stage.data + stage.size > destination.data() + destination.size())) {
            std::abort();
        }
    }
    unlink(Path().c_str());
    return 0;
}
