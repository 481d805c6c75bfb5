// Buffers and textures of the null device: memory with the published rules around it.
#pragma once

#include <cstdlib>
#include <memory>
#include <vector>

#include "common/ComBase.h"
#include "common/Validation.h"

namespace gleam {

/// One subresource in memory. Pitches are in bytes; texture rows are padded, so that a reader which ignores the pitch
/// shows.
struct NullSubresource
{
    std::uint64_t offset = 0;
    UINT rowPitch = 0;
    UINT slicePitch = 0;
    bool isMapped = false;
};

/// The memory of a resource. Made on any thread; the contents belong to the context's thread.
class NullStorage
{
public:
    explicit NullStorage(const ResourceInfo& info) : m_info(info) {}
    NullStorage(const NullStorage&) = delete;
    NullStorage& operator=(const NullStorage&) = delete;

    /// Allocates zeroed memory and copies the initial data. E_OUTOFMEMORY when there is not enough, also for sizes
    /// that no address reaches.
    HRESULT Allocate(const D3D11_SUBRESOURCE_DATA* data);

    const ResourceInfo& Info() const { return m_info; }
    NullSubresource& Subresource(UINT index) { return m_subresources[index]; }
    std::byte* Data(UINT subresource) { return m_memory.get() + m_subresources[subresource].offset; }

    /// Writes a region, in texels (bytes of a buffer), from memory with the given pitches.
    void Write(UINT subresource, const CopyBox& region, const void* source, UINT rowPitch, UINT slicePitch);
    /// Copies a checked region of another resource, or of another subresource of this one.
    void CopyFrom(UINT subresource, UINT x, UINT y, UINT z, NullStorage& source, UINT sourceSubresource,
                  const CopyBox& region);
    /// Sets each texel of mip and slices to `texelBytes` bytes; for 3D textures slices are depth slices.
    void Fill(const ViewRange& range, const void* texel, UINT texelBytes);
    /// As Fill with four bytes per texel, changing only the bits of the mask.
    void FillMasked(const ViewRange& range, UINT value, UINT mask, UINT wordOfTexel, UINT wordsPerTexel);

    /// The device's own uses, through whichever interface the resource has.
    virtual void AddStorageUse() = 0;
    virtual void RemoveStorageUse() = 0;
    virtual ID3D11Resource* AsResource() = 0;

protected:
    virtual ~NullStorage() = default;

private:
    struct Free
    {
        void operator()(std::byte* memory) const { std::free(memory); }
    };

    /// Calls `row` for each row of texels in the range with its address.
    template <class Row>
    void ForEachRow(const ViewRange& range, Row row);

    const ResourceInfo m_info;
    std::unique_ptr<std::byte[], Free> m_memory;
    std::vector<NullSubresource> m_subresources;
};

/// A resource with its interface. `Desc` is the published description, with the number of mips settled.
template <class Interface, const IID& Iid, class Desc>
class NullResource final : public DeviceChild<Interface, IID_ID3D11Resource, Iid>, public NullStorage
{
public:
    NullResource(ID3D11Device* device, const ResourceInfo& info, const Desc& desc)
        : DeviceChild<Interface, IID_ID3D11Resource, Iid>(device), NullStorage(info), m_desc(desc)
    {
        if constexpr (requires { m_desc.MipLevels; }) {
            m_desc.MipLevels = info.mipLevels;
        }
    }

    void STDMETHODCALLTYPE GetType(D3D11_RESOURCE_DIMENSION* dimension) override { *dimension = Info().dimension; }
    void STDMETHODCALLTYPE SetEvictionPriority(UINT priority) override { m_priority = priority; }
    UINT STDMETHODCALLTYPE GetEvictionPriority() override { return m_priority; }
    void STDMETHODCALLTYPE GetDesc(Desc* desc) override { *desc = m_desc; }

    void AddStorageUse() override { this->AddUse(); }
    void RemoveStorageUse() override { this->RemoveUse(); }
    ID3D11Resource* AsResource() override { return this; }

private:
    ~NullResource() override = default;

    Desc m_desc;
    std::atomic<UINT> m_priority{DXGI_RESOURCE_PRIORITY_NORMAL};
};

using NullBuffer = NullResource<ID3D11Buffer, IID_ID3D11Buffer, D3D11_BUFFER_DESC>;
using NullTexture1D = NullResource<ID3D11Texture1D, IID_ID3D11Texture1D, D3D11_TEXTURE1D_DESC>;
using NullTexture2D = NullResource<ID3D11Texture2D, IID_ID3D11Texture2D, D3D11_TEXTURE2D_DESC>;
using NullTexture3D = NullResource<ID3D11Texture3D, IID_ID3D11Texture3D, D3D11_TEXTURE3D_DESC>;

/// The memory behind a resource of this device; null for null.
NullStorage* StorageOf(ID3D11Resource* resource);

} // namespace gleam
