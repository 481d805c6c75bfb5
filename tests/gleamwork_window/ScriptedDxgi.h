// A display system whose outputs, colour spaces and failures the test chooses. Everything that is not scripted is the
// real one, on the null device.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <d3d11.h>
#include <dxgi1_6.h>

struct ScriptedOutput
{
    RECT desktop{};
    DXGI_COLOR_SPACE_TYPE colorSpace = DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709;
    HRESULT getDesc = S_OK;
    HRESULT getDesc1 = S_OK;
    bool hasOutput6 = true;
};

/// While one lives, the program's calls of the display system are answered by it. One at a time.
struct ScriptedDxgi
{
    ScriptedDxgi();
    ~ScriptedDxgi();
    ScriptedDxgi(const ScriptedDxgi&) = delete;
    ScriptedDxgi& operator=(const ScriptedDxgi&) = delete;

    /// Makes the device lead to the scripted factory.
    void Take(ID3D11Device* device);

    // What it answers.
    HRESULT createFactory = S_OK;
    HRESULT enumAdapters = S_OK;
    bool hasFactory2 = true;
    bool isOldSystem = false;
    BOOL tearing = TRUE;
    RECT window{0, 0, 100, 100};
    std::vector<ScriptedOutput> outputs;
    std::vector<HRESULT> createChain; ///< failures in front of the first success
    UINT mostSamples = 4;
    HRESULT present = S_OK;
    HRESULT removedReason = S_OK;
    bool hasChain4 = true;
    UINT colorSpaceSupport = DXGI_SWAP_CHAIN_COLOR_SPACE_SUPPORT_FLAG_PRESENT;
    HRESULT setColorSpace = S_OK; ///< of the one for high dynamic range
    HRESULT setMetadata = S_OK;   ///< of HDR10
    BOOL isFullscreen = FALSE;

    // What it saw.
    std::vector<std::string> calls;
    DXGI_SWAP_CHAIN_DESC1 flip{};
    DXGI_SWAP_CHAIN_DESC blit{};
    UINT interval = ~0u;
    UINT presentFlags = ~0u;
    DXGI_HDR_METADATA_HDR10 metadata{};

    std::vector<std::string> TakeCalls() { return std::exchange(calls, {}); }
};
