// The kinds of calls that the null device counts, and their counters.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace gleam {

#define GLEAM_NULL_CALLS(X)                                                                                            \
    X(CreateBuffer)                                                                                                    \
    X(CreateTexture1D)                                                                                                 \
    X(CreateTexture2D)                                                                                                 \
    X(CreateTexture3D)                                                                                                 \
    X(CreateShaderResourceView)                                                                                        \
    X(CreateUnorderedAccessView)                                                                                       \
    X(CreateRenderTargetView)                                                                                          \
    X(CreateDepthStencilView)                                                                                          \
    X(CreateInputLayout)                                                                                               \
    X(CreateVertexShader)                                                                                              \
    X(CreateGeometryShader)                                                                                            \
    X(CreatePixelShader)                                                                                               \
    X(CreateHullShader)                                                                                                \
    X(CreateDomainShader)                                                                                              \
    X(CreateComputeShader)                                                                                             \
    X(CreateBlendState)                                                                                                \
    X(CreateDepthStencilState)                                                                                         \
    X(CreateRasterizerState)                                                                                           \
    X(CreateSamplerState)                                                                                              \
    X(CreateQuery)                                                                                                     \
    X(CheckFormatSupport)                                                                                              \
    X(CheckMultisampleQualityLevels)                                                                                   \
    X(CheckFeatureSupport)                                                                                             \
    X(VSSetShader)                                                                                                     \
    X(VSSetConstantBuffers)                                                                                            \
    X(VSSetShaderResources)                                                                                            \
    X(VSSetSamplers)                                                                                                   \
    X(HSSetShader)                                                                                                     \
    X(HSSetConstantBuffers)                                                                                            \
    X(HSSetShaderResources)                                                                                            \
    X(HSSetSamplers)                                                                                                   \
    X(DSSetShader)                                                                                                     \
    X(DSSetConstantBuffers)                                                                                            \
    X(DSSetShaderResources)                                                                                            \
    X(DSSetSamplers)                                                                                                   \
    X(GSSetShader)                                                                                                     \
    X(GSSetConstantBuffers)                                                                                            \
    X(GSSetShaderResources)                                                                                            \
    X(GSSetSamplers)                                                                                                   \
    X(PSSetShader)                                                                                                     \
    X(PSSetConstantBuffers)                                                                                            \
    X(PSSetShaderResources)                                                                                            \
    X(PSSetSamplers)                                                                                                   \
    X(CSSetShader)                                                                                                     \
    X(CSSetConstantBuffers)                                                                                            \
    X(CSSetShaderResources)                                                                                            \
    X(CSSetSamplers)                                                                                                   \
    X(CSSetUnorderedAccessViews)                                                                                       \
    X(IASetInputLayout)                                                                                                \
    X(IASetVertexBuffers)                                                                                              \
    X(IASetIndexBuffer)                                                                                                \
    X(IASetPrimitiveTopology)                                                                                          \
    X(RSSetState)                                                                                                      \
    X(RSSetViewports)                                                                                                  \
    X(RSSetScissorRects)                                                                                               \
    X(OMSetBlendState)                                                                                                 \
    X(OMSetDepthStencilState)                                                                                          \
    X(OMSetRenderTargets)                                                                                              \
    X(OMSetRenderTargetsAndUnorderedAccessViews)                                                                       \
    X(Draw)                                                                                                            \
    X(DrawIndexed)                                                                                                     \
    X(DrawInstanced)                                                                                                   \
    X(DrawIndexedInstanced)                                                                                            \
    X(DrawInstancedIndirect)                                                                                           \
    X(DrawIndexedInstancedIndirect)                                                                                    \
    X(Dispatch)                                                                                                        \
    X(DispatchIndirect)                                                                                                \
    X(Map)                                                                                                             \
    X(Unmap)                                                                                                           \
    X(UpdateSubresource)                                                                                               \
    X(CopySubresourceRegion)                                                                                           \
    X(CopyResource)                                                                                                    \
    X(CopyStructureCount)                                                                                              \
    X(ResolveSubresource)                                                                                              \
    X(GenerateMips)                                                                                                    \
    X(ClearRenderTargetView)                                                                                           \
    X(ClearDepthStencilView)                                                                                           \
    X(ClearUnorderedAccessViewUint)                                                                                    \
    X(ClearUnorderedAccessViewFloat)                                                                                   \
    X(Begin)                                                                                                           \
    X(End)                                                                                                             \
    X(GetData)                                                                                                         \
    X(ClearState)                                                                                                      \
    X(Flush)                                                                                                           \
    X(BeginEvent)                                                                                                      \
    X(EndEvent)                                                                                                        \
    X(SetMarker)                                                                                                       \
    X(Present)

enum class ENullCall
{
#define GLEAM_NULL_CALL(name) name,
    GLEAM_NULL_CALLS(GLEAM_NULL_CALL)
#undef GLEAM_NULL_CALL
        Count
};

/// The counters of one device. They join the process's sum while they live and leave their counts in it.
class NullCallCounts
{
public:
    NullCallCounts();
    ~NullCallCounts();
    NullCallCounts(const NullCallCounts&) = delete;
    NullCallCounts& operator=(const NullCallCounts&) = delete;

    /// For calls that belong to one thread: no bus lock.
    void Count(ENullCall call)
    {
        std::atomic<std::uint64_t>& counter = m_counts[static_cast<size_t>(call)];
        counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }
    /// For calls from any thread.
    void CountShared(ENullCall call) { m_counts[static_cast<size_t>(call)].fetch_add(1, std::memory_order_relaxed); }

    std::uint64_t Of(size_t kind) const { return m_counts[kind].load(std::memory_order_relaxed); }
    void Reset();

private:
    void WriteDebugLines() const;

    std::array<std::atomic<std::uint64_t>, static_cast<size_t>(ENullCall::Count)> m_counts{};
};

} // namespace gleam
