// D3DReflect: the stored reflection block behind the published interfaces.
#include <cstring>
#include <deque>
#include <new>

#include "common/ComBase.h"
#include "common/DebugOutput.h"
#include "d3dcompiler.h"
#include "shader/ShaderContainer.h"

namespace gleam {
namespace {

constexpr char Creator[] = "Gleamwork Shader Compiler";

bool SameShape(const TypeInfo& a, const TypeInfo& b)
{
    if (a.variableClass != b.variableClass || a.type != b.type || a.rows != b.rows || a.columns != b.columns ||
        a.elements != b.elements || a.name != b.name || a.members.size() != b.members.size())
        return false;
    for (std::size_t i = 0; i < a.members.size(); ++i)
        if (a.members[i].name != b.members[i].name || !SameShape(a.members[i].type, b.members[i].type))
            return false;
    return true;
}

/// What calls with an index or name that is not there give; one set for the process, as it holds nothing.
ID3D11ShaderReflectionType* NoType();
ID3D11ShaderReflectionVariable* NoVariable();
ID3D11ShaderReflectionConstantBuffer* NoBuffer();

class ReflectionType final : public ID3D11ShaderReflectionType
{
public:
    /// `info` is null for the empty type.
    explicit ReflectionType(const TypeInfo* info) : m_info(info)
    {
        if (info)
            for (const MemberInfo& member : info->members)
                m_members.emplace_back(&member.type);
    }

    HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_TYPE_DESC* desc) override
    {
        if (!m_info || !desc)
            return m_info ? E_INVALIDARG : E_FAIL;
        *desc = {};
        desc->Class = m_info->variableClass;
        desc->Type = m_info->type;
        desc->Rows = m_info->rows;
        desc->Columns = m_info->columns;
        desc->Elements = m_info->elements;
        desc->Members = static_cast<UINT>(m_info->members.size());
        desc->Offset = m_info->offset;
        desc->Name = m_info->name.c_str();
        return S_OK;
    }

    ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetMemberTypeByIndex(UINT index) override
    {
        return index < m_members.size() ? &m_members[index] : NoType();
    }

    ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetMemberTypeByName(LPCSTR name) override
    {
        for (std::size_t i = 0; name && i < m_members.size(); ++i)
            if (m_info->members[i].name == name)
                return &m_members[i];
        return NoType();
    }

    LPCSTR STDMETHODCALLTYPE GetMemberTypeName(UINT index) override
    {
        return index < m_members.size() ? m_info->members[index].name.c_str() : nullptr;
    }

    HRESULT STDMETHODCALLTYPE IsEqual(ID3D11ShaderReflectionType* type) override
    {
        // Every object behind the interface is of this class.
        const TypeInfo* other = type ? static_cast<ReflectionType*>(type)->m_info : nullptr;
        if (!m_info || !other)
            return E_FAIL;
        return SameShape(*m_info, *other) ? S_OK : S_FALSE;
    }

    ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetSubType() override { return NoType(); }
    ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetBaseClass() override { return NoType(); }
    UINT STDMETHODCALLTYPE GetNumInterfaces() override { return 0; }
    ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetInterfaceByIndex(UINT) override { return NoType(); }
    HRESULT STDMETHODCALLTYPE IsOfType(ID3D11ShaderReflectionType* type) override { return IsEqual(type); }
    HRESULT STDMETHODCALLTYPE ImplementsInterface(ID3D11ShaderReflectionType*) override
    {
        return m_info ? S_FALSE : E_FAIL;
    }

private:
    const TypeInfo* m_info;
    std::deque<ReflectionType> m_members;
};

class ReflectionVariable final : public ID3D11ShaderReflectionVariable
{
public:
    ReflectionVariable(const VariableInfo* info, ID3D11ShaderReflectionConstantBuffer* buffer)
        : m_info(info), m_buffer(buffer), m_type(info ? &info->type : nullptr)
    {
    }

    const VariableInfo* Info() const { return m_info; }

    HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_VARIABLE_DESC* desc) override
    {
        if (!m_info || !desc)
            return m_info ? E_INVALIDARG : E_FAIL;
        *desc = {};
        desc->Name = m_info->name.c_str();
        desc->StartOffset = m_info->offset;
        desc->Size = m_info->size;
        desc->uFlags = m_info->flags;
        if (!m_info->defaultValue.empty())
            desc->DefaultValue = const_cast<std::uint8_t*>(m_info->defaultValue.data());
        desc->StartTexture = 0xffffffff;
        desc->StartSampler = 0xffffffff;
        return S_OK;
    }

    ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetType() override { return &m_type; }
    ID3D11ShaderReflectionConstantBuffer* STDMETHODCALLTYPE GetBuffer() override
    {
        return m_buffer ? m_buffer : NoBuffer();
    }
    UINT STDMETHODCALLTYPE GetInterfaceSlot(UINT) override { return 0xffffffff; }

private:
    const VariableInfo* m_info;
    ID3D11ShaderReflectionConstantBuffer* m_buffer;
    ReflectionType m_type;
};

class ReflectionBuffer final : public ID3D11ShaderReflectionConstantBuffer
{
public:
    explicit ReflectionBuffer(const BufferInfo* info) : m_info(info)
    {
        if (info)
            for (const VariableInfo& variable : info->variables)
                m_variables.emplace_back(&variable, this);
    }
    ReflectionBuffer(const ReflectionBuffer&) = delete;
    ReflectionBuffer& operator=(const ReflectionBuffer&) = delete;

    const BufferInfo* Info() const { return m_info; }

    HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_BUFFER_DESC* desc) override
    {
        if (!m_info || !desc)
            return m_info ? E_INVALIDARG : E_FAIL;
        *desc = {};
        desc->Name = m_info->name.c_str();
        desc->Type = m_info->type;
        desc->Variables = static_cast<UINT>(m_info->variables.size());
        desc->Size = m_info->size;
        desc->uFlags = m_info->flags;
        return S_OK;
    }

    ID3D11ShaderReflectionVariable* STDMETHODCALLTYPE GetVariableByIndex(UINT index) override
    {
        return index < m_variables.size() ? &m_variables[index] : NoVariable();
    }

    ID3D11ShaderReflectionVariable* STDMETHODCALLTYPE GetVariableByName(LPCSTR name) override
    {
        ReflectionVariable* found = Find(name);
        return found ? found : NoVariable();
    }

    ReflectionVariable* Find(LPCSTR name)
    {
        for (ReflectionVariable& variable : m_variables)
            if (name && variable.Info()->name == name)
                return &variable;
        return nullptr;
    }

private:
    const BufferInfo* m_info;
    std::deque<ReflectionVariable> m_variables;
};

ID3D11ShaderReflectionType* NoType()
{
    static ReflectionType s_none(nullptr);
    return &s_none;
}

ID3D11ShaderReflectionVariable* NoVariable()
{
    static ReflectionVariable s_none(nullptr, nullptr);
    return &s_none;
}

ID3D11ShaderReflectionConstantBuffer* NoBuffer()
{
    static ReflectionBuffer s_none(nullptr);
    return &s_none;
}

class ShaderReflection final : public ComObject<ID3D11ShaderReflection, IID_ID3D11ShaderReflection>
{
public:
    explicit ShaderReflection(ShaderInfo info) : m_info(std::move(info))
    {
        for (const BufferInfo& buffer : m_info.buffers)
            m_buffers.emplace_back(&buffer);
    }

    HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_DESC* desc) override;

    ID3D11ShaderReflectionConstantBuffer* STDMETHODCALLTYPE GetConstantBufferByIndex(UINT index) override
    {
        return index < m_buffers.size() ? &m_buffers[index] : NoBuffer();
    }

    ID3D11ShaderReflectionConstantBuffer* STDMETHODCALLTYPE GetConstantBufferByName(LPCSTR name) override
    {
        for (ReflectionBuffer& buffer : m_buffers)
            if (name && buffer.Info()->name == name)
                return &buffer;
        return NoBuffer();
    }

    HRESULT STDMETHODCALLTYPE GetResourceBindingDesc(UINT index, D3D11_SHADER_INPUT_BIND_DESC* desc) override
    {
        return index < m_info.resources.size() ? Describe(m_info.resources[index], desc) : E_INVALIDARG;
    }

    HRESULT STDMETHODCALLTYPE GetResourceBindingDescByName(LPCSTR name, D3D11_SHADER_INPUT_BIND_DESC* desc) override
    {
        for (const ResourceInfo& resource : m_info.resources)
            if (name && resource.binding.name == name)
                return Describe(resource, desc);
        return E_INVALIDARG;
    }

    HRESULT STDMETHODCALLTYPE GetInputParameterDesc(UINT index, D3D11_SIGNATURE_PARAMETER_DESC* desc) override
    {
        return Describe(m_info.inputs, index, desc);
    }

    HRESULT STDMETHODCALLTYPE GetOutputParameterDesc(UINT index, D3D11_SIGNATURE_PARAMETER_DESC* desc) override
    {
        return Describe(m_info.outputs, index, desc);
    }

    HRESULT STDMETHODCALLTYPE GetPatchConstantParameterDesc(UINT index, D3D11_SIGNATURE_PARAMETER_DESC* desc) override
    {
        return Describe(m_info.patchConstants, index, desc);
    }

    ID3D11ShaderReflectionVariable* STDMETHODCALLTYPE GetVariableByName(LPCSTR name) override
    {
        for (ReflectionBuffer& buffer : m_buffers)
            if (ReflectionVariable* found = buffer.Find(name))
                return found;
        return NoVariable();
    }

    UINT STDMETHODCALLTYPE GetMovInstructionCount() override { return m_info.counts.moves; }
    UINT STDMETHODCALLTYPE GetMovcInstructionCount() override { return m_info.counts.conditionalMoves; }
    UINT STDMETHODCALLTYPE GetConversionInstructionCount() override { return m_info.counts.conversions; }
    UINT STDMETHODCALLTYPE GetBitwiseInstructionCount() override { return m_info.counts.bitwise; }
    D3D_PRIMITIVE STDMETHODCALLTYPE GetGSInputPrimitive() override { return m_info.inputPrimitive; }
    BOOL STDMETHODCALLTYPE IsSampleFrequencyShader() override { return m_info.runsPerSample; }
    UINT STDMETHODCALLTYPE GetNumInterfaceSlots() override { return 0; }

    HRESULT STDMETHODCALLTYPE GetMinFeatureLevel(D3D_FEATURE_LEVEL* level) override
    {
        if (!level)
            return E_INVALIDARG;
        const UINT major = D3D11_SHVER_GET_MAJOR(m_info.version);
        const UINT minor = D3D11_SHVER_GET_MINOR(m_info.version);
        *level = major >= 5 ? D3D_FEATURE_LEVEL_11_0 : minor == 1 ? D3D_FEATURE_LEVEL_10_1 : D3D_FEATURE_LEVEL_10_0;
        return S_OK;
    }

    UINT STDMETHODCALLTYPE GetThreadGroupSize(UINT* x, UINT* y, UINT* z) override
    {
        UINT* const places[] = {x, y, z};
        for (int i = 0; i < 3; ++i)
            if (places[i])
                *places[i] = m_info.threadGroup[i];
        return m_info.threadGroup[0] * m_info.threadGroup[1] * m_info.threadGroup[2];
    }

    UINT64 STDMETHODCALLTYPE GetRequiresFlags() override { return 0; }

private:
    ~ShaderReflection() override = default;

    static HRESULT Describe(const ResourceInfo& resource, D3D11_SHADER_INPUT_BIND_DESC* desc)
    {
        if (!desc)
            return E_INVALIDARG;
        *desc = {};
        desc->Name = resource.binding.name.c_str();
        desc->Type = resource.type;
        desc->BindPoint = resource.binding.slot;
        desc->BindCount = resource.binding.count;
        desc->uFlags = resource.flags;
        desc->ReturnType = resource.binding.returnType;
        desc->Dimension = resource.binding.dimension;
        desc->NumSamples = resource.sampleCount;
        return S_OK;
    }

    static HRESULT Describe(const std::vector<SignatureElement>& signature, UINT index,
                            D3D11_SIGNATURE_PARAMETER_DESC* desc)
    {
        if (index >= signature.size() || !desc)
            return E_INVALIDARG;
        const SignatureElement& element = signature[index];
        *desc = {};
        desc->SemanticName = element.semantic.c_str();
        desc->SemanticIndex = element.semanticIndex;
        desc->Register = element.registerIndex;
        desc->SystemValueType = element.systemValue;
        desc->ComponentType = element.componentType;
        desc->Mask = element.mask;
        desc->ReadWriteMask = element.readWriteMask;
        desc->Stream = element.stream;
        return S_OK;
    }

    const ShaderInfo m_info;
    std::deque<ReflectionBuffer> m_buffers;
};

