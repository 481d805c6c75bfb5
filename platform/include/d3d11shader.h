// What a compiled shader tells about itself: constant buffers and their variables, bound resources, signatures and
// counts. D3DReflect of d3dcompiler.h makes the root object. Names, values and signatures are the published ones.
//
// All interfaces below the root belong to it and end with it; every text and pointer handed out lives as long.
// Reflection objects never change after their making, so any number of threads may read one at once.
// An index or name that is not there gives an empty object whose GetDesc returns E_FAIL, never a null pointer.
#pragma once

#include "d3dcommon.h"

typedef D3D_CBUFFER_TYPE D3D11_CBUFFER_TYPE;
typedef D3D_RESOURCE_RETURN_TYPE D3D11_RESOURCE_RETURN_TYPE;
typedef D3D_TESSELLATOR_DOMAIN D3D11_TESSELLATOR_DOMAIN;
typedef D3D_TESSELLATOR_PARTITIONING D3D11_TESSELLATOR_PARTITIONING;
typedef D3D_TESSELLATOR_OUTPUT_PRIMITIVE D3D11_TESSELLATOR_OUTPUT_PRIMITIVE;

/// Stage of a shader, in the upper half of D3D11_SHADER_DESC::Version.
typedef enum D3D11_SHADER_VERSION_TYPE
{
    D3D11_SHVER_PIXEL_SHADER = 0,
    D3D11_SHVER_VERTEX_SHADER = 1,
    D3D11_SHVER_GEOMETRY_SHADER = 2,
    D3D11_SHVER_HULL_SHADER = 3,
    D3D11_SHVER_DOMAIN_SHADER = 4,
    D3D11_SHVER_COMPUTE_SHADER = 5,
    D3D11_SHVER_RESERVED0 = 0xfff0,
} D3D11_SHADER_VERSION_TYPE;

#define D3D11_SHVER_GET_TYPE(version) (((version) >> 16) & 0xffff)
#define D3D11_SHVER_GET_MAJOR(version) (((version) >> 4) & 0xf)
#define D3D11_SHVER_GET_MINOR(version) (((version) >> 0) & 0xf)

/// The counts of instructions come from the optimised module that this library generates, one for each operation of
/// its functions that computes, reads, writes or branches; they compare shaders with each other, not with counts of
/// other code generators. TempRegisterCount, DefCount, DclCount and MacroInstructionCount are 0.
typedef struct _D3D11_SHADER_DESC
{
    UINT Version; ///< stage << 16 | major << 4 | minor, as in the target profile
    LPCSTR Creator;
    UINT Flags; ///< first flags word of the compilation
    UINT ConstantBuffers;
    UINT BoundResources;
    UINT InputParameters;
    UINT OutputParameters;
    UINT InstructionCount;
    UINT TempRegisterCount;
    UINT TempArrayCount;
    UINT DefCount;
    UINT DclCount;
    UINT TextureNormalInstructions;
    UINT TextureLoadInstructions;
    UINT TextureCompInstructions;
    UINT TextureBiasInstructions;
    UINT TextureGradientInstructions;
    UINT FloatInstructionCount;
    UINT IntInstructionCount;
    UINT UintInstructionCount;
    UINT StaticFlowControlCount;
    UINT DynamicFlowControlCount;
    UINT MacroInstructionCount;
    UINT ArrayInstructionCount;
    UINT CutInstructionCount;
    UINT EmitInstructionCount;
    D3D_PRIMITIVE_TOPOLOGY GSOutputTopology;
    UINT GSMaxOutputVertexCount;
    D3D_PRIMITIVE InputPrimitive;
    UINT PatchConstantParameters;
    UINT cGSInstanceCount;
    UINT cControlPoints;
    D3D_TESSELLATOR_OUTPUT_PRIMITIVE HSOutputPrimitive;
    D3D_TESSELLATOR_PARTITIONING HSPartitioning;
    D3D_TESSELLATOR_DOMAIN TessellatorDomain;
    UINT cBarrierInstructions;
    UINT cInterlockedInstructions;
    UINT cTextureStoreInstructions;
} D3D11_SHADER_DESC;

