// The info chunk of compiled shaders. Each record has one function that serves both directions, so that the two
// cannot drift apart.
#include <algorithm>

#include "shader/ByteCursor.h"
#include "shader/ShaderContainer.h"

namespace gleam {
namespace {

constexpr int MaxTypeDepth = 32;
constexpr std::uint32_t MaxBufferSize = 1u << 28;

/// One direction of the codec; `Exchange` writes or reads a field.
class InfoWriter
{
public:
    template <class T>
    void Field(const T& value)
    {
        m_out.Value(static_cast<std::uint32_t>(value));
    }
    void Field(const std::string& text) { m_out.Text(text); }

    template <class E>
    void Enum(const E& value, std::uint32_t)
    {
        Field(value);
    }

    template <class T, class F>
    void List(const std::vector<T>& list, std::size_t, F&& each)
    {
        m_out.Value(static_cast<std::uint32_t>(list.size()));
        for (const T& item : list)
            each(*this, const_cast<T&>(item));
    }

    void Bytes(const std::vector<std::uint8_t>& bytes)
    {
        m_out.Value(static_cast<std::uint32_t>(bytes.size()));
        m_out.Bytes(bytes.data(), bytes.size());
    }

    void Require(bool) {}
    std::vector<std::uint8_t>& Data() { return m_out.Data(); }

private:
    ByteWriter m_out;
};

class InfoReader
{
public:
    explicit InfoReader(std::span<const std::uint8_t> bytes) : m_in(bytes) {}

    template <class T>
    void Field(T& value)
    {
        const auto read = m_in.Value<std::uint32_t>();
        value = static_cast<T>(read);
        Require(static_cast<std::uint32_t>(value) == read);
    }
    void Field(std::string& text) { text = m_in.Text(); }

    template <class E>
    void Enum(E& value, std::uint32_t last)
    {
        value = m_in.Enum<E>(last);
    }

    template <class T, class F>
    void List(std::vector<T>& list, std::size_t smallest, F&& each)
    {
        const std::uint32_t count = m_in.Count(smallest);
        for (std::uint32_t i = 0; i < count && !m_in.Failed(); ++i)
            each(*this, list.emplace_back());
    }

    void Bytes(std::vector<std::uint8_t>& bytes)
    {
        const auto taken = m_in.Bytes(m_in.Value<std::uint32_t>());
        bytes.assign(taken.begin(), taken.end());
    }

    void Require(bool sound)
    {
        if (!sound)
            m_in.Fail();
    }

