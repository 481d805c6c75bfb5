// Rendering passes: when they begin and end, clears that become their load operations, and the barriers in front.
#include <algorithm>

#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {
namespace {

const Access& DepthAccess(const DepthStencilView& view)
{
    return view.IsReadOnly() ? access::DepthRead : access::DepthTarget;
}

VkClearValue ClearColor(const RenderTargetView& view, const FLOAT color[4])
{
    VkClearValue value{};
    const FormatInfo& format = GetFormatInfo(view.desc.Format);
    for (int i = 0; i < 4; ++i) {
        if (format.kind == EFormatKind::Uint) {
            value.color.uint32[i] = color[i] > 0 ? static_cast<uint32_t>(std::min(color[i], 4294967040.0f)) : 0;
        } else if (format.kind == EFormatKind::Sint) {
            value.color.int32[i] = static_cast<int32_t>(std::clamp(color[i], -2147483648.0f, 2147483520.0f));
        } else {
            value.color.float32[i] = color[i];
        }
    }
    if (view.desc.Format == DXGI_FORMAT_A8_UNORM) {
        value.color.float32[0] = color[3];
    }
    return value;
}

} // namespace

bool Context::BufferNeeds(const Buffer& buffer, const Access& access) const
{
    return NeedsBarrier(buffer.state, access, false);
}

void Context::UseBuffer(Buffer& buffer, const Access& access)
{
    // Slices that only the processor writes never meet this, which keeps their state empty.
    if (buffer.state.writeStages == 0 && !access.isWrite && buffer.IsHostWritten()) {
        buffer.MarkUsed(m_stream.Serial());
        return;
    }
    Dependency dependency;
    if (access.isWrite && buffer.IsHostWritten() && buffer.state == AccessState{}) {
        // Reads of slices are not kept account of, so the device's first write waits for all of them.
        m_barriers.AddMemory({VK_PIPELINE_STAGE_2_ALL_COMMANDS_BIT, 0, VK_IMAGE_LAYOUT_UNDEFINED}, access);
    }
    if (Advance(buffer.state, access, false, dependency)) {
        m_barriers.AddMemory(dependency, access);
    }
    buffer.MarkUsed(m_stream.Serial());
    if (access.isWrite) {
        buffer.lastWrite = m_stream.Serial();
    }
}

void Context::UseInputBuffers()
{
    for (const VertexBufferBinding& binding : m_state.vertexBuffers) {
        if (binding.buffer) {
            UseBuffer(*binding.buffer, access::BufferRead);
        }
    }
    if (m_state.indexBuffer) {
        UseBuffer(*m_state.indexBuffer, access::BufferRead);
    }
}

void Context::UseTexture(Texture& texture, const SubresourceRange& range, const Access& access)
{
    texture.tracker.Advance(range, access, texture.image, texture.Aspects(), m_barriers);
    texture.MarkUsed(m_stream.Serial());
}

void Context::RecordBarriers()
{
    if (!m_barriers.Empty()) {
        m_barriers.Record(m_vk, m_stream.Main());
    }
}

VkCommandBuffer Context::OutsidePass()
{
    EndPass();
    RecordBarriers();
    return m_stream.Main();
}

bool Context::StageNeedsBarrier(EStage stage)
{
    const StageBindings& bindings = m_state.stages[stage];
    if (!bindings.shader) {
        return false;
    }
    for (const DescriptorEntry& entry : bindings.shader->entries) {
        for (uint32_t i = 0; i < entry.count; ++i) {
            const uint32_t slot = entry.slot + i;
            switch (entry.bindingClass) {
            case EBindingClass::ConstantBuffer:
                if (const Buffer* buffer = bindings.constants[slot];
                    buffer && BufferNeeds(*buffer, access::BufferRead)) {
                    return true;
                }
                break;
            case EBindingClass::Resource:
                if (const ShaderResourceView* view = bindings.resources[slot]) {
                    Resource& resource = view->resource;
                    if (resource.info.IsBuffer() ? BufferNeeds(resource.AsBuffer(), access::BufferRead)
                                                 : resource.AsTexture().pendingClears > 0 ||
                                                       resource.AsTexture().tracker.Needs(
                                                           view->range, resource.AsTexture().SampledAccess())) {
                        return true;
                    }
                }
                break;
            case EBindingClass::UnorderedAccess:
                if (UnorderedOf(stage, slot)) {
                    return true;
                }
                break;
            case EBindingClass::Sampler:
                break;
            }
        }
    }
    return false;
}