/// Offsets and sizes are in bytes. StartTexture and StartSampler are 0xffffffff: a variable holds no resource here.
typedef struct _D3D11_SHADER_VARIABLE_DESC
{
    LPCSTR Name;
    UINT StartOffset;
    UINT Size;           ///< without what pads the last register
    UINT uFlags;         ///< D3D_SHADER_VARIABLE_FLAGS
    LPVOID DefaultValue; ///< Size bytes, laid out as in the buffer, or null
    UINT StartTexture;
    UINT TextureSize;
    UINT StartSampler;
    UINT SamplerSize;
} D3D11_SHADER_VARIABLE_DESC;

typedef struct _D3D11_SHADER_TYPE_DESC
{
    D3D_SHADER_VARIABLE_CLASS Class;
    D3D_SHADER_VARIABLE_TYPE Type;
    UINT Rows;
    UINT Columns;
    UINT Elements; ///< of an array, else 0; dimensions of an array of arrays are multiplied
    UINT Members;  ///< of a structure, else 0
    UINT Offset;   ///< in bytes from the start of the enclosing structure
    LPCSTR Name;   ///< of the type
} D3D11_SHADER_TYPE_DESC;

typedef struct _D3D11_SHADER_BUFFER_DESC
{
    LPCSTR Name;
    D3D_CBUFFER_TYPE Type;
    UINT Variables;
    UINT Size;   ///< in bytes; a multiple of 16 but for the element of a structured buffer
    UINT uFlags; ///< D3D_SHADER_CBUFFER_FLAGS
} D3D11_SHADER_BUFFER_DESC;

typedef struct _D3D11_SHADER_INPUT_BIND_DESC
{
    LPCSTR Name;
    D3D_SHADER_INPUT_TYPE Type;
    UINT BindPoint;
    UINT BindCount;
    UINT uFlags; ///< D3D_SHADER_INPUT_FLAGS
    D3D_RESOURCE_RETURN_TYPE ReturnType;
    D3D_SRV_DIMENSION Dimension;
    UINT NumSamples; ///< stride of a structured buffer; 0 for buffers and samplers; 0xffffffff when not told
} D3D11_SHADER_INPUT_BIND_DESC;

typedef struct _D3D11_SIGNATURE_PARAMETER_DESC
{
    LPCSTR SemanticName; ///< as the text spells it, without its index
    UINT SemanticIndex;
    UINT Register; ///< 0xffffffff for values without a register, such as the depth output
    D3D_NAME SystemValueType;
    D3D_REGISTER_COMPONENT_TYPE ComponentType;
    BYTE Mask;
    BYTE ReadWriteMask; ///< inputs: components read; outputs: components never written
    UINT Stream;
    D3D_MIN_PRECISION MinPrecision;
} D3D11_SIGNATURE_PARAMETER_DESC;

DEFINE_GUID(IID_ID3D11ShaderReflectionType, 0x6e6ffa6a, 0x9bae, 0x4613, 0xa5, 0x1e, 0x91, 0x65, 0x2d, 0x50, 0x8c, 0x21);
DEFINE_GUID(IID_ID3D11ShaderReflectionVariable, 0x51f23923, 0xf3e5, 0x4bd1, 0x91, 0xcb, 0x60, 0x61, 0x77, 0xd8, 0xdb,
            0x4c);
DEFINE_GUID(IID_ID3D11ShaderReflectionConstantBuffer, 0xeb62d63d, 0x93dd, 0x4318, 0x8a, 0xe8, 0xc6, 0xf8, 0x3a, 0xd3,
            0x71, 0xb8);
DEFINE_GUID(IID_ID3D11ShaderReflection, 0x8d536ca1, 0x0cca, 0x4956, 0xa8, 0x37, 0x78, 0x69, 0x63, 0x75, 0x55, 0x84);

interface ID3D11ShaderReflectionConstantBuffer;