    bool Finished() const { return m_in.AtEnd(); }

private:
    ByteReader m_in;
};

template <class Codec>
void Exchange(Codec& codec, TypeInfo& type, int depth)
{
    codec.Enum(type.variableClass, D3D_SVC_STRUCT);
    codec.Enum(type.type, D3D_SVT_MIN16UINT);
    codec.Field(type.rows);
    codec.Field(type.columns);
    codec.Field(type.elements);
    codec.Field(type.offset);
    codec.Field(type.name);
    codec.Require(depth < MaxTypeDepth);
    codec.List(type.members, 36, [depth](Codec& inner, MemberInfo& member) {
        inner.Field(member.name);
        Exchange(inner, member.type, depth + 1);
    });
}

template <class Codec>
void Exchange(Codec& codec, BufferInfo& buffer)
{
    codec.Field(buffer.name);
    codec.Enum(buffer.type, D3D_CT_RESOURCE_BIND_INFO);
    codec.Field(buffer.size);
    codec.Require(buffer.size <= MaxBufferSize);
    codec.Field(buffer.flags);
    codec.List(buffer.variables, 52, [&buffer](Codec& inner, VariableInfo& variable) {
        inner.Field(variable.name);
        inner.Field(variable.offset);
        inner.Field(variable.size);
        inner.Require(std::uint64_t{variable.offset} + variable.size <= buffer.size);
        inner.Field(variable.flags);
        inner.Bytes(variable.defaultValue);
        inner.Require(variable.defaultValue.empty() || variable.defaultValue.size() == variable.size);
        Exchange(inner, variable.type, 0);
    });
}

bool SlotIsSound(const ShaderBinding& binding)
{
    constexpr std::uint32_t slots[] = {ConstantBufferSlots, ResourceSlots, SamplerSlots, UnorderedAccessSlots};
    constexpr std::uint32_t bases[] = {ConstantBufferBase, ResourceBase, SamplerBase, UnorderedAccessBase};
    const auto index = static_cast<std::size_t>(binding.bindingClass);
    return binding.count >= 1 && std::uint64_t{binding.slot} + binding.count <= slots[index] &&
           binding.binding == bases[index] + binding.slot;
}

template <class Codec>
void Exchange(Codec& codec, ResourceInfo& resource)
{
    ShaderBinding& binding = resource.binding;
    codec.Field(binding.name);
    codec.Enum(binding.bindingClass, static_cast<std::uint32_t>(EBindingClass::UnorderedAccess));
    codec.Enum(binding.kind, static_cast<std::uint32_t>(EBindingKind::RwByteAddressBuffer));
    codec.Enum(binding.dimension, D3D_SRV_DIMENSION_BUFFEREX);
    codec.Enum(binding.returnType, D3D_RETURN_TYPE_CONTINUED);
    codec.Field(binding.slot);
    codec.Field(binding.count);
    codec.Field(binding.binding);
    codec.Field(binding.size);
    codec.Field(binding.structureStride);
    codec.Require(SlotIsSound(binding) && binding.size <= MaxBufferSize);
    codec.Field(binding.hasCounter);
    codec.Field(binding.isWritten);
    codec.Field(binding.isRead);
    codec.Enum(resource.type, D3D_SIT_UAV_RWSTRUCTURED_WITH_COUNTER);
    codec.Field(resource.flags);
    codec.Field(resource.sampleCount);
}

template <class Codec>
void Exchange(Codec& codec, std::vector<SignatureElement>& signature)
{
    codec.List(signature, 44, [](Codec& inner, SignatureElement& element) {
        inner.Field(element.semantic);
        inner.Field(element.semanticIndex);
        inner.Field(element.registerIndex);
        inner.Field(element.location);
        inner.Enum(element.systemValue, D3D_NAME_DEPTH_LESS_EQUAL);
        inner.Enum(element.componentType, D3D_REGISTER_COMPONENT_FLOAT32);
        inner.Field(element.mask);
        inner.Field(element.readWriteMask);
        inner.Field(element.stream);
        inner.Field(element.isUsed);
        inner.Require(element.mask <= 15);
    });
}

template <class Codec>
void Exchange(Codec& codec, InstructionCounts& c)
{
    for (std::uint32_t* count :
         {&c.total,       &c.tempArrays,      &c.textureNormal, &c.textureLoad, &c.textureComparison,
          &c.textureBias, &c.textureGradient, &c.floats,        &c.ints,        &c.uints,
          &c.staticFlow,  &c.dynamicFlow,     &c.arrays,        &c.cuts,        &c.emits,
          &c.barriers,    &c.interlocked,     &c.textureStores, &c.moves,       &c.conditionalMoves,
          &c.conversions, &c.bitwise})
        codec.Field(*count);
}

template <class Codec>
void Exchange(Codec& codec, ShaderInfo& info)
{
    codec.Enum(info.stage, static_cast<std::uint32_t>(EShaderStage::Compute));
    codec.Field(info.version);
    codec.Field(info.flags);
    codec.List(info.buffers, 20, [](Codec& inner, BufferInfo& buffer) { Exchange(inner, buffer); });
    codec.List(info.resources, 64, [](Codec& inner, ResourceInfo& resource) { Exchange(inner, resource); });
    Exchange(codec, info.inputs);
    Exchange(codec, info.outputs);
    Exchange(codec, info.patchConstants);
    Exchange(codec, info.counts);
    for (std::uint32_t& size : info.threadGroup) {
        codec.Field(size);
        codec.Require(size <= 1024);
    }
    codec.Field(info.runsPerSample);
    codec.Enum(info.inputPrimitive, D3D_PRIMITIVE_32_CONTROL_POINT_PATCH);
    codec.Enum(info.outputTopology, D3D_PRIMITIVE_TOPOLOGY_32_CONTROL_POINT_PATCHLIST);
    codec.Field(info.maxOutputVertices);
    codec.Field(info.geometryInstances);
    codec.Field(info.controlPoints);
    codec.Enum(info.hullOutput, D3D_TESSELLATOR_OUTPUT_TRIANGLE_CCW);
    codec.Enum(info.hullPartitioning, D3D_TESSELLATOR_PARTITIONING_FRACTIONAL_EVEN);
    codec.Enum(info.tessellatorDomain, D3D_TESSELLATOR_DOMAIN_QUAD);
}

} // namespace

std::vector<std::uint8_t> WriteShaderInfo(const ShaderInfo& info)
{
    InfoWriter writer;
    Exchange(writer, const_cast<ShaderInfo&>(info));
    return std::move(writer.Data());
}

bool ReadShaderInfo(std::span<const std::uint8_t> bytes, ShaderInfo& info)
{
    InfoReader reader(bytes);
    ShaderInfo read;
    Exchange(reader, read);
    if (!reader.Finished())
        return false;
    info = std::move(read);
    return true;
}

} // namespace gleam
