// Splitting of text shaders, and the two ways on from there: a shader object, or a binary shader file.
#include "Gleamwork/TextShader.h"

#include "Gleamwork/Renderer.h"
#include "Gleamwork/ShaderTextFile.h"

#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <qs/Path.h>

#include <cstring>
#include <initializer_list>

namespace gw {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/TextShader";

struct Stage
{
    const char* marker;
    EShaderType type;
    ShaderData* section;
};

const char** AllocateTexts(std::int32_t count, const char* scope)
{
    qs::MemoryTrackerSample sample(scope);
    const std::size_t bytes = sizeof(const char*) * static_cast<std::size_t>(count);
    void* memory = qs::MemoryManager::Allocate(bytes, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true);
    return memory ? static_cast<const char**>(std::memset(memory, 0, bytes)) : nullptr;
}

/// Writes plain values one after the other and remembers whether all arrived.
class BinaryWriter
{
public:
    explicit BinaryWriter(const qs::Path& path) : m_file(path, qs::FileWriter::EType(0), 0) {}

    void Write(const void* data, std::uint64_t size) { m_ok = m_ok && m_file.Write(data, size) == size; }
    template <class Value>
    void Put(Value value)
    {
        Write(&value, sizeof value);
    }
    bool IsOk() const { return m_ok; }

private:
    qs::FileWriter m_file;
    bool m_ok = true;
};

} // namespace

ShaderDefine::ShaderDefine(std::int32_t definitionCount)
    : count(definitionCount > 0 ? definitionCount : 0), names(AllocateTexts(count, "ShaderDefine::name")),
      definitions(AllocateTexts(count, "ShaderDefine::definition"))
{
}

ShaderDefine::~ShaderDefine()
{
    qs::MemoryManager::Deallocate(names, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    qs::MemoryManager::Deallocate(definitions, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
}

void SplitShaderText(const char* text, std::uint64_t size, ShaderData& vertex, ShaderData& geometry,
                     ShaderData& fragment, ShaderData& compute)
{
    const Stage stages[] = {{"[Vertex shader]", eShaderType_Vertex, &vertex},
                            {"[Geometry shader]", eShaderType_Geometry, &geometry},
                            {"[Fragment shader]", eShaderType_Fragment, &fragment},
                            {"[Compute shader]", eShaderType_Compute, &compute}};
    const char* markers[4];
    for (int i = 0; i < 4; ++i) {
        markers[i] = std::strstr(text, stages[i].marker);
    }
    for (int i = 0; i < 4; ++i) {
        if (!markers[i]) {
            continue;
        }
        const char* start = markers[i] + std::strlen(stages[i].marker);
        start += std::strspn(start, "\r\n");
        const char* end = text + size;
        for (const char* other : markers) {
            if (other && other >= start && other < end) {
                end = other;
            }
        }
        *stages[i].section = ShaderData(start, end > start ? static_cast<std::uint64_t>(end - start) : 0);
    }
}

bool CreateCompiledShaderFile(const qs::Path& path, CompiledShader& vertex, CompiledShader& geometry,
                              CompiledShader& fragment, CompiledShader& compute)
{
    constexpr std::uint32_t marker = 0xffffffffu;
    constexpr std::uint8_t version = 1;
    constexpr std::uint32_t headerSize = 6, entrySize = 9;
    struct Entry
    {
        EShaderType type;
        CompiledShader* shader;
    };
    const Entry entries[] = {{eShaderType_Vertex, &vertex},
                             {eShaderType_Geometry, &geometry},
                             {eShaderType_Fragment, &fragment},
                             {eShaderType_Compute, &compute}};
    bool isWritten = false;
    {
        BinaryWriter file(path);
        std::uint8_t numShaders = 0;
        for (const Entry& entry : entries) {
            numShaders += entry.shader->data ? 1 : 0;
        }
        if (numShaders == 255) {
            QS_LOG_ASSERT(FILE_NAME, "gw::CreateCompiledShaderFile", "numShaders will overflow!");
        }
        file.Put(marker);
        file.Put(version);
        file.Put(numShaders);
        std::uint32_t offset = entrySize * numShaders + headerSize;
        for (const Entry& entry : entries) {
            if (entry.shader->data) {
                file.Put(entry.type);
                file.Put(offset);
                file.Put(static_cast<std::uint32_t>(entry.shader->size));
                offset += static_cast<std::uint32_t>(entry.shader->size);
            }
        }
        for (const Entry& entry : entries) {
            if (entry.shader->data) {
                file.Write(entry.shader->data, entry.shader->size);
            }
        }
        isWritten = file.IsOk();
    }
    for (const Entry& entry : entries) {
        entry.shader->Destroy();
    }
    if (!isWritten) {
        QS_LOG_ERROR(FILE_NAME, "gw::CreateCompiledShaderFile", "Couldn't write shader file: \"%s\"", path.ToChar());
    }
    return isWritten;
}

void CompiledShader::Destroy()
{
    qs::MemoryTrackerSample sample("\"CompiledShader\"");
    qs::MemoryManager::Deallocate(data, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    data = nullptr;
}

qs::ObjectHandle Renderer::AddAndCreateTextShader(const qs::Path& path, ShaderDefine* defines)
{
    qs::FileReader reader(path, qs::FileReader::EType(0));
    if (!reader.IsLoaded()) {
        QS_LOG_ERROR(FILE_NAME, "gw::Renderer::AddAndCreateTextShader", "Couldn't load Shader: \"%s\"", path.ToChar());
        return qs::ObjectHandle::Unassigned;
    }
    const TextFile text(reader, "\"shaderBuffer\"");
    ShaderData vertex, geometry, fragment, compute;
    SplitShaderText(text.GetText(), text.GetSize(), vertex, geometry, fragment, compute);
    const qs::ObjectHandle handle = AddShader(vertex, geometry, fragment, compute, qs::FixedString::Empty,
                                              qs::FixedString::Empty, true, defines, nullptr, 0);
    CreateShader(handle);
    return handle;
}

namespace details {

bool RendererBase::createBinaryShaderFromText(const qs::Path& textPath, const qs::Path& binaryPath)
{
    constexpr char FUNCTION[] = "gw::details::RendererBase::createBinaryShaderFromText";
    qs::FileReader reader(textPath, qs::FileReader::EType(0));
    if (!reader.IsLoaded()) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Couldn't load text shader: \"%s\"", textPath.ToChar());
        return false;
    }
    const TextFile text(reader, "\"textShader\"");
    ShaderData vertex, geometry, fragment, compute;
    SplitShaderText(text.GetText(), text.GetSize(), vertex, geometry, fragment, compute);

    CompiledShader compiled[4];
    const ShaderData* sections[4] = {&vertex, &geometry, &fragment, &compute};
    bool hasStage = false, hasFailed = false;
    for (int i = 0; i < 4; ++i) {
        if (sections[i]->data) {
            hasStage = true;
            const auto type = static_cast<EShaderType>(i + 1);
            hasFailed |= !api::D3D11Renderer::CompileShader(*sections[i], type, compiled[i], nullptr);
        }
    }
    if (hasStage && !hasFailed) {
        return CreateCompiledShaderFile(binaryPath, compiled[0], compiled[1], compiled[2], compiled[3]);
    }
    for (CompiledShader& stage : compiled) {
        stage.Destroy();
    }
    QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Failed to compile text shader: \"%s\"", textPath.ToChar());
    return false;
}

} // namespace details
} // namespace gw
