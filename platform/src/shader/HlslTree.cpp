// Reads resources and execution properties from glslang's syntax tree and numbers the resource variables.
#include "shader/HlslTree.h"

#include <algorithm>
#include <map>

#include "shader/HlslRewrite.h"

namespace gleam {
namespace {

/// Gives each resource symbol, wherever it stands in the tree, the number of its record as binding. Numbers are
/// distinct even for variables that only dead code uses, so that no two ever meet in the generated module.
class BindingNumbers : public glslang::TIntermTraverser
{
public:
    explicit BindingNumbers(const std::map<long long, std::uint32_t>& numbers) : m_numbers(numbers) {}

    void visitSymbol(glslang::TIntermSymbol* symbol) override
    {
        const auto number = m_numbers.find(symbol->getId());
        if (number == m_numbers.end())
            return;
        glslang::TQualifier& qualifier = symbol->getWritableType().getQualifier();
        qualifier.layoutSet = 0;
        qualifier.layoutBinding = number->second;
    }

private:
    const std::map<long long, std::uint32_t>& m_numbers;
};

/// Finds the folded value that a helper function assigns to its variable "v".
class FoldedValue : public glslang::TIntermTraverser
{
public:
    bool visitBinary(glslang::TVisit, glslang::TIntermBinary* node) override
    {
        const glslang::TIntermSymbol* left = node->getLeft()->getAsSymbolNode();
        const glslang::TIntermConstantUnion* right = node->getRight()->getAsConstantUnion();
        if (node->getOp() == glslang::EOpAssign && left && left->getName() == "v" && right)
            for (int i = 0; i < right->getConstArray().size(); ++i)
                components.push_back(Number(right->getConstArray()[i]));
        return true;
    }

