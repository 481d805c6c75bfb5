// Device memory and slices: pieces never overlap, come back, and stay within bounds.
#include <algorithm>
#include <map>
#include <random>

#include "DeviceKit.h"
#include "vulkan/Device.h"

class MemoryRules : public DeviceTest
{
protected:
    gleam::Gpu& Gpu() { return static_cast<gleam::VulkanDevice*>(device.Get())->gpu; }
};

TEST_F(MemoryRules, PiecesAreApartAlignedAndReused)
{
    gleam::MemoryAllocator& memory = Gpu().memory;
    const VkDeviceSize before = memory.ReservedBytes();
    std::mt19937 random(7);
    std::vector<gleam::Allocation> live;
    for (int round = 0; round < 3000; ++round) {
        if (live.size() < 200 && random() % 5 != 0) {
            VkMemoryRequirements need{};
            need.size = 1 + random() % (round % 50 == 0 ? 3u << 20 : 20000u);
            need.alignment = VkDeviceSize(1) << random() % 13;
            need.memoryTypeBits = ~0u;
            live.push_back(memory.Allocate(need, gleam::EMemoryUse::Device, gleam::EMemoryKind::Image));
            EXPECT_EQ(0u, live.back().offset % need.alignment);
        } else if (!live.empty()) {
            std::swap(live[random() % live.size()], live.back());
            memory.Free(live.back());
            live.pop_back();
        }
    }
    std::map<std::pair<VkDeviceMemory, VkDeviceSize>, VkDeviceSize> places;
    for (const gleam::Allocation& piece : live) {
        places[{piece.memory, piece.offset}] = piece.offset + piece.size;
    }
    EXPECT_EQ(live.size(), places.size());
    for (auto it = places.begin(), next = std::next(it); next != places.end(); it = next++) {
        if (it->first.first == next->first.first) {
            ASSERT_LE(it->second, next->first.second);
        }
    }
    for (const gleam::Allocation& piece : live) {
        memory.Free(piece);
    }
    EXPECT_LE(memory.ReservedBytes() - before, 64u << 20) << "empty blocks beyond the kept ones go";
    // A whole block fits again once all its pieces are back: neighbours have merged.
    VkMemoryRequirements whole{32u << 20, 4096, ~0u};
    const VkDeviceSize reserved = memory.ReservedBytes();
    const gleam::Allocation large = memory.Allocate(whole, gleam::EMemoryUse::Device, gleam::EMemoryKind::Image);
    EXPECT_EQ(reserved, memory.ReservedBytes());
    memory.Free(large);
    whole.size = VkDeviceSize(1) << 42;
    EXPECT_THROW(memory.Allocate(whole, gleam::EMemoryUse::Device, gleam::EMemoryKind::Image), gleam::VulkanError);
}

TEST_F(MemoryRules, SlicesHoldWhatIsAskedAndNeverMeet)
{
    using gleam::SlicePool;
    for (VkDeviceSize size = 1; size <= SlicePool::LargestClass; size += 1 + size / 7) {
        const uint32_t sizeClass = SlicePool::ClassOf(size);
        ASSERT_LT(sizeClass, SlicePool::ClassCount);
        ASSERT_GE(SlicePool::ClassSize(sizeClass), size);
        ASSERT_TRUE(sizeClass == 0 || SlicePool::ClassSize(sizeClass - 1) < size) << "a smaller class would do";
        ASSERT_EQ(0u, SlicePool::ClassSize(sizeClass) % SlicePool::Alignment);
    }
    SlicePool& pool = Gpu().slices;
    std::vector<gleam::Slice> slices;
    for (const VkDeviceSize size : {1u, 256u, 300u, 5000u, 65536u, 65537u, 3u << 20}) {
        for (int i = 0; i < 40; ++i) {
            slices.push_back(pool.Acquire(size));
            ASSERT_GE(slices.back().size, size);
            std::memset(slices.back().mapped, static_cast<int>(slices.size()), size);
        }
    }
    pool.AcquireMany(300, 25, slices);
    EXPECT_EQ(7u * 40 + 25, slices.size());
    std::sort(slices.begin(), slices.end(), [](const auto& a, const auto& b) { return a.mapped < b.mapped; });
    for (std::size_t i = 1; i < slices.size(); ++i) {
        ASSERT_LE(slices[i - 1].mapped + slices[i - 1].size, slices[i].mapped);
    }
    pool.Release(slices.data(), slices.size());
    const VkDeviceSize reserved = Gpu().memory.ReservedBytes();
    slices.clear();
    for (int i = 0; i < 20; ++i) {
        slices.push_back(pool.Acquire(3u << 20));
    }
    EXPECT_LE(Gpu().memory.ReservedBytes(), reserved) << "idle slices are taken first";
    pool.Release(slices.data(), slices.size());
}

TEST_F(MemoryRules, SteadyFramesTakeNoMoreMemory)
{
    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 64, 64);
    const auto target = Target(texture.Get());
    const auto shader =
        Pixel("cbuffer C { float4 c; } Texture2D t; float4 main() : SV_Target { return c + t.Load(0); }");
    const auto constants = Buffer(256, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DYNAMIC);
    ID3D11Buffer* buffers[] = {constants.Get()};
    VkDeviceSize settled = 0;
    for (int frame = 0; frame < 40; ++frame) {
        SetTarget(target.Get(), 64, 64);
        context->PSSetConstantBuffers(0, 1, buffers);
        const Words pixels(64 * 64, Rgba(1, 2, 3));
        const D3D11_SUBRESOURCE_DATA data{pixels.data(), 256, 0};
        const auto view = View(Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 64, 64, {.data = &data}).Get());
        ID3D11ShaderResourceView* views[] = {view.Get()};
        context->PSSetShaderResources(0, 1, views);
        for (int draw = 0; draw < 200; ++draw) {
            D3D11_MAPPED_SUBRESOURCE mapped;
            ASSERT_EQ(S_OK, context->Map(constants.Get(), 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped));
            std::memset(mapped.pData, 0, 256);
            context->Unmap(constants.Get(), 0);
            Fill(shader.Get());
        }
        context->Flush();
        settled = frame == 12 ? Gpu().memory.ReservedBytes() : settled;
    }
    EXPECT_EQ(settled, Gpu().memory.ReservedBytes());
    EXPECT_EQ(Rgba(1, 2, 3), ReadColor(texture.Get()));
}

TEST_F(MemoryRules, LargeBacklogsOfFirstContentsGoOnTheirOwn)
{
    // More than the queue holds, without any context call in between.
    std::vector<ComPtr<ID3D11Texture2D>> textures;
    for (unsigned i = 0; i < 24; ++i) {
        const Words pixels(1024 * 1024, i + 1);
        const D3D11_SUBRESOURCE_DATA data{pixels.data(), 4096, 0};
        textures.push_back(Texture(DXGI_FORMAT_R32_UINT, 1024, 1024, {.data = &data}));
    }
    for (unsigned i = 0; i < 24; i += 5) {
        EXPECT_EQ(i + 1, ReadColor(textures[i].Get()));
    }
}