void Context::PrepareStage(EStage stage)
{
    const StageBindings& bindings = m_state.stages[stage];
    if (!bindings.shader) {
        return;
    }
    for (const DescriptorEntry& entry : bindings.shader->entries) {
        for (uint32_t i = 0; i < entry.count; ++i) {
            const uint32_t slot = entry.slot + i;
            if (entry.bindingClass == EBindingClass::ConstantBuffer) {
                if (Buffer* buffer = bindings.constants[slot]) {
                    UseBuffer(*buffer, access::BufferRead);
                }
            } else if (entry.bindingClass == EBindingClass::Resource) {
                ShaderResourceView* view = bindings.resources[slot];
                if (!view) {
                    continue;
                }
                if (view->resource.info.IsBuffer()) {
                    UseBuffer(view->resource.AsBuffer(), access::BufferRead);
                } else {
                    Texture& texture = view->resource.AsTexture();
                    FlushClearsOf(texture);
                    UseTexture(texture, view->range, texture.SampledAccess());
                }
            } else if (entry.bindingClass == EBindingClass::UnorderedAccess && !entry.isCounter) {
                UnorderedAccessView* view = UnorderedOf(stage, slot);
                if (!view) {
                    continue;
                }
                if (view->counter) {
                    Dependency dependency;
                    if (Advance(view->counterState, access::BufferWrite, false, dependency)) {
                        m_barriers.AddMemory(dependency, access::BufferWrite);
                    }
                    view->counterUse = m_stream.Serial();
                }
                if (view->resource.info.IsBuffer()) {
                    UseBuffer(view->resource.AsBuffer(), access::BufferWrite);
                } else {
                    FlushClearsOf(view->resource);
                    UseTexture(view->resource.AsTexture(), view->range, access::Storage);
                }
            }
        }
    }
}

bool Context::PassFits() const
{
    return m_passTargets == m_state.targets && m_passDepth == m_state.depthTarget;
}

void Context::UpdatePass()
{
    if (m_inPass && (m_dirty & DirtyTargets) && !PassFits()) {
        EndPass();
    }
    m_dirty &= ~DirtyTargets;
    if (m_inPass && (m_dirty & (DirtyHazards | DirtyVertexBuffers | DirtyIndexBuffer))) {
        bool broken = false;
        for (unsigned stage = 0; stage < StageCompute && !broken; ++stage) {
            broken = StageNeedsBarrier(static_cast<EStage>(stage));
        }
        for (const VertexBufferBinding& binding : m_state.vertexBuffers) {
            broken = broken || (binding.buffer && BufferNeeds(*binding.buffer, access::BufferRead));
        }
        broken = broken || (m_state.indexBuffer && BufferNeeds(*m_state.indexBuffer, access::BufferRead));
        if (broken) {
            EndPass();
        }
    }
    if (!m_inPass) {
        BeginPass();
    } else {
        // Nothing has to wait, but everything has to be counted as used.
        for (unsigned stage = 0; (m_dirty & DirtyHazards) && stage < StageCompute; ++stage) {
            PrepareStage(static_cast<EStage>(stage));
        }
        if (m_dirty & (DirtyVertexBuffers | DirtyIndexBuffer)) {
            UseInputBuffers();
        }
    }
    m_dirty &= ~DirtyHazards;
}

// Clears of the targets' resources through other views come before the pass.
void Context::FlushForeignClears()
{
    const bool isForeign = std::any_of(m_clears.begin(), m_clears.end(), [&](const PendingClear& clear) {
        const ViewCore& view = clear.View();
        const auto touches = [&](const ViewCore* bound) { return bound && &bound->resource == &view.resource; };
        const auto is = [&](const ViewCore* bound) { return bound == &view; };
        const auto& targets = m_state.targets;
        const bool isTarget = std::any_of(targets.begin(), targets.end(), is) || is(m_state.depthTarget);
        return !isTarget && (std::any_of(targets.begin(), targets.end(), touches) || touches(m_state.depthTarget));
    });
    if (isForeign) {
        FlushClears();
    }
}

