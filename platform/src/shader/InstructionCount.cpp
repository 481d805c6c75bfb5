// Sorts SPIR-V operations into the kinds that reflection counts.
#include "shader/InstructionCount.h"

#include <unordered_set>

namespace gleam {
namespace {

bool IsBookkeeping(spv::Op op)
{
    switch (op) {
    case spv::Op::OpNop:
    case spv::Op::OpLine:
    case spv::Op::OpNoLine:
    case spv::Op::OpFunction:
    case spv::Op::OpFunctionParameter:
    case spv::Op::OpFunctionEnd:
    case spv::Op::OpLabel:
    case spv::Op::OpLoopMerge:
    case spv::Op::OpSelectionMerge:
    case spv::Op::OpPhi:
    case spv::Op::OpUndef:
    case spv::Op::OpVariable:
    case spv::Op::OpAccessChain:
    case spv::Op::OpInBoundsAccessChain:
    case spv::Op::OpCompositeExtract:
    case spv::Op::OpSampledImage:
    case spv::Op::OpImage:
        return true;
    default:
        return false;
    }
}

bool IsBetween(spv::Op op, spv::Op first, spv::Op last)
{
    return op >= first && op <= last;
}

/// Sampling with a comparison, then by how the level is chosen. `imageOperands` is the index of the mask, if any.
void CountSample(const SpirvInstruction& instruction, std::size_t imageOperands, bool compares, InstructionCounts& c)
{
    if (compares) {
        ++c.textureComparison;
        return;
    }
    const bool hasMask = instruction.operands.size() > imageOperands;
    const std::uint32_t mask = hasMask ? instruction.operands[imageOperands] : 0;
    if (mask & static_cast<std::uint32_t>(spv::ImageOperandsMask::Bias))
        ++c.textureBias;
    else if (mask & static_cast<std::uint32_t>(spv::ImageOperandsMask::Grad))
        ++c.textureGradient;
    else
        ++c.textureNormal;
}

bool CountTexture(const SpirvInstruction& instruction, InstructionCounts& c)
{
    switch (instruction.op) {
    case spv::Op::OpImageSampleImplicitLod:
    case spv::Op::OpImageSampleExplicitLod:
        CountSample(instruction, 4, false, c);
        return true;
    case spv::Op::OpImageGather:
        CountSample(instruction, 5, false, c);
        return true;
    case spv::Op::OpImageSampleDrefImplicitLod:
    case spv::Op::OpImageSampleDrefExplicitLod:
    case spv::Op::OpImageDrefGather:
        CountSample(instruction, 5, true, c);
        return true;
    case spv::Op::OpImageFetch:
    case spv::Op::OpImageRead:
        ++c.textureLoad;
        return true;
    case spv::Op::OpImageWrite:
        ++c.textureStores;
        return true;
    default:
        return false;
    }
}

bool CountControl(spv::Op op, InstructionCounts& c)
{
    switch (op) {
    case spv::Op::OpBranch:
    case spv::Op::OpReturn:
    case spv::Op::OpReturnValue:
        ++c.staticFlow;
        return true;
    case spv::Op::OpBranchConditional:
    case spv::Op::OpSwitch:
    case spv::Op::OpKill:
        ++c.dynamicFlow;
        return true;
    case spv::Op::OpEmitVertex:
    case spv::Op::OpEmitStreamVertex:
        ++c.emits;
        return true;
    case spv::Op::OpEndPrimitive:
    case spv::Op::OpEndStreamPrimitive:
        ++c.cuts;
        return true;
    case spv::Op::OpControlBarrier:
    case spv::Op::OpMemoryBarrier:
        ++c.barriers;
        return true;
    default:
        return false;
    }
}

void CountMove(spv::Op op, InstructionCounts& c)
{
    if (op == spv::Op::OpLoad || op == spv::Op::OpStore || op == spv::Op::OpCopyObject ||
        op == spv::Op::OpCompositeConstruct || op == spv::Op::OpCompositeInsert || op == spv::Op::OpVectorShuffle)
        ++c.moves;
    else if (op == spv::Op::OpSelect)
        ++c.conditionalMoves;
    else if (IsBetween(op, spv::Op::OpConvertFToU, spv::Op::OpBitcast))
        ++c.conversions;
    else if (IsBetween(op, spv::Op::OpShiftRightLogical, spv::Op::OpBitCount))
        ++c.bitwise;
    else if (IsBetween(op, spv::Op::OpAtomicLoad, spv::Op::OpAtomicXor))
        ++c.interlocked;
}

/// Scalar type at the bottom of a type, or null.
const SpirvInstruction* ScalarType(SpirvModule& module, std::uint32_t type)
{
    const SpirvInstruction* found = module.Find(type);
    while (found && (found->op == spv::Op::OpTypeVector || found->op == spv::Op::OpTypeMatrix))
        found = module.Find(found->operands[1]);
    return found;
}

void CountArithmetic(SpirvModule& module, const SpirvInstruction& instruction, InstructionCounts& c)
{
    const bool isArithmetic =
        IsBetween(instruction.op, spv::Op::OpSNegate, spv::Op::OpDot) || instruction.op == spv::Op::OpExtInst;
    const SpirvInstruction* type = isArithmetic ? ScalarType(module, instruction.operands[0]) : nullptr;
    if (!type)
        return;
    if (type->op == spv::Op::OpTypeFloat)
        ++c.floats;
    else if (type->op == spv::Op::OpTypeInt)
        ++(type->operands[2] ? c.ints : c.uints);
}

/// An array that the code keeps in memory of its own.
bool IsLocalArray(SpirvModule& module, const SpirvInstruction& instruction)
{
    if (instruction.op != spv::Op::OpVariable)
        return false;
    const SpirvInstruction* pointer = module.Find(instruction.operands[0]);
    const SpirvInstruction* type = pointer ? module.Find(pointer->operands[2]) : nullptr;
    return type && type->op == spv::Op::OpTypeArray;
}

/// A pointer into one of the arrays.
bool IsInto(const SpirvInstruction& instruction, const std::unordered_set<std::uint32_t>& arrays)
{
    return instruction.op == spv::Op::OpAccessChain && arrays.contains(instruction.operands[2]);
}

bool IsAccess(const SpirvInstruction& instruction, const std::unordered_set<std::uint32_t>& pointers)
{
    return (instruction.op == spv::Op::OpLoad && pointers.contains(instruction.operands[2])) ||
           (instruction.op == spv::Op::OpStore && pointers.contains(instruction.operands[0]));
}

} // namespace

InstructionCounts CountInstructions(SpirvModule& module)
{
    InstructionCounts c;
    std::unordered_set<std::uint32_t> arrays;
    for (std::size_t i = module.FirstFunction(); i < module.Instructions().size(); ++i) {
        const SpirvInstruction& instruction = module.Instructions()[i];
        if (IsLocalArray(module, instruction) || IsInto(instruction, arrays))
            arrays.insert(instruction.ResultId());
        c.tempArrays += IsLocalArray(module, instruction);
        c.arrays += IsAccess(instruction, arrays);
        if (IsBookkeeping(instruction.op))
            continue;
        ++c.total;
        if (CountTexture(instruction, c) || CountControl(instruction.op, c))
            continue;
        CountMove(instruction.op, c);
        CountArithmetic(module, instruction, c);
    }
    return c;
}

} // namespace gleam
