// Start-up check of the graphics system library and message boxes through it.
#include "Gleamwork/dx11/D3D11Module.h"

#include <qs/MessageBox.h>

#include <cstdlib>
#include <dxgi.h>
#include <windows.h>

namespace api {
namespace {

UINT BoxIcon(QsMessageType type)
{
    switch (type) {
    case QS_MESSAGE_QUESTION:
        return MB_ICONQUESTION;
    case QS_MESSAGE_WARNING:
        return MB_ICONWARNING;
    case QS_MESSAGE_ERROR:
        return MB_ICONERROR;
    default:
        return MB_ICONINFORMATION;
    }
}

void ShowBox(const char* title, const char* text, QsMessageType type, void*)
{
    MessageBoxA(nullptr, text, title, MB_OK | BoxIcon(type));
}

bool CanReachGraphicsSystem()
{
    IDXGIFactory1* factory = nullptr;
    if (FAILED(CreateDXGIFactory1(IID_IDXGIFactory1, reinterpret_cast<void**>(&factory)))) {
        return false;
    }
    factory->Release();
    return true;
}

} // namespace

void BindGraphicsSystem()
{
    qsSetMessageBoxHandler(&ShowBox, nullptr);
    if (!CanReachGraphicsSystem()) {
        qsMessageBox("Failed to initialize!", "Couldn't load dxgi.dll!", QS_MESSAGE_ERROR);
        std::exit(1);
    }
}

void UnbindGraphicsSystem()
{
    qsSetMessageBoxHandler(nullptr, nullptr);
}

} // namespace api
