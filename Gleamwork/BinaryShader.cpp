// Reading of binary shader files, and shaders made of them.
#include "Gleamwork/Renderer.h"

#include <memory>
#include <qs/FileSystem.h>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/BinaryShader";
constexpr std::uint32_t MARKER = 0xffffffffu;
constexpr std::uint8_t VERSION = 1;

template <class Value>
bool ReadValue(qs::FileReader& reader, Value& value)
{
    return reader.Read(&value, sizeof value) == sizeof value;
}

bool IsStage(std::uint8_t type)
{
    return type >= eShaderType_Vertex && type <= eShaderType_Compute;
}

// False, after an error, for stages that the file cannot hold.
bool CheckPlaces(const qs::FileReader& reader, const CompiledShaderDirectory& directory)
{
    const std::uint64_t fileSize = reader.GetFileSize();
    std::uint64_t total = 0;
    for (const CompiledShaderInfo& info : directory) {
        total += info.size;
        if (std::uint64_t(info.offset) + info.size > fileSize || total > fileSize) {
            QS_LOG_ERROR(
                FILE_NAME, "gw::details::RendererBase::ReadBinaryShaderInfo",
                "Binary shader file \"%s\": a stage of %u bytes at offset %u does not fit into its %llu bytes.",
                reader.GetName(), info.size, info.offset, static_cast<unsigned long long>(fileSize));
            return false;
        }
    }
    return true;
}

bool ReportShortFile(const qs::FileReader& reader)
{
    QS_LOG_ERROR(FILE_NAME, "gw::details::RendererBase::ReadBinaryShaderInfo",
                 "Binary shader file \"%s\" ends within its header, after %llu bytes.", reader.GetName(),
                 static_cast<unsigned long long>(reader.GetFileSize()));
    return false;
}

bool ReadEntries(qs::FileReader& reader, CompiledShaderDirectory& directory)
{
    constexpr char FUNCTION[] = "gw::details::RendererBase::ReadBinaryShaderInfo";
    std::uint8_t version;
    std::uint8_t count;
    if (!ReadValue(reader, version)) {
        return ReportShortFile(reader);
    }
    if (version != VERSION) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "Binary shader file version is older than code version. Please make code backwards "
                      "compatible...");
        return false;
    }
    if (!ReadValue(reader, count)) {
        return ReportShortFile(reader);
    }
    directory.Realloc(count);
    for (std::uint8_t i = 0; i < count; ++i) {
        std::uint8_t type;
        std::uint32_t offset;
        std::uint32_t size;
        if (!ReadValue(reader, type) || !ReadValue(reader, offset) || !ReadValue(reader, size)) {
            return ReportShortFile(reader);
        }
        if (!IsStage(type)) {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                          "Unknown shader type found in binary shader file. Failed to read shader from file.");
            return false;
        }
        directory.Add({EShaderType(type), offset, size});
    }
    return true;
}

bool ReadOlderEntries(qs::FileReader& reader, std::uint32_t vertexOffset, CompiledShaderDirectory& directory)
{
    std::uint32_t words[6] = {vertexOffset};
    if (reader.Read(words + 1, sizeof words - sizeof words[0]) != sizeof words - sizeof words[0]) {
        return ReportShortFile(reader);
    }
    for (int stage = 0; stage < 3; ++stage) {
        if (words[stage * 2 + 1] != 0) {
            directory.Add({EShaderType(eShaderType_Vertex + stage), words[stage * 2], words[stage * 2 + 1]});
        }
    }
    return !directory.IsEmpty();
}

struct BlockDeleter
{
    void operator()(char* block) const
    {
        qs::MemoryTrackerSample sample("\"shaderBuffer\"");
        qs::MemoryManager::Deallocate(block, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    }
};

// The stages of an open file, and the memory that they lie in.
struct BinaryStages
{
    std::unique_ptr<char, BlockDeleter> block;
    ShaderData vertex, geometry, fragment, compute;
};

bool ReadStages(qs::FileReader& reader, BinaryStages& stages, const char* function, const char* infoMessage,
                const char* shadersMessage)
{
    CompiledShaderDirectory directory;
    if (!Renderer::ReadBinaryShaderInfo(reader, directory)) {
        QS_LOG_ASSERT(FILE_NAME, function, "%s", infoMessage);
        return false;
    }
    std::uint64_t total = 0;
    for (const CompiledShaderInfo& info : directory) {
        total += info.size;
    }
    {
        qs::MemoryTrackerSample sample("\"shaderBuffer\"");
        stages.block.reset(
            static_cast<char*>(qs::MemoryManager::Allocate(total, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true)));
    }
    if (!stages.block || !Renderer::ReadBinaryShaders(reader, directory, stages.block.get(), stages.vertex,
                                                      stages.geometry, stages.fragment, stages.compute)) {
        QS_LOG_ASSERT(FILE_NAME, function, "%s", shadersMessage);
        return false;
    }
    return true;
}

} // namespace