void DescribeCounts(const InstructionCounts& counts, D3D11_SHADER_DESC& desc)
{
    desc.InstructionCount = counts.total;
    desc.TempArrayCount = counts.tempArrays;
    desc.TextureNormalInstructions = counts.textureNormal;
    desc.TextureLoadInstructions = counts.textureLoad;
    desc.TextureCompInstructions = counts.textureComparison;
    desc.TextureBiasInstructions = counts.textureBias;
    desc.TextureGradientInstructions = counts.textureGradient;
    desc.FloatInstructionCount = counts.floats;
    desc.IntInstructionCount = counts.ints;
    desc.UintInstructionCount = counts.uints;
    desc.StaticFlowControlCount = counts.staticFlow;
    desc.DynamicFlowControlCount = counts.dynamicFlow;
    desc.ArrayInstructionCount = counts.arrays;
    desc.CutInstructionCount = counts.cuts;
    desc.EmitInstructionCount = counts.emits;
    desc.cBarrierInstructions = counts.barriers;
    desc.cInterlockedInstructions = counts.interlocked;
    desc.cTextureStoreInstructions = counts.textureStores;
}

HRESULT ShaderReflection::GetDesc(D3D11_SHADER_DESC* desc)
{
    if (!desc)
        return E_INVALIDARG;
    *desc = {};
    desc->Version = m_info.version;
    desc->Creator = Creator;
    desc->Flags = m_info.flags;
    desc->ConstantBuffers = static_cast<UINT>(m_info.buffers.size());
    desc->BoundResources = static_cast<UINT>(m_info.resources.size());
    desc->InputParameters = static_cast<UINT>(m_info.inputs.size());
    desc->OutputParameters = static_cast<UINT>(m_info.outputs.size());
    desc->PatchConstantParameters = static_cast<UINT>(m_info.patchConstants.size());
    DescribeCounts(m_info.counts, *desc);
    desc->GSOutputTopology = m_info.outputTopology;
    desc->GSMaxOutputVertexCount = m_info.maxOutputVertices;
    desc->InputPrimitive = m_info.inputPrimitive;
    desc->cGSInstanceCount = m_info.geometryInstances;
    desc->cControlPoints = m_info.controlPoints;
    desc->HSOutputPrimitive = m_info.hullOutput;
    desc->HSPartitioning = m_info.hullPartitioning;
    desc->TessellatorDomain = m_info.tessellatorDomain;
    return S_OK;
}

HRESULT Reflect(std::span<const std::uint8_t> code, void** reflector)
{
    ContainerView view;
    ShaderInfo info;
    if (!OpenContainer(code, view) || !ReadShaderInfo(view.info, info)) {
        DebugLine("D3DReflect: the %zu bytes are not a compiled shader of this version, or are damaged", code.size());
        return E_FAIL;
    }
    *reflector = static_cast<ID3D11ShaderReflection*>(new ShaderReflection(std::move(info)));
    return S_OK;
}

} // namespace
} // namespace gleam

HRESULT WINAPI D3DReflect(LPCVOID code, SIZE_T codeSize, REFIID riid, void** reflector)
{
    if (!reflector)
        return E_INVALIDARG;
    *reflector = nullptr;
    if (!code)
        return E_INVALIDARG;
    if (riid != IID_ID3D11ShaderReflection && riid != IID_IUnknown)
        return E_NOINTERFACE;
    try {
        return gleam::Reflect({static_cast<const std::uint8_t*>(code), codeSize}, reflector);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}