    std::vector<double> components;

private:
    static double Number(const glslang::TConstUnion& value)
    {
        switch (value.getType()) {
        case glslang::EbtInt:
            return value.getIConst();
        case glslang::EbtUint:
            return value.getUConst();
        case glslang::EbtBool:
            return value.getBConst();
        default:
            return value.getDConst();
        }
    }
};

/// Values of the helpers, by the helpers' names.
void ReadFoldedValues(const glslang::TIntermediate& tree, HlslProgram& program)
{
    for (TIntermNode* node : tree.getTreeRoot()->getAsAggregate()->getSequence()) {
        glslang::TIntermAggregate* function = node->getAsAggregate();
        if (!function || function->getOp() != glslang::EOpFunction)
            continue;
        const std::string mangled = function->getName().c_str();
        if (!mangled.starts_with(DefaultHelperPrefix))
            continue;
        FoldedValue value;
        function->traverse(&value);
        if (!value.components.empty())
            program.constants.emplace(mangled.substr(0, mangled.find('(')), std::move(value.components));
    }
}

bool IsResource(const glslang::TType& type)
{
    const glslang::TStorageQualifier storage = type.getQualifier().storage;
    return storage == glslang::EvqBuffer ||
           (storage == glslang::EvqUniform &&
            (type.getBasicType() == glslang::EbtBlock || type.getBasicType() == glslang::EbtSampler));
}

D3D_RESOURCE_RETURN_TYPE ReturnType(glslang::TBasicType type)
{
    if (type == glslang::EbtInt)
        return D3D_RETURN_TYPE_SINT;
    return type == glslang::EbtUint ? D3D_RETURN_TYPE_UINT : D3D_RETURN_TYPE_FLOAT;
}

D3D_SRV_DIMENSION Dimension(const glslang::TSampler& sampler)
{
    switch (sampler.dim) {
    case glslang::Esd1D:
        return sampler.arrayed ? D3D_SRV_DIMENSION_TEXTURE1DARRAY : D3D_SRV_DIMENSION_TEXTURE1D;
    case glslang::Esd3D:
        return D3D_SRV_DIMENSION_TEXTURE3D;
    case glslang::EsdCube:
        return sampler.arrayed ? D3D_SRV_DIMENSION_TEXTURECUBEARRAY : D3D_SRV_DIMENSION_TEXTURECUBE;
    case glslang::EsdBuffer:
        return D3D_SRV_DIMENSION_BUFFER;
    default:
        if (sampler.ms)
            return sampler.arrayed ? D3D_SRV_DIMENSION_TEXTURE2DMSARRAY : D3D_SRV_DIMENSION_TEXTURE2DMS;
        return sampler.arrayed ? D3D_SRV_DIMENSION_TEXTURE2DARRAY : D3D_SRV_DIMENSION_TEXTURE2D;
    }
}

void SetKind(ResourceInfo& info, EBindingClass bindingClass, EBindingKind kind, D3D_SHADER_INPUT_TYPE type)
{
    info.binding.bindingClass = bindingClass;
    info.binding.kind = kind;
    info.type = type;
}

void DescribeSampler(const glslang::TSampler& sampler, ResourceInfo& info)
{
    const bool compares = sampler.shadow;
    SetKind(info, EBindingClass::Sampler, compares ? EBindingKind::ComparisonSampler : EBindingKind::Sampler,
            D3D_SIT_SAMPLER);
    if (compares)
        info.flags |= D3D_SIF_COMPARISON_SAMPLER;
}

void DescribeTexture(const glslang::TSampler& sampler, ResourceInfo& info)
{
    const bool isBuffer = sampler.dim == glslang::EsdBuffer;
    if (sampler.image)
        SetKind(info, EBindingClass::UnorderedAccess, isBuffer ? EBindingKind::RwTypedBuffer : EBindingKind::RwTexture,
                D3D_SIT_UAV_RWTYPED);
    else
        SetKind(info, EBindingClass::Resource, isBuffer ? EBindingKind::TypedBuffer : EBindingKind::Texture,
                D3D_SIT_TEXTURE);
    info.binding.dimension = Dimension(sampler);
    info.binding.returnType = ReturnType(sampler.getBasicType());
    info.flags |= (std::max(sampler.getVectorSize(), 1u) - 1) << 2;
    info.sampleCount = sampler.ms ? 0 : 0xffffffff;
}

/// The one variable that stands for a structured buffer's elements.
BufferInfo ElementBuffer(const glslang::TType& block, const std::string& name)
{
    const glslang::TType& array = *block.getStruct()->front().type;
    glslang::TType element;
    element.shallowCopy(array);
    element.clearArraySizes();

    BufferInfo buffer;
    buffer.name = name;
    buffer.type = D3D_CT_RESOURCE_BIND_INFO;
    VariableInfo& variable = buffer.variables.emplace_back();
    variable.name = "$Element";
    variable.flags = D3D_SVF_USED;
    variable.type = DescribeType(element, block.getQualifier().layoutMatrix);
    return buffer;
}

void DescribeStructured(const glslang::TType& block, HlslResource& resource, EBindingClass bindingClass,
                        EBindingKind kind, D3D_SHADER_INPUT_TYPE type)
{
    SetKind(resource.info, bindingClass, kind, type);
    resource.info.binding.dimension = D3D_SRV_DIMENSION_BUFFER;
    resource.info.binding.returnType = D3D_RETURN_TYPE_MIXED;
    const bool isBytes = kind == EBindingKind::ByteAddressBuffer || kind == EBindingKind::RwByteAddressBuffer;
    if (!isBytes)
        resource.buffer = ElementBuffer(block, resource.info.binding.name);
}

void DescribeBufferBlock(const glslang::TType& block, HlslResource& resource)
{
    constexpr EBindingClass read = EBindingClass::Resource;
    constexpr EBindingClass write = EBindingClass::UnorderedAccess;
    switch (block.getQualifier().declaredBuiltIn) {
    case glslang::EbvStructuredBuffer:
        return DescribeStructured(block, resource, read, EBindingKind::StructuredBuffer, D3D_SIT_STRUCTURED);
    case glslang::EbvByteAddressBuffer:
        return DescribeStructured(block, resource, read, EBindingKind::ByteAddressBuffer, D3D_SIT_BYTEADDRESS);
    case glslang::EbvRWByteAddressBuffer:
        return DescribeStructured(block, resource, write, EBindingKind::RwByteAddressBuffer, D3D_SIT_UAV_RWBYTEADDRESS);
    case glslang::EbvAppendConsume:
        return DescribeStructured(block, resource, write, EBindingKind::RwStructuredBuffer,
                                  D3D_SIT_UAV_APPEND_STRUCTURED);
    case glslang::EbvRWStructuredBuffer:
        return DescribeStructured(block, resource, write, EBindingKind::RwStructuredBuffer, D3D_SIT_UAV_RWSTRUCTURED);
    default:
        SetKind(resource.info, read, EBindingKind::TextureBuffer, D3D_SIT_TBUFFER);
        resource.info.binding.dimension = D3D_SRV_DIMENSION_BUFFER;
        resource.info.binding.returnType = D3D_RETURN_TYPE_MIXED;
        resource.buffer = DescribeBlock(block, resource.info.binding.name);
        resource.buffer->type = D3D_CT_TBUFFER;
    }
}

/// Name as the text has it: blocks take theirs from the type, since their variables have none.
std::string ResourceName(const glslang::TIntermSymbol& symbol)
{
    const bool isAnonymous = symbol.getName().compare(0, 5, "anon@") == 0;
    std::string name = isAnonymous ? symbol.getType().getTypeName().c_str() : symbol.getName().c_str();
    return name == "$Global" ? "$Globals" : name;
}

HlslResource DescribeResource(const glslang::TIntermSymbol& symbol)
{
    const glslang::TType& type = symbol.getType();
    HlslResource resource;
    ResourceInfo& info = resource.info;
    info.binding.name = ResourceName(symbol);
    if (type.isArray())
        info.binding.count = static_cast<std::uint32_t>(std::max(type.getCumulativeArraySize(), 1));
    if (type.getQualifier().hasBinding()) {
        resource.explicitSlot = type.getQualifier().layoutBinding;
        info.flags |= D3D_SIF_USERPACKED;
    }

    const std::string& name = info.binding.name;
    if (const auto suffix = name.rfind("@count"); suffix != std::string::npos) {
        resource.counterOf = name.substr(0, suffix);
        SetKind(info, EBindingClass::UnorderedAccess, EBindingKind::RwByteAddressBuffer, D3D_SIT_UAV_RWBYTEADDRESS);
    } else if (type.getQualifier().storage == glslang::EvqBuffer) {
        DescribeBufferBlock(type, resource);
    } else if (type.getBasicType() == glslang::EbtBlock) {
        SetKind(info, EBindingClass::ConstantBuffer, EBindingKind::ConstantBuffer, D3D_SIT_CBUFFER);
        resource.buffer = DescribeBlock(type, name);
    } else if (type.getSampler().isPureSampler()) {
        DescribeSampler(type.getSampler(), info);
    } else {
        DescribeTexture(type.getSampler(), info);
    }
    return resource;
}

D3D_PRIMITIVE InputPrimitive(glslang::TLayoutGeometry geometry)
{
    switch (geometry) {
    case glslang::ElgPoints:
        return D3D_PRIMITIVE_POINT;
    case glslang::ElgLines:
        return D3D_PRIMITIVE_LINE;
    case glslang::ElgLinesAdjacency:
        return D3D_PRIMITIVE_LINE_ADJ;
    case glslang::ElgTriangles:
        return D3D_PRIMITIVE_TRIANGLE;
    case glslang::ElgTrianglesAdjacency:
        return D3D_PRIMITIVE_TRIANGLE_ADJ;
    default:
        return D3D_PRIMITIVE_UNDEFINED;
    }
}

D3D_PRIMITIVE_TOPOLOGY OutputTopology(glslang::TLayoutGeometry geometry)
{
    switch (geometry) {
    case glslang::ElgPoints:
        return D3D_PRIMITIVE_TOPOLOGY_POINTLIST;
    case glslang::ElgLineStrip:
        return D3D_PRIMITIVE_TOPOLOGY_LINESTRIP;
    case glslang::ElgTriangleStrip:
        return D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP;
    default:
        return D3D_PRIMITIVE_TOPOLOGY_UNDEFINED;
    }
}

D3D_TESSELLATOR_DOMAIN Domain(glslang::TLayoutGeometry geometry)
{
    switch (geometry) {
    case glslang::ElgIsolines:
        return D3D_TESSELLATOR_DOMAIN_ISOLINE;
    case glslang::ElgTriangles:
        return D3D_TESSELLATOR_DOMAIN_TRI;
    case glslang::ElgQuads:
        return D3D_TESSELLATOR_DOMAIN_QUAD;
    default:
        return D3D_TESSELLATOR_DOMAIN_UNDEFINED;
    }
}

D3D_TESSELLATOR_PARTITIONING Partitioning(glslang::TVertexSpacing spacing)
{
    switch (spacing) {
    case glslang::EvsEqual:
        return D3D_TESSELLATOR_PARTITIONING_INTEGER;
    case glslang::EvsFractionalEven:
        return D3D_TESSELLATOR_PARTITIONING_FRACTIONAL_EVEN;
    case glslang::EvsFractionalOdd:
        return D3D_TESSELLATOR_PARTITIONING_FRACTIONAL_ODD;
    default:
        return D3D_TESSELLATOR_PARTITIONING_UNDEFINED;
    }
}

D3D_TESSELLATOR_OUTPUT_PRIMITIVE HullOutput(const glslang::TIntermediate& tree)
{
    if (tree.getPointMode())
        return D3D_TESSELLATOR_OUTPUT_POINT;
    if (tree.getVertexOrder() == glslang::EvoCw)
        return D3D_TESSELLATOR_OUTPUT_TRIANGLE_CW;
    return tree.getVertexOrder() == glslang::EvoCcw ? D3D_TESSELLATOR_OUTPUT_TRIANGLE_CCW : D3D_TESSELLATOR_OUTPUT_LINE;
}

void DescribeExecution(const glslang::TIntermediate& tree, ShaderInfo& info)
{
    switch (info.stage) {
    case EShaderStage::Compute:
        for (int i = 0; i < 3; ++i)
            info.threadGroup[i] = tree.getLocalSize(i);
        break;
    case EShaderStage::Geometry:
        info.inputPrimitive = InputPrimitive(tree.getInputPrimitive());
        info.outputTopology = OutputTopology(tree.getOutputPrimitive());
        info.maxOutputVertices = static_cast<std::uint32_t>(std::max(tree.getVertices(), 0));
        info.geometryInstances = static_cast<std::uint32_t>(std::max(tree.getInvocations(), 1));
        break;
    case EShaderStage::Hull:
        info.controlPoints = static_cast<std::uint32_t>(std::max(tree.getVertices(), 0));
        info.tessellatorDomain = Domain(tree.getOutputPrimitive());
        info.hullPartitioning = Partitioning(tree.getVertexSpacing());
        info.hullOutput = HullOutput(tree);
        break;
    case EShaderStage::Domain:
        info.tessellatorDomain = Domain(tree.getInputPrimitive());
        break;
    default:
        break;
    }
}

} // namespace

void ReadTree(HlslTree& tree, HlslProgram& program)
{
    std::map<long long, std::uint32_t> numbers;
    std::vector<const glslang::TIntermSymbol*> stageSymbols;
    for (TIntermNode* node : tree.intermediate.findLinkerObjects()->getSequence()) {
        const glslang::TIntermSymbol* symbol = node->getAsSymbolNode();
        if (!symbol)
            continue;
        const glslang::TStorageQualifier storage = symbol->getQualifier().storage;
        if (IsResource(symbol->getType())) {
            HlslResource resource = DescribeResource(*symbol);
            resource.provisional = static_cast<std::uint32_t>(program.resources.size());
            numbers.emplace(symbol->getId(), resource.provisional);
            program.resources.push_back(std::move(resource));
        } else if (storage == glslang::EvqVaryingIn || storage == glslang::EvqVaryingOut) {
            stageSymbols.push_back(symbol);
        }
    }
    BindingNumbers numbering(numbers);
    tree.intermediate.getTreeRoot()->traverse(&numbering);
    DescribeSignatures(stageSymbols, program.info);
    ReadFoldedValues(tree.intermediate, program);
    DescribeExecution(tree.intermediate, program.info);
}

} // namespace gleam
