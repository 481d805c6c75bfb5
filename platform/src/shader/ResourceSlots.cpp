// Register allocation.
#include "shader/ResourceSlots.h"

#include <algorithm>
#include <array>
#include <map>

namespace gleam {
namespace {

struct ClassLimits
{
    char letter;
    std::uint32_t slots;
    std::uint32_t base;
    int reportOrder;
};

constexpr ClassLimits Limits[] = {
    {'b', ConstantBufferSlots, ConstantBufferBase, 3},
    {'t', ResourceSlots, ResourceBase, 1},
    {'s', SamplerSlots, SamplerBase, 0},
    {'u', UnorderedAccessSlots, UnorderedAccessBase, 2},
};

const ClassLimits& LimitsOf(EBindingClass bindingClass)
{
    return Limits[static_cast<std::size_t>(bindingClass)];
}

/// Registers of one class that are taken.
using SlotMap = std::array<bool, 128>;

bool IsFree(const SlotMap& taken, std::uint32_t slot, std::uint32_t count)
{
    for (std::uint32_t i = slot; i < slot + count; ++i)
        if (taken[i])
            return false;
    return true;
}

void Take(SlotMap& taken, std::uint32_t slot, std::uint32_t count)
{
    for (std::uint32_t i = slot; i < slot + count; ++i)
        taken[i] = true;
}

/// Resources that share a register: the variants that glslang makes of one texture which is sampled with and without
/// comparison, and nothing else.
struct SlotGroup
{
    std::string name;
    EBindingClass bindingClass;
    std::vector<HlslResource*> members;
};

class SlotAllocator
{
public:
    bool Run(std::vector<SlotGroup>& groups, std::string& error)
    {
        for (SlotGroup& group : groups)
            if (group.members.front()->explicitSlot && !TakeExplicit(group, error))
                return false;
        for (SlotGroup& group : groups)
            if (!group.members.front()->explicitSlot && !TakeFree(group, error))
                return false;
        return true;
    }

private:
    SlotMap& Taken(EBindingClass bindingClass) { return m_taken[static_cast<std::size_t>(bindingClass)]; }

    static std::string Exceeded(const SlotGroup& group)
    {
        const ClassLimits& limits = LimitsOf(group.bindingClass);
        return "X4509: register index of '" + group.name + "' exceeds the " + std::to_string(limits.slots) +
               " registers of class '" + limits.letter + "'";
    }

    bool TakeExplicit(SlotGroup& group, std::string& error)
    {
        const HlslResource& first = *group.members.front();
        const std::uint32_t slot = *first.explicitSlot;
        const std::uint32_t count = first.info.binding.count;
        if (std::uint64_t{slot} + count > LimitsOf(group.bindingClass).slots) {
            error = Exceeded(group);
            return false;
        }
        if (!IsFree(Taken(group.bindingClass), slot, count)) {
            error = "X4500: overlapping register semantics '" + std::string(1, LimitsOf(group.bindingClass).letter) +
                    std::to_string(slot) + "' of '" + group.name + "'";
            return false;
        }
        Assign(group, slot, count);
        return true;
    }

    bool TakeFree(SlotGroup& group, std::string& error)
    {
        const std::uint32_t count = group.members.front()->info.binding.count;
        const std::uint32_t slots = LimitsOf(group.bindingClass).slots;
        for (std::uint32_t slot = 0; std::uint64_t{slot} + count <= slots; ++slot) {
            if (IsFree(Taken(group.bindingClass), slot, count)) {
                Assign(group, slot, count);
                return true;
            }
        }
        error = Exceeded(group);
        return false;
    }

    void Assign(SlotGroup& group, std::uint32_t slot, std::uint32_t count)
    {
        Take(Taken(group.bindingClass), slot, count);
        for (HlslResource* member : group.members) {
            member->info.binding.slot = slot;
            member->info.binding.binding = LimitsOf(group.bindingClass).base + slot;
        }
    }

