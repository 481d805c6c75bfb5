// The renderer's life on an API.
#include "Gleamwork/IAPI.h"

#include "Gleamwork/Renderer.h"
#include "Gleamwork/dx11/D3D11API.h"

namespace api {

unsigned char IAPI::s_Properties = 0;

bool IAPI::CreateRenderer()
{
    qs::MemoryTrackerSample scope("gw::IAPI");
    auto* renderer = new gw::Renderer(static_cast<D3D11API*>(this));
    return renderer && renderer->Create();
}

void IAPI::DestroyRenderer()
{
    qs::MemoryTrackerSample scope("gw::IAPI");
    if (gw::Renderer* renderer = gw::details::RendererBase::GetInstance()) {
        renderer->Destroy();
        delete renderer;
    }
}

} // namespace api
