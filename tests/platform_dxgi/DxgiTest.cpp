// Factories, adapters, outputs and modes, on the virtual display so that every machine gives the same.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <thread>

#include "Support.h"
#include "dxgi/Adapters.h"
#include "dxgi/Modes.h"
#include "dxgi1_6.h"
#include "null/NullDevice.h"

namespace gleam {
namespace {

using test::DebugCapture;
using test::Environment;
using test::RefCount;

class Dxgi : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(CreateDXGIFactory1(IID_IDXGIFactory2, m_factory.PutVoid()), S_OK);
        ASSERT_EQ(m_factory->EnumAdapters1(0, m_adapter.Put()), S_OK);
        ASSERT_EQ(m_adapter->EnumOutputs(0, m_output.Put()), S_OK);
    }

    Environment m_display{"GLEAM_DEBUG", "markers,virtual-output"};
    Environment m_device{"GLEAM_DEVICE", "null"};
    ComPtr<IDXGIFactory2> m_factory;
    ComPtr<IDXGIAdapter1> m_adapter;
    ComPtr<IDXGIOutput> m_output;
};

/// Every interface of the line is the same object, and asking for it counts exactly once.
void ExpectLine(IUnknown* object, std::initializer_list<const GUID*> iids)
{
    ComPtr<IUnknown> identity;
    ASSERT_EQ(object->QueryInterface(IID_IUnknown, identity.PutVoid()), S_OK);
    const ULONG before = RefCount(object);
    for (const GUID* iid : iids) {
        ComPtr<IUnknown> found;
        ComPtr<IUnknown> foundIdentity;
        ASSERT_EQ(object->QueryInterface(*iid, found.PutVoid()), S_OK);
        EXPECT_EQ(RefCount(object), before + 1);
        ASSERT_EQ(found->QueryInterface(IID_IUnknown, foundIdentity.PutVoid()), S_OK);
        EXPECT_EQ(foundIdentity.Get(), identity.Get());
    }
    EXPECT_EQ(RefCount(object), before);
    void* none = &none;
    EXPECT_EQ(object->QueryInterface(IID_IDXGISurface, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(object->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(RefCount(object), before);
}

TEST_F(Dxgi, InterfaceLines)
{
    ExpectLine(m_factory.Get(), {&IID_IDXGIObject, &IID_IDXGIFactory, &IID_IDXGIFactory1, &IID_IDXGIFactory2,
                                 &IID_IDXGIFactory3, &IID_IDXGIFactory4, &IID_IDXGIFactory5});
    ExpectLine(m_adapter.Get(), {&IID_IDXGIObject, &IID_IDXGIAdapter, &IID_IDXGIAdapter1});
    ExpectLine(m_output.Get(), {&IID_IDXGIObject, &IID_IDXGIOutput, &IID_IDXGIOutput1, &IID_IDXGIOutput2,
                                &IID_IDXGIOutput3, &IID_IDXGIOutput4, &IID_IDXGIOutput5, &IID_IDXGIOutput6});
}

TEST_F(Dxgi, ParentsLiveAsLongAsTheirChildren)
{
    EXPECT_EQ(RefCount(m_factory.Get()), 2u);
    EXPECT_EQ(RefCount(m_adapter.Get()), 2u);
    ComPtr<IDXGIFactory5> parent;
    ASSERT_EQ(m_adapter->GetParent(IID_IDXGIFactory5, parent.PutVoid()), S_OK);
    EXPECT_EQ(RefCount(m_factory.Get()), 3u);
    parent = nullptr;
    m_adapter = nullptr;
    EXPECT_EQ(RefCount(m_factory.Get()), 2u) << "the output holds the adapter, which holds the factory";
    ComPtr<IDXGIAdapter> adapter;
    ASSERT_EQ(m_output->GetParent(IID_IDXGIAdapter, adapter.PutVoid()), S_OK);
    adapter = nullptr;
    m_output = nullptr;
    EXPECT_EQ(RefCount(m_factory.Get()), 1u);
    void* none = &none;
    EXPECT_EQ(m_factory->GetParent(IID_IDXGIFactory, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
}

TEST_F(Dxgi, ListsEndWithNotFound)
{
    ComPtr<IDXGIAdapter> adapter;
    EXPECT_EQ(m_factory->EnumAdapters(1, adapter.Put()), DXGI_ERROR_NOT_FOUND);
    EXPECT_FALSE(adapter);
    ComPtr<IDXGIOutput> output;
    EXPECT_EQ(m_adapter->EnumOutputs(1, output.Put()), DXGI_ERROR_NOT_FOUND);
    DebugCapture capture;
    EXPECT_EQ(m_factory->EnumAdapters(0, nullptr), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(capture.Lines().size(), 1u);

    DXGI_ADAPTER_DESC1 desc;
    ASSERT_EQ(m_adapter->GetDesc1(&desc), S_OK);
    EXPECT_STREQ(desc.Description, L"Null device");
    ComPtr<IDXGIFactory4> factory;
    ASSERT_EQ(m_factory->QueryInterface(IID_IDXGIFactory4, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->EnumAdapterByLuid(desc.AdapterLuid, IID_IDXGIAdapter, adapter.PutVoid()), S_OK);
    EXPECT_EQ(factory->EnumAdapterByLuid({77, 77}, IID_IDXGIAdapter, adapter.PutVoid()), DXGI_ERROR_NOT_FOUND);
    EXPECT_EQ(factory->EnumWarpAdapter(IID_IDXGIAdapter1, adapter.PutVoid()), S_OK);
    EXPECT_TRUE(m_factory->IsCurrent());
}

TEST_F(Dxgi, VirtualOutput)
{
    DXGI_OUTPUT_DESC desc;
    ASSERT_EQ(m_output->GetDesc(&desc), S_OK);
    EXPECT_STREQ(desc.DeviceName, L"\\\\.\\DISPLAY1");
    EXPECT_EQ(desc.DesktopCoordinates.right - desc.DesktopCoordinates.left, 1920);
    EXPECT_EQ(desc.DesktopCoordinates.bottom - desc.DesktopCoordinates.top, 1080);
    EXPECT_TRUE(desc.AttachedToDesktop);
    ComPtr<IDXGIOutput6> output;
    ASSERT_EQ(m_output->QueryInterface(IID_IDXGIOutput6, output.PutVoid()), S_OK);
    DXGI_OUTPUT_DESC1 desc1;
    ASSERT_EQ(output->GetDesc1(&desc1), S_OK);
    EXPECT_EQ(desc1.ColorSpace, DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709);
    EXPECT_STREQ(desc1.DeviceName, desc.DeviceName);
    UINT flags = 1;
    EXPECT_EQ(output->CheckOverlaySupport(DXGI_FORMAT_R8G8B8A8_UNORM, nullptr, &flags), S_OK);
    EXPECT_EQ(flags, 0u);
}

TEST_F(Dxgi, ModeListTwoCallPattern)
{
    constexpr auto format = DXGI_FORMAT_B8G8R8A8_UNORM;
    UINT count = 0;
    ASSERT_EQ(m_output->GetDisplayModeList(format, 0, &count, nullptr), S_OK);
    ASSERT_GT(count, 5u);
    std::vector<DXGI_MODE_DESC> modes(count + 1, DXGI_MODE_DESC{});
    UINT room = count + 1;
    ASSERT_EQ(m_output->GetDisplayModeList(format, 0, &room, modes.data()), S_OK);
    EXPECT_EQ(room, count);
    for (UINT i = 0; i < count; ++i) {
        EXPECT_EQ(modes[i].Scaling, DXGI_MODE_SCALING_UNSPECIFIED);
        EXPECT_EQ(modes[i].Format, format);
        EXPECT_EQ(modes[i].RefreshRate.Numerator / modes[i].RefreshRate.Denominator, 60u);
        EXPECT_TRUE(i == 0 || modes[i - 1].Width < modes[i].Width || modes[i - 1].Height < modes[i].Height);
    }
    EXPECT_EQ(modes[count - 1].Width, 1920u);
    room = 2;
    modes.assign(3, DXGI_MODE_DESC{});
    EXPECT_EQ(m_output->GetDisplayModeList(format, 0, &room, modes.data()), DXGI_ERROR_MORE_DATA);
    EXPECT_EQ(room, 2u);
    EXPECT_NE(modes[1].Width, 0u);
    EXPECT_EQ(modes[2].Width, 0u);
    EXPECT_EQ(m_output->GetDisplayModeList(DXGI_FORMAT_BC1_UNORM, 0, &room, nullptr), S_OK);
    EXPECT_EQ(room, 0u);
    EXPECT_EQ(m_output->GetDisplayModeList(format, 0, nullptr, nullptr), DXGI_ERROR_INVALID_CALL);
    // All but the desktop's own mode have two scaled forms.
    UINT scaled = 0;
    EXPECT_EQ(m_output->GetDisplayModeList(format, DXGI_ENUM_MODES_SCALING, &scaled, nullptr), S_OK);
    EXPECT_EQ(scaled, 3 * count - 2);
}

DisplayInfo TwoRates()
{
    DisplayInfo display;
    display.sdlIndex = 0;
    display.current = {1920, 1080, 144};
    display.modes = {{1280, 720, 30}, {1280, 720, 60}, {1280, 1024, 75}, {1920, 1080, 60}, {1920, 1080, 144}};
    return display;
}

struct ModeCase
{
    const char* name;
    DXGI_MODE_DESC1 wanted;
    bool hasDevice;
    HRESULT result;
    UINT width = 0;
    UINT rate = 0;
};

class ClosestMode : public testing::TestWithParam<ModeCase>
{
};

TEST_P(ClosestMode, FollowsTheOrderOfFields)
{
    const ModeCase& param = GetParam();
    DXGI_MODE_DESC1 found{};
    ASSERT_EQ(FindClosestMode(TwoRates(), &param.wanted, &found, param.hasDevice), param.result);
    if (SUCCEEDED(param.result)) {
        EXPECT_EQ(found.Width, param.width);
        EXPECT_EQ(found.RefreshRate.Numerator, param.rate);
        EXPECT_NE(found.Format, DXGI_FORMAT_UNKNOWN);
        EXPECT_EQ(found.Scaling, param.wanted.Scaling);
    }
}

constexpr auto Bgra = DXGI_FORMAT_B8G8R8A8_UNORM;

DXGI_MODE_DESC1 Mode(UINT width, UINT height, UINT numerator, UINT denominator, DXGI_FORMAT format = Bgra,
                     DXGI_MODE_SCALING scaling = DXGI_MODE_SCALING_UNSPECIFIED)
{
    return {width, height, {numerator, denominator}, format, DXGI_MODE_SCANLINE_ORDER_UNSPECIFIED, scaling, FALSE};
}

INSTANTIATE_TEST_SUITE_P(
    , ClosestMode,
    testing::ValuesIn(std::vector<ModeCase>{
        {"NothingGivenIsTheDesktop", Mode(0, 0, 0, 0), false, S_OK, 1920, 144},
        {"SizeAloneTakesTheDesktopsRate", Mode(1920, 1080, 0, 0), false, S_OK, 1920, 144},
        {"SizeComesBeforeRate", Mode(1279, 721, 144, 1), false, S_OK, 1280, 60},
        {"NearestFraction", Mode(1280, 720, 30000, 1001), false, S_OK, 1280, 30},
        {"RateAloneFiltersBeforeTheDesktopsSize", Mode(0, 0, 75, 1), false, S_OK, 1280, 75},
        {"ScalingFilters", Mode(1920, 1080, 0, 0, Bgra, DXGI_MODE_SCALING_STRETCHED), false, S_OK, 1280, 75},
        {"UnknownFormatWithDevice", Mode(1280, 720, 60, 1, DXGI_FORMAT_UNKNOWN), true, S_OK, 1280, 60},
        {"UnknownFormatAlone", Mode(0, 0, 0, 0, DXGI_FORMAT_UNKNOWN), false, DXGI_ERROR_INVALID_CALL},
        {"HalfASize", Mode(1920, 0, 0, 0), false, DXGI_ERROR_INVALID_CALL},
        {"HalfARate", Mode(0, 0, 60, 0), false, DXGI_ERROR_INVALID_CALL},
        {"NoDisplayFormat", Mode(0, 0, 0, 0, DXGI_FORMAT_R32_FLOAT), false, DXGI_ERROR_NOT_FOUND}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(Dxgi, SwapChainsNeedAWindowOfSdl)
{
    DebugCapture capture;
    ComPtr<ID3D11Device> device;
    ASSERT_EQ(CreateNullDevice(D3D_FEATURE_LEVEL_11_0, device.Put(), nullptr), S_OK);
    auto* window = reinterpret_cast<HWND>(this);
    DXGI_SWAP_CHAIN_DESC desc{};
    desc.OutputWindow = window;
    ComPtr<IDXGISwapChain> chain;
    EXPECT_EQ(m_factory->CreateSwapChain(device.Get(), &desc, chain.Put()), DXGI_ERROR_INVALID_CALL);
    DXGI_SWAP_CHAIN_DESC1 desc1{};
    ComPtr<IDXGISwapChain1> chain1;
    EXPECT_EQ(m_factory->CreateSwapChainForHwnd(device.Get(), window, &desc1, nullptr, nullptr, chain1.Put()),
              DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(m_factory->CreateSwapChainForHwnd(nullptr, window, &desc1, nullptr, nullptr, chain1.Put()),
              DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(m_factory->CreateSwapChainForComposition(device.Get(), &desc1, nullptr, chain1.Put()),
              DXGI_ERROR_UNSUPPORTED);
    EXPECT_EQ(capture.Lines().size(), 4u);
    EXPECT_EQ(m_factory->MakeWindowAssociation(window, 3), S_OK);
    HWND associated = nullptr;
    EXPECT_EQ(m_factory->GetWindowAssociation(&associated), S_OK);
    EXPECT_EQ(associated, window);
    EXPECT_EQ(m_factory->MakeWindowAssociation(window, 8), DXGI_ERROR_INVALID_CALL);
    ComPtr<IDXGIFactory5> factory;
    ASSERT_EQ(m_factory->QueryInterface(IID_IDXGIFactory5, factory.PutVoid()), S_OK);
    BOOL tearing = FALSE;
    EXPECT_EQ(factory->CheckFeatureSupport(DXGI_FEATURE_PRESENT_ALLOW_TEARING, &tearing, sizeof(tearing)), S_OK);
    EXPECT_TRUE(tearing);
    EXPECT_EQ(factory->CheckFeatureSupport(DXGI_FEATURE_PRESENT_ALLOW_TEARING, &tearing, 1), DXGI_ERROR_INVALID_CALL);
}

TEST_F(Dxgi, FactoriesAreMadeByFlagsAndInterface)
{
    ComPtr<IDXGIFactory3> factory;
    ASSERT_EQ(CreateDXGIFactory2(DXGI_CREATE_FACTORY_DEBUG, IID_IDXGIFactory3, factory.PutVoid()), S_OK);
    EXPECT_EQ(factory->GetCreationFlags(), DXGI_CREATE_FACTORY_DEBUG);
    EXPECT_EQ(CreateDXGIFactory2(2, IID_IDXGIFactory3, factory.PutVoid()), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(CreateDXGIFactory(IID_IDXGIOutput, factory.PutVoid()), E_NOINTERFACE);
    EXPECT_EQ(CreateDXGIFactory1(IID_IDXGIFactory, nullptr), E_POINTER);
}

TEST_F(Dxgi, DeviceLeadsToItsAdapter)
{
    ComPtr<ID3D11Device> device;
    ASSERT_EQ(CreateNullDevice(D3D_FEATURE_LEVEL_11_0, device.Put(), nullptr), S_OK);
    ExpectLine(device.Get(), {&IID_ID3D11Device, &IID_IDXGIObject, &IID_IDXGIDevice, &IID_IDXGIDevice1});
    ComPtr<IDXGIDevice1> dxgi;
    ASSERT_EQ(device->QueryInterface(IID_IDXGIDevice1, dxgi.PutVoid()), S_OK);
    ComPtr<IDXGIAdapter> adapter;
    ASSERT_EQ(dxgi->GetAdapter(adapter.Put()), S_OK);
    int index = 0;
    EXPECT_TRUE(GetVulkanIndex(adapter.Get(), index));
    EXPECT_EQ(index, NullDeviceIndex);
    ComPtr<IDXGIFactory2> factory;
    EXPECT_EQ(adapter->GetParent(IID_IDXGIFactory2, factory.PutVoid()), S_OK);
    UINT latency = 0;
    EXPECT_EQ(dxgi->SetMaximumFrameLatency(17), DXGI_ERROR_INVALID_CALL);
    EXPECT_EQ(dxgi->SetMaximumFrameLatency(0), S_OK);
    EXPECT_EQ(dxgi->GetMaximumFrameLatency(&latency), S_OK);
    EXPECT_EQ(latency, 3u);
}

TEST(DxgiOnVulkan, ChosenDeviceComesFirst)
{
    const Environment display("GLEAM_DEBUG", "virtual-output");
    const std::vector<AdapterInfo> automatic = ListAdapters();
    if (automatic.empty()) {
        GTEST_SKIP() << "no Vulkan device";
    }
    for (const AdapterInfo& adapter : automatic) {
        EXPECT_NE(adapter.desc.Description[0], 0);
        EXPECT_GT(adapter.desc.DedicatedVideoMemory + adapter.desc.SharedSystemMemory, 0u);
        const bool isSoftware = adapter.desc.Flags == DXGI_ADAPTER_FLAG_SOFTWARE;
        EXPECT_TRUE(!isSoftware || adapter.desc.DedicatedVideoMemory == 0);
        const Environment device("GLEAM_DEVICE", std::to_string(adapter.vulkanIndex).c_str());
        EXPECT_EQ(ListAdapters().front().vulkanIndex, adapter.vulkanIndex);
        ComPtr<IDXGIAdapter> found;
        ASSERT_EQ(CreateAdapterOf(adapter.vulkanIndex, found.Put()), S_OK);
        DXGI_ADAPTER_DESC desc;
        EXPECT_EQ(found->GetDesc(&desc), S_OK);
        EXPECT_STREQ(desc.Description, adapter.desc.Description);
        LARGE_INTEGER version{};
        EXPECT_EQ(found->CheckInterfaceSupport(IID_IDXGIDevice, &version), S_OK);
        EXPECT_EQ(found->CheckInterfaceSupport(IID_IDXGIFactory, &version), DXGI_ERROR_UNSUPPORTED);
    }
    DebugCapture capture;
    for (const char* missing : {"4711", "-1", "gpu", "0x0"}) {
        const Environment device("GLEAM_DEVICE", missing);
        EXPECT_TRUE(ListAdapters().empty());
        EXPECT_THAT(capture.Lines(), testing::ElementsAre(testing::HasSubstr(missing)));
    }
    ComPtr<IDXGIAdapter> none;
    EXPECT_EQ(CreateAdapterOf(4711, none.Put()), DXGI_ERROR_NOT_FOUND);
}

TEST_F(Dxgi, FactoriesOnManyThreads)
{
    std::vector<std::thread> threads;
    std::atomic<int> modes{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            ComPtr<IDXGIFactory1> factory;
            ComPtr<IDXGIAdapter1> adapter;
            ComPtr<IDXGIOutput> output;
            UINT count = 0;
            if (CreateDXGIFactory1(IID_IDXGIFactory1, factory.PutVoid()) == S_OK &&
                factory->EnumAdapters1(0, adapter.Put()) == S_OK && adapter->EnumOutputs(0, output.Put()) == S_OK &&
                output->GetDisplayModeList(Bgra, 0, &count, nullptr) == S_OK) {
                modes += static_cast<int>(count);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    UINT count = 0;
    m_output->GetDisplayModeList(Bgra, 0, &count, nullptr);
    EXPECT_EQ(modes, static_cast<int>(4 * count));
}

} // namespace
} // namespace gleam