    std::array<SlotMap, 4> m_taken{};
};

/// Resources of the program by the variables that the module still has.
std::map<std::uint32_t, HlslResource*> UsedResources(const SpirvModule& module, const std::vector<VariableUse>& uses,
                                                     std::vector<HlslResource>& resources)
{
    std::map<std::uint32_t, HlslResource*> used;
    for (const VariableUse& use : uses) {
        const auto provisional = module.Decoration(use.id, spv::Decoration::Binding);
        if (!provisional || *provisional >= resources.size())
            continue;
        HlslResource& resource = resources[*provisional];
        resource.info.binding.isRead |=
            use.isRead || resource.info.binding.bindingClass != EBindingClass::UnorderedAccess;
        resource.info.binding.isWritten |= use.isWritten;
        if (resource.buffer && resource.buffer->type != D3D_CT_RESOURCE_BIND_INFO)
            for (std::size_t i = 0; i < resource.buffer->variables.size(); ++i)
                if (use.isWholeUsed || use.members.contains(static_cast<std::uint32_t>(i)))
                    resource.buffer->variables[i].flags |= D3D_SVF_USED;
        used.emplace(use.id, &resource);
    }
    return used;
}

std::vector<SlotGroup> GroupByName(const std::map<std::uint32_t, HlslResource*>& used)
{
    std::vector<HlslResource*> ordered;
    for (const auto& [id, resource] : used)
        if (resource->counterOf.empty())
            ordered.push_back(resource);
    std::sort(ordered.begin(), ordered.end());
    ordered.erase(std::unique(ordered.begin(), ordered.end()), ordered.end());

    std::vector<SlotGroup> groups;
    for (HlslResource* resource : ordered) {
        const ShaderBinding& binding = resource->info.binding;
        const auto same = std::find_if(groups.begin(), groups.end(), [&](const SlotGroup& group) {
            return group.name == binding.name && group.bindingClass == binding.bindingClass;
        });
        if (same != groups.end())
            same->members.push_back(resource);
        else
            groups.push_back({binding.name, binding.bindingClass, {resource}});
    }
    return groups;
}

/// Structured buffers whose counter the code uses, and the counters' bindings.
void PlaceCounters(const std::map<std::uint32_t, HlslResource*>& used)
{
    for (const auto& [counterId, counter] : used) {
        if (counter->counterOf.empty())
            continue;
        for (const auto& [id, resource] : used) {
            if (resource->info.binding.name != counter->counterOf)
                continue;
            resource->info.binding.hasCounter = true;
            if (resource->info.type == D3D_SIT_UAV_RWSTRUCTURED)
                resource->info.type = D3D_SIT_UAV_RWSTRUCTURED_WITH_COUNTER;
            counter->info.binding.binding = CounterBase + resource->info.binding.slot;
        }
    }
}

void WriteBindings(SpirvModule& module, const std::map<std::uint32_t, HlslResource*>& used, EShaderStage stage)
{
    for (SpirvInstruction& instruction : module.Instructions()) {
        if (instruction.op != spv::Op::OpDecorate || instruction.operands.size() != 3)
            continue;
        const auto resource = used.find(instruction.operands[0]);
        if (resource == used.end())
            continue;
        if (instruction.operands[1] == static_cast<std::uint32_t>(spv::Decoration::Binding))
            instruction.operands[2] = resource->second->info.binding.binding;
        else if (instruction.operands[1] == static_cast<std::uint32_t>(spv::Decoration::DescriptorSet))
            instruction.operands[2] = DescriptorSetOf(stage);
    }
}

void Report(std::vector<SlotGroup>& groups, ShaderInfo& info)
{
    for (SlotGroup& group : groups) {
        HlslResource& first = *group.members.front();
        if (first.buffer) {
            const bool isElement = first.buffer->type == D3D_CT_RESOURCE_BIND_INFO;
            (isElement ? first.info.binding.structureStride : first.info.binding.size) = first.buffer->size;
            if (isElement)
                first.info.sampleCount = first.buffer->size;
            info.buffers.push_back(*first.buffer);
        }
        info.resources.push_back(first.info);
    }
    const auto key = [](const ResourceInfo& resource) {
        return std::pair{LimitsOf(resource.binding.bindingClass).reportOrder, resource.binding.slot};
    };
    std::stable_sort(info.resources.begin(), info.resources.end(),
                     [&](const ResourceInfo& a, const ResourceInfo& b) { return key(a) < key(b); });
    std::stable_partition(info.buffers.begin(), info.buffers.end(),
                          [](const BufferInfo& buffer) { return buffer.type != D3D_CT_RESOURCE_BIND_INFO; });
}

} // namespace

bool AssignResources(SpirvModule& module, const std::vector<VariableUse>& uses, HlslProgram& program,
                     std::string& error)
{
    const auto used = UsedResources(module, uses, program.resources);
    std::vector<SlotGroup> groups = GroupByName(used);
    if (!SlotAllocator().Run(groups, error))
        return false;
    PlaceCounters(used);
    WriteBindings(module, used, program.info.stage);
    Report(groups, program.info);
    return true;
}

} // namespace gleam