/// Type of a variable or of a structure's member.
interface ID3D11ShaderReflectionType
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_TYPE_DESC* desc) = 0;
    virtual ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetMemberTypeByIndex(UINT index) = 0;
    virtual ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetMemberTypeByName(LPCSTR name) = 0;
    /// Null for an index out of range.
    virtual LPCSTR STDMETHODCALLTYPE GetMemberTypeName(UINT index) = 0;
    /// S_OK when both describe the same type, member by member, else S_FALSE.
    virtual HRESULT STDMETHODCALLTYPE IsEqual(ID3D11ShaderReflectionType* type) = 0;
    /// Classes and interfaces do not exist in compiled shaders here: no sub type, base class or interface.
    virtual ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetSubType() = 0;
    virtual ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetBaseClass() = 0;
    virtual UINT STDMETHODCALLTYPE GetNumInterfaces() = 0;
    virtual ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetInterfaceByIndex(UINT index) = 0;
    virtual HRESULT STDMETHODCALLTYPE IsOfType(ID3D11ShaderReflectionType* type) = 0;
    virtual HRESULT STDMETHODCALLTYPE ImplementsInterface(ID3D11ShaderReflectionType* base) = 0;
};

/// Variable of a constant buffer, or the element of a structured buffer, which is called "$Element".
interface ID3D11ShaderReflectionVariable
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_VARIABLE_DESC* desc) = 0;
    virtual ID3D11ShaderReflectionType* STDMETHODCALLTYPE GetType() = 0;
    virtual ID3D11ShaderReflectionConstantBuffer* STDMETHODCALLTYPE GetBuffer() = 0;
    virtual UINT STDMETHODCALLTYPE GetInterfaceSlot(UINT index) = 0;
};

interface ID3D11ShaderReflectionConstantBuffer
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_BUFFER_DESC* desc) = 0;
    virtual ID3D11ShaderReflectionVariable* STDMETHODCALLTYPE GetVariableByIndex(UINT index) = 0;
    virtual ID3D11ShaderReflectionVariable* STDMETHODCALLTYPE GetVariableByName(LPCSTR name) = 0;
};

/// Constant buffers are listed in the order of their declaration. Bound resources are listed by class (samplers,
/// views that read, views that write, constant buffers) and by bind point within a class; what the optimised code
/// does not use is left out, while unused members of a used buffer stay.
interface ID3D11ShaderReflection : public IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc(D3D11_SHADER_DESC* desc) = 0;
    virtual ID3D11ShaderReflectionConstantBuffer* STDMETHODCALLTYPE GetConstantBufferByIndex(UINT index) = 0;
    virtual ID3D11ShaderReflectionConstantBuffer* STDMETHODCALLTYPE GetConstantBufferByName(LPCSTR name) = 0;
    /// The calls that fill a record return E_INVALIDARG for a null record or an index or name that is not there.
    virtual HRESULT STDMETHODCALLTYPE GetResourceBindingDesc(UINT index, D3D11_SHADER_INPUT_BIND_DESC* desc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetInputParameterDesc(UINT index, D3D11_SIGNATURE_PARAMETER_DESC* desc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOutputParameterDesc(UINT index, D3D11_SIGNATURE_PARAMETER_DESC* desc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPatchConstantParameterDesc(UINT index,
                                                                    D3D11_SIGNATURE_PARAMETER_DESC* desc) = 0;
    virtual ID3D11ShaderReflectionVariable* STDMETHODCALLTYPE GetVariableByName(LPCSTR name) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetResourceBindingDescByName(LPCSTR name, D3D11_SHADER_INPUT_BIND_DESC* desc) = 0;
    virtual UINT STDMETHODCALLTYPE GetMovInstructionCount() = 0;
    virtual UINT STDMETHODCALLTYPE GetMovcInstructionCount() = 0;
    virtual UINT STDMETHODCALLTYPE GetConversionInstructionCount() = 0;
    virtual UINT STDMETHODCALLTYPE GetBitwiseInstructionCount() = 0;
    virtual D3D_PRIMITIVE STDMETHODCALLTYPE GetGSInputPrimitive() = 0;
    virtual BOOL STDMETHODCALLTYPE IsSampleFrequencyShader() = 0;
    virtual UINT STDMETHODCALLTYPE GetNumInterfaceSlots() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMinFeatureLevel(enum D3D_FEATURE_LEVEL* level) = 0;
    /// Product of the three sizes, 0 for stages other than compute. Null pointers are skipped.
    virtual UINT STDMETHODCALLTYPE GetThreadGroupSize(UINT* x, UINT* y, UINT* z) = 0;
    virtual UINT64 STDMETHODCALLTYPE GetRequiresFlags() = 0;

protected:
    ~ID3D11ShaderReflection() = default;
};
