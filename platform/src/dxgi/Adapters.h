// The devices that DXGI shows as adapters.
#pragma once

#include <string>
#include <vector>

#include "dxgi.h"

namespace gleam {

/// A device to enumerate. `vulkanIndex` is its place in Instance::PhysicalDevices, or NullDeviceIndex.
struct AdapterInfo
{
    DXGI_ADAPTER_DESC1 desc{};
    int vulkanIndex = 0;
    LARGE_INTEGER driverVersion{};
};

constexpr int NullDeviceIndex = -1;

/// All adapters, the one that D3D11CreateDevice takes without being told first: GLEAM_DEVICE rules the order.
/// With GLEAM_DEVICE=null the only one is the null device. Empty on a machine without Vulkan, and, after one
/// debug line, when GLEAM_DEVICE names a device that is not there. Callable from any thread.
std::vector<AdapterInfo> ListAdapters();

/// The one adapter of GLEAM_DEVICE=null.
AdapterInfo NullAdapter();

/// The Vulkan index behind an adapter of this library, NullDeviceIndex for the null device.
/// False for an adapter that is not this library's.
bool GetVulkanIndex(IDXGIAdapter* adapter, int& vulkanIndex);

/// The adapter of a device, from a factory of its own. DXGI_ERROR_NOT_FOUND when it is not listed any more.
HRESULT CreateAdapterOf(int vulkanIndex, IDXGIAdapter** adapter);

} // namespace gleam