namespace details {

bool RendererBase::ReadBinaryShaderInfo(qs::FileReader& reader, CompiledShaderDirectory& directory)
{
    if (!directory.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::details::RendererBase::ReadBinaryShaderInfo", "Object set should be empty here!");
        return false;
    }
    std::uint32_t word;
    if (!ReadValue(reader, word)) {
        return ReportShortFile(reader);
    }
    const bool isRead = word == MARKER ? ReadEntries(reader, directory) : ReadOlderEntries(reader, word, directory);
    if (!isRead || !CheckPlaces(reader, directory)) {
        directory.Clear();
        return false;
    }
    return true;
}

bool RendererBase::ReadBinaryShaders(qs::FileReader& reader, const CompiledShaderDirectory& directory,
                                     char* destination, ShaderData& vertex, ShaderData& geometry, ShaderData& fragment,
                                     ShaderData& compute)
{
    constexpr char FUNCTION[] = "gw::details::RendererBase::ReadBinaryShaders";
    ShaderData* stages[] = {&vertex, &geometry, &fragment, &compute};
    const auto fail = [&] {
        for (ShaderData* stage : stages) {
            *stage = {};
        }
        return false;
    };
    for (const CompiledShaderInfo& info : directory) {
        if (!IsStage(info.type)) {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Unknown shader type. Please update this function.");
            return fail();
        }
        reader.Seek(info.offset, qs::SEEK_FROM_START);
        if (reader.Read(destination, info.size) != info.size) {
            QS_LOG_ERROR(FILE_NAME, FUNCTION, "Binary shader file \"%s\" ends within a stage.", reader.GetName());
            return fail();
        }
        *stages[info.type - eShaderType_Vertex] = ShaderData(destination, info.size);
        destination += info.size;
    }
    return true;
}

qs::FileReader* RendererBase::GetFileReaderForShader(const qs::Path& path, bool&, qs::Path&)
{
    return new qs::FileReader(path, qs::FileReader::TYPE_SEQUENTIAL);
}

} // namespace details

qs::ObjectHandle Renderer::AddAndCreateBinaryShader(const qs::Path& path, ShaderDefine* defines)
{
    constexpr char FUNCTION[] = "gw::Renderer::AddAndCreateBinaryShader";
    constexpr char MESSAGE[] = "gw::Renderer::AddAndCreateBinaryShader failed! Failed to read binary shader info!";
    qs::FileReader reader(path, qs::FileReader::TYPE_SEQUENTIAL);
    if (!reader.IsLoaded()) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Couldn't load Shader: \"%s\"", path.ToChar());
        return qs::ObjectHandle::Unassigned;
    }
    BinaryStages stages;
    if (!ReadStages(reader, stages, FUNCTION, MESSAGE, MESSAGE)) {
        return qs::ObjectHandle::Unassigned;
    }
    const qs::ObjectHandle handle =
        AddShader(stages.vertex, stages.geometry, stages.fragment, stages.compute, qs::FixedString::Empty,
                  qs::FixedString::Empty, false, defines, nullptr, 0);
    CreateShader(handle);
    return handle;
}

qs::ObjectHandle Renderer::ReadBinaryShaderFileAndAdd(qs::FileReader& reader, const qs::FixedString& name,
                                                      const qs::FixedString& variant, ShaderDefine* defines)
{
    BinaryStages stages;
    if (!ReadStages(reader, stages, "gw::Renderer::ReadBinaryShaderFileAndAdd",
                    "gw::Renderer::ReadBinaryShaderFileAndAdd failed! Failed to read binary shader info!",
                    "gw::Renderer::ReadBinaryShaderFileAndAdd failed! Failed to read binary shaders!")) {
        return qs::ObjectHandle::Unassigned;
    }
    return AddShader(stages.vertex, stages.geometry, stages.fragment, stages.compute, name, variant, false, defines,
                     nullptr, 0);
}

} // namespace gw
