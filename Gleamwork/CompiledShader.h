// Shader stages as data: views on their text or bytecode, and bytecode that is owned.
#pragma once

#include "Gleamwork/Export.h"

#include <qs/Memory.h>
#include <qs/ObjectHandle.h>
#include <qs/Set.h>

#include <cstdint>

namespace gw {

enum EShaderType : std::uint8_t
{
    eShaderType_None = 0,
    eShaderType_Vertex = 1,
    eShaderType_Geometry = 2,
    eShaderType_Fragment = 3,
    eShaderType_Compute = 4,
};

/// A view on one stage's text or bytecode; owns nothing. A null pointer means that the stage is absent.
struct ShaderData
{
    ShaderData() = default;
    /// Keeps the low 32 bits of `bytes`.
    ShaderData(const char* start, std::uint64_t bytes) : data(start), size(std::uint32_t(bytes)) {}

    const char* data = nullptr;
    std::uint32_t size = 0;
};

/// One stage of a binary shader file.
struct CompiledShaderInfo
{
    CompiledShaderInfo() = default;
    CompiledShaderInfo(EShaderType shaderType, std::uint32_t fileOffset, std::uint32_t bytes)
        : type(shaderType), offset(fileOffset), size(bytes)
    {
    }
    friend bool operator==(const CompiledShaderInfo&, const CompiledShaderInfo&) = default;

    EShaderType type = eShaderType_None;
    std::uint32_t offset = 0; ///< bytes from the start of the file
    std::uint32_t size = 0;   ///< bytes
};

/// The stages of a binary shader file, in file order.
using CompiledShaderDirectory = qs::ObjectSet<CompiledShaderInfo, qs::DefaultComparator<CompiledShaderInfo>>;

/// One stage's bytecode. The destructor frees nothing: the holder calls `Destroy`.
class GW_API CompiledShader
{
public:
    QS_DECLARE_ALLOC(gw::CompiledShader)

    void* GetData() const { return data; }
    std::uint64_t GetSize() const { return size; }
    qs::ObjectHandle GetHandle() const { return handle; }
    std::uint16_t GetInstructionCount() const { return instructionCount; }

    /// Takes over a block allocated as `qs::AllocType` 5; what was held before is not freed.
    void SetData(void* block, const std::uint64_t& bytes)
    {
        data = block;
        size = bytes;
    }
    void SetHandle(qs::ObjectHandle value) { handle = value; }
    /// Frees the block and forgets it.
    void Destroy();

    void* data = nullptr;
    std::uint64_t size = 0;
    qs::ObjectHandle handle;
    std::uint16_t instructionCount = 0;
};

} // namespace gw
