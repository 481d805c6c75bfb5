// The named, shared, reference-counted render targets of a frame.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/image/Format.h"

#include <cstdint>
#include <qs/FixedString.h>
#include <qs/FixedStringMap.h>
#include <qs/Memory.h>
#include <qs/ObjectHandle.h>

namespace gw {

/// One target. It stays at its address while it has a holder, and its handle stays the same when it is resized.
struct TrackedRenderTarget
{
    QS_DECLARE_ALLOC(gw::TrackedRenderTarget)

    qs::ObjectHandle handle; ///< first, so that the address of the record is the one that holders keep
    EFormat format = FORMAT_NONE;
    std::uint32_t width = 0;          ///< texels, as they are now
    std::uint32_t height = 0;         ///< texels, as they are now
    float scale = 1.0f;               ///< share of the manager's size; 1 for a fixed size
    bool mipped = false;              ///< with a full mip chain
    bool cube = false;                ///< a cube map
    bool screenSizeDependent = false; ///< the size follows the manager's
    bool halfWidth = false;           ///< asked for at half width
    std::int64_t refCount = 0;        ///< holders
};

/// Gives stages the targets they name: who asks first has one made, who asks for the same name later shares it. Targets
/// made with a scale follow the frame's size.
///
/// Each Add gives the address of a handle, or null when the texture could not be made. The address is good until the
/// matching RemoveRenderTarget, so that a stage keeps it for its life. A request that does not fit the target of its
/// name asserts, once for each difference, and gets that target all the same.
///
/// Threads: no lock, so one thread at a time. Workers may read handles through the addresses they keep meanwhile.
/// Textures are made on the calling thread; resizes and removals go through the data loader's queues.
/// All targets must be removed before the manager is destroyed.
class GW_API RenderTargetManager
{
public:
    QS_DECLARE_ALLOC(gw::RenderTargetManager)

    /// Scales refer to this size, in texels. With `halfWidth` the targets that ask for it have half their width
    /// (checkerboard rendering).
    RenderTargetManager(unsigned width, unsigned height, bool halfWidth);
    RenderTargetManager(const RenderTargetManager&) = delete;
    RenderTargetManager& operator=(const RenderTargetManager&) = delete;
    virtual ~RenderTargetManager();

    /// A target of `scale` times the manager's size that can be drawn into, read and written by shaders; with `mipped`
    /// its slices and mips have views of their own. `samples` is the multisample count.
    qs::ObjectHandle* AddResizingRenderTarget(const qs::FixedString& name, EFormat format, float scale, bool mipped,
                                              bool halfWidth, int samples);
    /// A target of a fixed size, or a cube map whose faces can be drawn into one by one.
    qs::ObjectHandle* AddRenderTarget(const qs::FixedString& name, EFormat format, unsigned width, unsigned height,
                                      bool cube, int samples);
    /// The same two as depth buffers that shaders can read.
    qs::ObjectHandle* AddResizingDepthRenderTarget(const qs::FixedString& name, EFormat format, float scale,
                                                   bool halfWidth, int samples);
    qs::ObjectHandle* AddDepthRenderTarget(const qs::FixedString& name, EFormat format, unsigned width, unsigned height,
                                           bool cube, int samples);
    /// Gives one reference back. True when it was the last and the target is gone; false also for an unknown name.
    bool RemoveRenderTarget(const qs::FixedString& name);
    /// The target without a reference, good as long as someone holds one. An unknown name logs an error and gives null.
    qs::ObjectHandle* GetRenderTarget(const qs::FixedString& name);
    /// For targets of fixed size. True when a resize was ordered: not for a size of 0, the size it has, an unknown
    /// name, and, with an error logged, a target that follows the manager's size.
    bool ResizeRenderTarget(const qs::FixedString& name, unsigned short width, unsigned short height);

    void GetSize(unsigned& width, unsigned& height) const;
    /// Orders a resize of all targets that follow the size, unless nothing changes.
    void SetSize(unsigned width, unsigned height, bool halfWidth);
    /// 0 for an unknown name.
    std::uint64_t GetRefCount(const qs::FixedString& name) const;
    bool IsUsingCheckerboard() const { return m_halfWidth; }

private:
    struct Request;
    qs::ObjectHandle* Add(const qs::FixedString& name, const Request& request);
    TrackedRenderTarget* Find(const qs::FixedString& name) const;
    /// At least 1 by 1; the width is halved behind a floor of 2 when both the manager and the target say so.
    void CalculateSize(float scale, bool halfWidth, unsigned& width, unsigned& height) const;
    void UpdateResizingRenderTargets();

    qs::FixedStringMap<TrackedRenderTarget*> m_targets{37};
    unsigned m_width;
    unsigned m_height;
    bool m_halfWidth;
};

} // namespace gw