/// What vkCmdBeginRendering takes, with the size that all targets cover.
struct Context::PassInfo
{
    std::array<VkRenderingAttachmentInfo, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT> colors;
    VkRenderingAttachmentInfo depth{VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO};
    VkRenderingAttachmentInfo stencil{VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO};
    VkRenderingInfo info{VK_STRUCTURE_TYPE_RENDERING_INFO};
    VkExtent2D extent{~0u, ~0u};
    uint32_t layers = ~0u;

    void Include(const VkExtent2D& size, uint32_t count)
    {
        extent = {std::min(extent.width, size.width), std::min(extent.height, size.height)};
        layers = std::min(layers, count);
    }
};

void Context::AttachColors(PassInfo& pass)
{
    for (uint32_t i = 0; i < m_state.targets.size(); ++i) {
        VkRenderingAttachmentInfo& color = pass.colors[i];
        color = {VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO};
        RenderTargetView* view = m_state.targets[i];
        if (!view) {
            continue;
        }
        UseTexture(view->resource.AsTexture(), view->range, access::ColorTarget);
        view->resource.lastWrite = m_stream.Serial();
        view->MarkUsed(m_stream.Serial());
        pass.Include(view->extent, view->layers);
        color.imageView = view->image;
        color.imageLayout = access::ColorTarget.layout;
        color.loadOp = LoadOp(*view, VK_IMAGE_ASPECT_COLOR_BIT, color.clearValue);
        color.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
        pass.info.colorAttachmentCount = i + 1;
    }
    pass.info.pColorAttachments = pass.colors.data();
}

void Context::AttachDepth(PassInfo& pass)
{
    DepthStencilView* view = m_state.depthTarget;
    if (!view) {
        return;
    }
    UseTexture(view->resource.AsTexture(), view->range, DepthAccess(*view));
    view->resource.lastWrite = m_stream.Serial();
    view->MarkUsed(m_stream.Serial());
    pass.Include(view->extent, view->layers);
    pass.depth.imageView = view->image;
    pass.depth.imageLayout = DepthAccess(*view).layout;
    pass.depth.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
    pass.stencil = pass.depth;
    pass.depth.loadOp = LoadOp(*view, VK_IMAGE_ASPECT_DEPTH_BIT, pass.depth.clearValue);
    pass.stencil.loadOp = LoadOp(*view, VK_IMAGE_ASPECT_STENCIL_BIT, pass.stencil.clearValue);
    pass.info.pDepthAttachment = view->aspects & VK_IMAGE_ASPECT_DEPTH_BIT ? &pass.depth : nullptr;
    pass.info.pStencilAttachment = view->aspects & VK_IMAGE_ASPECT_STENCIL_BIT ? &pass.stencil : nullptr;
}

VkAttachmentLoadOp Context::LoadOp(const ViewCore& view, VkImageAspectFlags aspect, VkClearValue& value)
{
    return TakeClear(view, aspect, value) ? VK_ATTACHMENT_LOAD_OP_CLEAR : VK_ATTACHMENT_LOAD_OP_LOAD;
}

void Context::BeginPass()
{
    FlushForeignClears();
    for (unsigned stage = 0; stage < StageCompute; ++stage) {
        PrepareStage(static_cast<EStage>(stage));
    }
    UseInputBuffers();
    PassInfo pass;
    AttachColors(pass);
    AttachDepth(pass);
    if (pass.layers == ~0u) {
        // Without targets only shader writes and queries show; the viewport bounds what is rasterized.
        const D3D11_VIEWPORT& viewport = m_state.viewports[0];
        const auto limit = static_cast<float>(m_gpu.properties.limits.maxFramebufferWidth);
        pass.extent = {static_cast<uint32_t>(std::clamp(viewport.TopLeftX + viewport.Width, 1.0f, limit)),
                       static_cast<uint32_t>(std::clamp(viewport.TopLeftY + viewport.Height, 1.0f, limit))};
        pass.layers = 1;
    }
    pass.info.renderArea.extent = pass.extent;
    pass.info.layerCount = pass.layers;
    RecordBarriers();
    // A query lies within one pass or outside of all.
    m_queries.Close();
    m_vk.CmdBeginRendering(m_stream.Main(), &pass.info);
    m_queries.Open();
    m_inPass = true;
    m_passTargets = m_state.targets;
    m_passDepth = m_state.depthTarget;
    if (pass.extent.width != m_passExtent.width || pass.extent.height != m_passExtent.height) {
        m_passExtent = pass.extent;
        m_dirty |= DirtyScissors;
    }
    m_passLayers = pass.layers;
}

