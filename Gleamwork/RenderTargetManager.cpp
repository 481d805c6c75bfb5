// The named, shared render targets of a frame.
#include "Gleamwork/RenderTargetManager.h"

#include "Gleamwork/GWDataLoader.h"

#include <algorithm>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "RenderTargetManager.cpp";
constexpr const char* SAMPLE_NAME = "gw::RenderTargetManager";

constexpr ETextureUsageFlag USAGE_COLOR = eTextureUsageFlag_ShaderResource | eTextureUsageFlag_RenderTarget;
constexpr ETextureUsageFlag USAGE_DEPTH = eTextureUsageFlag_ShaderResource | eTextureUsageFlag_DepthStencil;
constexpr ETextureUsageFlag USAGE_PARTS = eTextureUsageFlag_ShaderResourceSlices |
                                          eTextureUsageFlag_ShaderResourceMips | eTextureUsageFlag_RenderTargetSlices |
                                          eTextureUsageFlag_RenderTargetMips;

ETextureUsageFlag GetResizingUsage(EFormat format, bool mipped)
{
    if (format == FORMAT_D24S8) {
        return mipped ? USAGE_PARTS | eTextureUsageFlag_DepthStencil : eTextureUsageFlag_DepthStencil;
    }
    const ETextureUsageFlag usage = USAGE_COLOR | eTextureUsageFlag_UnorderedAccess;
    return mipped ? usage | USAGE_PARTS : usage;
}

ETextureUsageFlag GetFixedUsage(bool cube)
{
    return cube ? USAGE_COLOR | eTextureUsageFlag_CubeMap | eTextureUsageFlag_ShaderResourceSlices |
                      eTextureUsageFlag_RenderTargetSlices
                : USAGE_COLOR;
}

// Truncates, to 0 for what is no number of texels.
unsigned Scaled(unsigned size, float scale)
{
    const float scaled = float(size) * scale;
    return scaled > 0.0f ? unsigned(std::min(scaled, 2147483520.0f)) : 0;
}

} // namespace

struct RenderTargetManager::Request
{
    EFormat format;
    unsigned width; ///< of a new target
    unsigned height;
    float scale;
    bool mipped;
    bool cube;
    bool screenSizeDependent;
    bool halfWidth;
    unsigned samples;
    ETextureUsageFlag usage;
    void (*check)(const TrackedRenderTarget& found, const Request& request);
};

namespace {

constexpr const char* ADD_RESIZING = "gw::RenderTargetManager::AddResizingRenderTarget";
constexpr const char* ADD_FIXED = "gw::RenderTargetManager::AddRenderTarget";

template <class Request, bool WithHalfWidth>
void CheckResizing(const TrackedRenderTarget& found, const Request& request)
{
    if (found.format != request.format) {
        QS_LOG_ASSERT(FILE_NAME, ADD_RESIZING, "Format of returned Render target does not match requested format!");
    }
    if (found.scale != request.scale || (WithHalfWidth && found.halfWidth != request.halfWidth)) {
        QS_LOG_ASSERT(FILE_NAME, ADD_RESIZING, "Scale of returned Render target does not match requested scale!");
    }
}

template <class Request>
void CheckFixed(const TrackedRenderTarget& found, const Request& request)
{
    if (found.format != request.format) {
        QS_LOG_ASSERT(FILE_NAME, ADD_FIXED, "Format of returned Render target does not match requested!");
    }
    if (found.width != request.width) {
        QS_LOG_ASSERT(FILE_NAME, ADD_FIXED, "Width of returned Render target does not match requested!");
    }
    if (found.height != request.height) {
        QS_LOG_ASSERT(FILE_NAME, ADD_FIXED, "Height of returned Render target does not match requested!");
    }
}

} // namespace

RenderTargetManager::RenderTargetManager(unsigned width, unsigned height, bool halfWidth)
    : m_width(width), m_height(height), m_halfWidth(halfWidth)
{
}

RenderTargetManager::~RenderTargetManager() = default;

qs::ObjectHandle* RenderTargetManager::AddResizingRenderTarget(const qs::FixedString& name, EFormat format, float scale,
                                                               bool mipped, bool halfWidth, int samples)
{
    Request request{format,
                    0,
                    0,
                    scale,
                    mipped,
                    false,
                    true,
                    halfWidth,
                    unsigned(samples),
                    GetResizingUsage(format, mipped),
                    CheckResizing<Request, false>};
    CalculateSize(scale, halfWidth, request.width, request.height);
    return Add(name, request);
}

qs::ObjectHandle* RenderTargetManager::AddRenderTarget(const qs::FixedString& name, EFormat format, unsigned width,
                                                       unsigned height, bool cube, int samples)
{
    return Add(name, {format, width, height, 1.0f, false, cube, false, false, unsigned(samples), GetFixedUsage(cube),
                      CheckFixed<Request>});
}

qs::ObjectHandle* RenderTargetManager::AddResizingDepthRenderTarget(const qs::FixedString& name, EFormat format,
                                                                    float scale, bool halfWidth, int samples)
{
    Request request{format,
                    0,
                    0,
                    scale,
                    false,
                    false,
                    true,
                    halfWidth,
                    unsigned(samples),
                    USAGE_DEPTH,
                    CheckResizing<Request, true>};
    CalculateSize(scale, halfWidth, request.width, request.height);
    return Add(name, request);
}

