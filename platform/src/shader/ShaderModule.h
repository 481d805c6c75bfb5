// A compiled shader as the device sees it: code, signatures and bindings, read from the bytes that D3DCompile made.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "d3d11shader.h"

namespace gleam {

/// Values are the ones of D3D11_SHADER_VERSION_TYPE.
enum class EShaderStage : std::uint8_t
{
    Pixel = 0,
    Vertex = 1,
    Geometry = 2,
    Hull = 3,
    Domain = 4,
    Compute = 5
};

/// Descriptor set of a stage's resources. Compute has a layout of its own, so its set 0 meets no other.
constexpr std::uint32_t DescriptorSetOf(EShaderStage stage)
{
    constexpr std::array<std::uint32_t, 6> sets = {1, 0, 2, 3, 4, 0};
    return sets[static_cast<std::size_t>(stage)];
}

/// Register class of a resource: b, t, s or u in the text.
enum class EBindingClass : std::uint8_t
{
    ConstantBuffer,
    Resource,
    Sampler,
    UnorderedAccess
};

/// What stands behind a binding, with the Vulkan descriptor type that the code declares for it.
enum class EBindingKind : std::uint8_t
{
    ConstantBuffer,      ///< uniform buffer
    TextureBuffer,       ///< storage buffer, read only: a tbuffer
    Texture,             ///< sampled image
    TypedBuffer,         ///< uniform texel buffer
    StructuredBuffer,    ///< storage buffer, read only
    ByteAddressBuffer,   ///< storage buffer, read only
    Sampler,             ///< sampler
    ComparisonSampler,   ///< sampler with a comparison
    RwTexture,           ///< storage image
    RwTypedBuffer,       ///< storage texel buffer
    RwStructuredBuffer,  ///< storage buffer
    RwByteAddressBuffer, ///< storage buffer
};

/// Slots of each class and where the class starts among a set's binding numbers.
constexpr std::uint32_t ConstantBufferSlots = 14, ConstantBufferBase = 0;
constexpr std::uint32_t ResourceSlots = 128, ResourceBase = 16;
constexpr std::uint32_t SamplerSlots = 16, SamplerBase = 144;
constexpr std::uint32_t UnorderedAccessSlots = 64, UnorderedAccessBase = 160;
/// The hidden counter of the structured buffer at uN is a storage buffer of one 32-bit word at CounterBase + N.
constexpr std::uint32_t CounterBase = 224;

/// One resource that the optimised code uses. An array of resources is one binding with `count` descriptors: the
/// descriptor at index i serves slot + i.
struct ShaderBinding
{
    std::string name;
    EBindingClass bindingClass = EBindingClass::ConstantBuffer;
    EBindingKind kind = EBindingKind::ConstantBuffer;
    D3D_SRV_DIMENSION dimension = D3D_SRV_DIMENSION_UNKNOWN; ///< UNKNOWN for constant buffers and samplers
    D3D_RESOURCE_RETURN_TYPE returnType{};                   ///< of textures and typed buffers, read or written
    std::uint32_t slot = 0;
    std::uint32_t count = 1;
    std::uint32_t binding = 0;         ///< number in the stage's descriptor set
    std::uint32_t size = 0;            ///< constant buffers: bytes, a multiple of 16
    std::uint32_t structureStride = 0; ///< structured buffers: bytes from element to element
    bool hasCounter = false;           ///< the code also declares CounterBase + slot
    bool isWritten = false;            ///< unordered access that the code stores to
    bool isRead = false;               ///< unordered access that the code loads from; all others
};

/// One row of a signature. Arrays and matrices are split into rows with ascending indices and locations.
/// Semantic names compare without regard to case.
struct SignatureElement
{
    std::string semantic;
    std::uint32_t semanticIndex = 0;
    std::uint32_t registerIndex = 0;           ///< as reflection reports it; not used by the code
    std::uint32_t location = NoLocation;       ///< in the module, NoLocation for built-in values
    D3D_NAME systemValue = D3D_NAME_UNDEFINED; ///< vertex inputs, pixel inputs and outputs; TARGET has a location
    D3D_REGISTER_COMPONENT_TYPE componentType = D3D_REGISTER_COMPONENT_UNKNOWN;
    std::uint8_t mask = 0; ///< components in the register, bit 0 is x
    std::uint8_t readWriteMask = 0;
    std::uint8_t stream = 0;
    bool isUsed = false; ///< the optimised module still declares it

    static constexpr std::uint32_t NoLocation = 0xffffffff;
};

/// A checked compiled shader. `spirv` has passed the SPIR-V validator for Vulkan 1.3 with scalar block layout; it
/// needs the device features scalarBlockLayout and shaderDrawParameters, and by what it
/// declares sampleRateShading, shaderClipDistance, shaderCullDistance, shaderStorageImageWriteWithoutFormat,
/// geometryShader, tessellationShader. The entry point is called "main".
struct ShaderModule
{
    EShaderStage stage = EShaderStage::Vertex;
    std::vector<std::uint32_t> spirv;
    std::uint64_t hash = 0; ///< of `spirv`
    std::vector<SignatureElement> inputs;
    std::vector<SignatureElement> outputs;
    std::vector<ShaderBinding> bindings;
    std::array<std::uint32_t, 3> threadGroup = {0, 0, 0}; ///< compute only
    std::uint32_t instructionCount = 0;
    bool runsPerSample = false; ///< pixel stage that reads the sample index or interpolates per sample
};

/// Reads and checks the bytes of a compiled shader. Returns S_OK; E_INVALIDARG when they are no compiled shader of
/// this version, are cut short or damaged, or hold a module that does not pass the checks; E_OUTOFMEMORY.
/// `module` is untouched on failure. Callable from any thread.
HRESULT ParseShader(const void* bytes, std::size_t size, ShaderModule& module);

/// Rewrites a pixel module so that its inputs sit at the locations where `previous` (the last stage before it)
/// writes the same semantic. An input that nobody writes, and components beyond those written, read zero.
/// Gives false, with `patched` untouched, when either module is of the wrong stage. Callable from any thread.
bool LinkPixelStage(const ShaderModule& previous, const ShaderModule& pixel, std::vector<std::uint32_t>& patched);

} // namespace gleam