void Context::EndPass()
{
    if (!m_inPass) {
        return;
    }
    m_queries.Close();
    m_vk.CmdEndRendering(m_stream.Marks());
    m_inPass = false;
    // The next draw opens a pass again; bound state lives on in the command buffer.
    m_dirty |= DirtyTargets;
}

const ViewCore& Context::PendingClear::View() const
{
    return color ? static_cast<const ViewCore&>(*color) : static_cast<const ViewCore&>(*depth);
}

bool Context::ClearInPass(RenderTargetView* color, DepthStencilView* depth, VkImageAspectFlags aspects,
                          const VkClearValue& value)
{
    if (!m_inPass) {
        return false;
    }
    const VkExtent2D extent = color ? color->extent : depth->extent;
    const uint32_t layers = color ? color->layers : depth->layers;
    if (extent.width != m_passExtent.width || extent.height != m_passExtent.height || layers != m_passLayers) {
        return false;
    }
    VkClearAttachment clear{aspects, 0, value};
    if (color) {
        const auto found = std::find(m_passTargets.begin(), m_passTargets.end(), color);
        if (found == m_passTargets.end()) {
            return false;
        }
        clear.colorAttachment = static_cast<uint32_t>(found - m_passTargets.begin());
    } else if (depth != m_passDepth || depth->IsReadOnly()) {
        return false;
    }
    const VkClearRect rect{{{0, 0}, extent}, 0, layers};
    m_vk.CmdClearAttachments(m_stream.Main(), 1, &clear, 1, &rect);
    return true;
}

void Context::AddClear(RenderTargetView* color, DepthStencilView* depth, VkImageAspectFlags aspects,
                       const VkClearValue& value)
{
    if (ClearInPass(color, depth, aspects, value)) {
        return;
    }
    PendingClear clear{color, depth, aspects, value};
    Texture& texture = clear.View().resource.AsTexture();
    if (m_inPass && !CanGoAhead(texture)) {
        EndPass();
    }
    for (PendingClear& other : m_clears) {
        if (other.color == color && other.depth == depth && other.aspects == aspects) {
            other.value = value;
            return;
        }
    }
    if (texture.pendingClears > 0 && std::any_of(m_clears.begin(), m_clears.end(), [&](const PendingClear& other) {
            return &other.View() != &clear.View() && other.View().Overlaps(clear.View());
        })) {
        FlushClears();
    }
    ++texture.pendingClears;
    color ? color->AddUse() : depth->AddUse();
    m_clears.push_back(clear);
}

bool Context::TakeClear(const ViewCore& view, VkImageAspectFlags aspect, VkClearValue& value)
{
    for (std::size_t i = 0; i < m_clears.size(); ++i) {
        PendingClear& clear = m_clears[i];
        if (&clear.View() != &view || !(clear.aspects & aspect)) {
            continue;
        }
        value = clear.value;
        clear.aspects &= ~aspect;
        if (clear.aspects == 0) {
            DropClear(clear);
            m_clears.erase(m_clears.begin() + static_cast<std::ptrdiff_t>(i));
        }
        return true;
    }
    return false;
}

void Context::DropClear(PendingClear& clear)
{
    --clear.View().resource.AsTexture().pendingClears;
    clear.color ? clear.color->RemoveUse() : clear.depth->RemoveUse();
}

void Context::FlushClearsOf(Resource& resource)
{
    if (!resource.info.IsBuffer() && resource.AsTexture().pendingClears > 0) {
        FlushClears();
    }
}

void Context::FlushClears()
{
    if (m_clears.empty()) {
        return;
    }
    EndPass();
    std::vector<PendingClear> clears = std::exchange(m_clears, {});
    for (const PendingClear& clear : clears) {
        const ViewCore& view = clear.View();
        UseTexture(view.resource.AsTexture(), view.range, clear.color ? access::ColorTarget : access::DepthTarget);
        view.resource.lastWrite = m_stream.Serial();
    }
    RecordBarriers();
    for (PendingClear& clear : clears) {
        RecordClear(clear);
        DropClear(clear);
    }
    clears.clear();
    m_clears = std::move(clears);
}