qs::ObjectHandle* RenderTargetManager::AddDepthRenderTarget(const qs::FixedString& name, EFormat format, unsigned width,
                                                            unsigned height, bool cube, int samples)
{
    const ETextureUsageFlag usage = cube ? USAGE_DEPTH | eTextureUsageFlag_CubeMap : USAGE_DEPTH;
    return Add(name,
               {format, width, height, 1.0f, false, cube, false, false, unsigned(samples), usage, CheckFixed<Request>});
}

qs::ObjectHandle* RenderTargetManager::Add(const qs::FixedString& name, const Request& request)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    TrackedRenderTarget* target = Find(name);
    if (target) {
        ++target->refCount;
        request.check(*target, request);
    } else {
        const qs::ObjectHandle handle = DataLoader::InvokeAddTextureFromMemory(
            nullptr, request.format, request.width, request.height, 0, request.mipped ? 0 : 1, nullptr, 1,
            request.samples, request.usage, eTextureAccessFlag_GPURead | eTextureAccessFlag_GPUWrite);
        target = new TrackedRenderTarget{handle,
                                         request.format,
                                         request.width,
                                         request.height,
                                         request.scale,
                                         request.mipped,
                                         request.cube,
                                         request.screenSizeDependent,
                                         request.halfWidth,
                                         1};
        m_targets.SetAt(name, target);
    }
    if (target->handle == qs::ObjectHandle::Unassigned) {
        QS_LOG_ERROR(FILE_NAME, "gw::RenderTargetManager::Add", "Add Render Target returning nullptr!");
        RemoveRenderTarget(name);
        return nullptr;
    }
    return &target->handle;
}

bool RenderTargetManager::RemoveRenderTarget(const qs::FixedString& name)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    TrackedRenderTarget* target = Find(name);
    if (!target) {
        return false;
    }
    if (target->refCount <= 0) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderTargetManager::RemoveRenderTarget",
                      "[RenderTargetManager] Rendertarget (%s) refcount going negative?", name.ToChar());
    }
    if (target->refCount-- != 1) {
        return false;
    }
    DataLoader::InvokeRemoveTexture(target->handle, false);
    delete target;
    m_targets.RemoveKey(name);
    return true;
}

qs::ObjectHandle* RenderTargetManager::GetRenderTarget(const qs::FixedString& name)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    TrackedRenderTarget* target = Find(name);
    if (!target) {
        QS_LOG_ERROR(FILE_NAME, "gw::RenderTargetManager::GetRenderTarget", "Render Target not found");
        return nullptr;
    }
    return &target->handle;
}

bool RenderTargetManager::ResizeRenderTarget(const qs::FixedString& name, unsigned short width, unsigned short height)
{
    constexpr const char* FUNCTION = "gw::RenderTargetManager::ResizeRenderTarget";
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    TrackedRenderTarget* target = Find(name);
    if (!target) {
        return false;
    }
    if (target->screenSizeDependent) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Resizing screen size dependent render target not allowed");
        return false;
    }
    if (target->halfWidth) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Fixed width render target cannot have half width flag.");
    }
    if (width == 0 || height == 0 || (width == target->width && height == target->height)) {
        return false;
    }
    target->width = width;
    target->height = height;
    DataLoader::InvokeResizeRenderTarget(target->handle, width, height, 0, 1);
    return true;
}

void RenderTargetManager::GetSize(unsigned& width, unsigned& height) const
{
    width = m_width;
    height = m_height;
}

void RenderTargetManager::SetSize(unsigned width, unsigned height, bool halfWidth)
{
    if (width == m_width && height == m_height && halfWidth == m_halfWidth) {
        return;
    }
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    m_width = width;
    m_height = height;
    m_halfWidth = halfWidth;
    UpdateResizingRenderTargets();
}

std::uint64_t RenderTargetManager::GetRefCount(const qs::FixedString& name) const
{
    const TrackedRenderTarget* target = Find(name);
    return target ? std::uint64_t(target->refCount) : 0;
}

TrackedRenderTarget* RenderTargetManager::Find(const qs::FixedString& name) const
{
    const auto* node = m_targets.Lookup(name);
    return node ? node->value : nullptr;
}

void RenderTargetManager::CalculateSize(float scale, bool halfWidth, unsigned& width, unsigned& height) const
{
    const bool half = m_halfWidth && halfWidth;
    width = std::max(Scaled(m_width, scale), half ? 2u : 1u) >> (half ? 1 : 0);
    height = std::max(Scaled(m_height, scale), 1u);
}

void RenderTargetManager::UpdateResizingRenderTargets()
{
    for (auto& node : m_targets) {
        TrackedRenderTarget& target = *node.value;
        if (target.screenSizeDependent) {
            CalculateSize(target.scale, target.halfWidth, target.width, target.height);
            DataLoader::InvokeResizeRenderTarget(target.handle, int(target.width), int(target.height), 0, 1);
        }
    }
}

} // namespace gw
