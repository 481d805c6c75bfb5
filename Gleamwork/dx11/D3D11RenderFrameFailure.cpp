// The two orderly ends of the process: a swap chain that cannot be made, and a device that is gone.
#include "Gleamwork/dx11/D3D11API.h"
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11RenderFrame.h"

#include <qs/Log.h>
#include <qs/MessageBox.h>
#include <qs/ScratchMemory.h>
#include <qs/String.h>

#include <d3d11.h>
#include <dxgi.h>
#include <windows.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RenderFrameFailure";
constexpr char BOX_TITLE[] = "DirectX Error";
constexpr unsigned TEXT_CAPACITY = 2048;
constexpr unsigned LONGEST_TEXT = 16384;

/// Copied, since the next description takes the place of the last.
qs::STDString DescriptionOf(long hr)
{
    return qs::STDString(GetErrorDescription(hr));
}

void EndProcess(const char* text, unsigned exitCode)
{
    qsMessageBox(BOX_TITLE, text, QS_MESSAGE_ERROR);
    qs::LogManager::GetInstance()->FlushLoggers();
    TerminateProcess(GetCurrentProcess(), exitCode);
}

void AddNumber(qs::ScratchString& text, const char* label, unsigned long long number)
{
    text << label << number << "\n";
}

} // namespace

void D3D11RenderFrame::AddFixSuggestionsToErrorString(qs::ScratchString& text)
{
    text
        << "This error may be triggered by reasons that are not related to Ashen Reach.\n\n"
        << "Please try the following before restarting:\n"
        << "- Disable any screen recording software you may be running\n"
        << "- Make sure all your Windows updates have been installed\n"
        << "- Make sure you have the latest graphics drivers installed\n"
        << "- Disable SLI/CrossFireX\n\n"
        << "You could also try contacting developer support with your gold.log and your DxDiag.txt.\n"
        << "If you make significant changes to your system (like installing updates or drivers), please send us before "
           "and after\n"
        << "versions of those files. We are sorry for the inconvenience.\n\n";
}

void D3D11RenderFrame::HandleDeviceRemoved(long hr, const char* operation)
{
    const HRESULT reason = apiData->device->GetDeviceRemovedReason();
    const qs::STDString description = DescriptionOf(hr);
    const qs::STDString reasonDescription = DescriptionOf(reason);
    QS_LOG_FATAL_ASSERT(FILE_NAME, "api::D3D11RenderFrame::HandleDeviceRemoved",
                        "%s failed! Device was removed or reset!\nError: %s\nDescription : %s\n\nDeviceRemovedReason:\n"
                        "DXGI_ERROR code: 0x%X\nError: %s\nDescription: %s",
                        operation, GetErrorName(hr), description.ToChar(), static_cast<unsigned>(reason),
                        GetErrorName(reason), reasonDescription.ToChar());
    qs::ScratchString text(TEXT_CAPACITY, LONGEST_TEXT, true);
    text << "The game has encountered an unrecoverable DirectX error and will shut down.\n";
    AddFixSuggestionsToErrorString(text);
    text << "Error: " << GetErrorName(hr) << "\nDescription: " << description.ToChar()
         << "\nReason: " << GetErrorName(reason);
    const bool isFault = reason == DXGI_ERROR_DEVICE_HUNG || reason == DXGI_ERROR_INVALID_CALL;
    EndProcess(text.ToChar(), isFault ? 1 : 0);
}

void D3D11RenderFrame::HandleSwapChainFailure(long hr, unsigned width, unsigned height)
{
    qs::ScratchString text(TEXT_CAPACITY, LONGEST_TEXT, true);
    text << "The game has failed to initialize DirectX and will shut down.\n";
    AddFixSuggestionsToErrorString(text);
    text << "Error: " << GetErrorName(hr) << "\nDescription: " << GetErrorDescription(hr) << "\n";
    AddNumber(text, "BufferDesc.Width: ", width);
    AddNumber(text, "BufferDesc.Height: ", height);
    AddNumber(text, "BufferDesc.Format: ", gw2DX11::Format(m_backBufferFormat));
    AddNumber(text, "BufferDesc.RefreshRate.Numerator: ", m_desc.refreshNumerator);
    AddNumber(text, "BufferDesc.RefreshRate.Denominator: ", m_desc.refreshDenominator);
    AddNumber(text, "BufferCount: ", 1u + tripleBuffering + m_desc.fullscreen);
    AddNumber(text, "OutputWindow: ", reinterpret_cast<std::uintptr_t>(GetNativeWindow()));
    QS_LOG_FATAL_ASSERT(FILE_NAME, "api::D3D11RenderFrame::CreateFrameBufferSurfaces", "\n%s", text.ToChar());
    EndProcess(text.ToChar(), 1);
}

} // namespace api