void Context::RecordClear(const PendingClear& clear)
{
    VkRenderingAttachmentInfo attachment{VK_STRUCTURE_TYPE_RENDERING_ATTACHMENT_INFO};
    attachment.storeOp = VK_ATTACHMENT_STORE_OP_STORE;
    attachment.clearValue = clear.value;
    VkRenderingInfo info{VK_STRUCTURE_TYPE_RENDERING_INFO};
    VkRenderingAttachmentInfo kept{};
    if (RenderTargetView* view = clear.color) {
        view->MarkUsed(m_stream.Serial());
        attachment.imageView = view->image;
        attachment.imageLayout = access::ColorTarget.layout;
        attachment.loadOp = VK_ATTACHMENT_LOAD_OP_CLEAR;
        info.renderArea.extent = view->extent;
        info.layerCount = view->layers;
        info.colorAttachmentCount = 1;
        info.pColorAttachments = &attachment;
    } else {
        DepthStencilView* depth = clear.depth;
        depth->MarkUsed(m_stream.Serial());
        attachment.imageView = depth->image;
        attachment.imageLayout = access::DepthTarget.layout;
        kept = attachment;
        attachment.loadOp = VK_ATTACHMENT_LOAD_OP_CLEAR;
        kept.loadOp = VK_ATTACHMENT_LOAD_OP_LOAD;
        info.renderArea.extent = depth->extent;
        info.layerCount = depth->layers;
        const auto plane = [&](VkImageAspectFlags aspect) -> const VkRenderingAttachmentInfo* {
            if (!(depth->aspects & aspect)) {
                return nullptr;
            }
            return clear.aspects & aspect ? &attachment : &kept;
        };
        info.pDepthAttachment = plane(VK_IMAGE_ASPECT_DEPTH_BIT);
        info.pStencilAttachment = plane(VK_IMAGE_ASPECT_STENCIL_BIT);
    }
    m_queries.Close();
    const VkCommandBuffer commands = m_stream.Main();
    m_vk.CmdBeginRendering(commands, &info);
    m_vk.CmdEndRendering(commands);
}

void Context::ClearRenderTargetView(ID3D11RenderTargetView* object, const FLOAT color[4])
{
    auto* view = static_cast<RenderTargetView*>(object);
    if (!view || !color || m_gpu.IsLost()) {
        return;
    }
    try {
        AddClear(view, nullptr, VK_IMAGE_ASPECT_COLOR_BIT, ClearColor(*view, color));
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::ClearRenderTargetView");
    }
}

void Context::ClearDepthStencilView(ID3D11DepthStencilView* object, UINT flags, FLOAT depth, UINT8 stencil)
{
    auto* view = static_cast<DepthStencilView*>(object);
    if (!view || m_gpu.IsLost()) {
        return;
    }
    // Planes that the view cannot write stay as they are.
    VkImageAspectFlags aspects = 0;
    aspects |=
        (flags & D3D11_CLEAR_DEPTH) && !(view->desc.Flags & D3D11_DSV_READ_ONLY_DEPTH) ? VK_IMAGE_ASPECT_DEPTH_BIT : 0;
    aspects |= (flags & D3D11_CLEAR_STENCIL) && !(view->desc.Flags & D3D11_DSV_READ_ONLY_STENCIL)
                   ? VK_IMAGE_ASPECT_STENCIL_BIT
                   : 0;
    aspects &= view->aspects;
    if (aspects == 0) {
        return;
    }
    VkClearValue value{};
    value.depthStencil = {std::clamp(depth, 0.0f, 1.0f), stencil};
    try {
        // A clear of both planes waits as two, since each can become a load operation by itself.
        for (const VkImageAspectFlags aspect : {VK_IMAGE_ASPECT_DEPTH_BIT, VK_IMAGE_ASPECT_STENCIL_BIT}) {
            if (aspects & aspect) {
                AddClear(nullptr, view, aspect, value);
            }
        }
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::ClearDepthStencilView");
    }
}

} // namespace gleam
