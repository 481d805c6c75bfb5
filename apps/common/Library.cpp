// Start, drains and stop of the library.
#include "common/Library.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/IAPI.h>
#include <Gleamwork/Renderer.h>

#include <qs/Dispatcher.h>
#include <qs/Profile.h>

namespace apps {

namespace {

/// The numbered thread on which the library destroys cameras.
constexpr unsigned s_mainThread = 2;

} // namespace

Library::~Library()
{
    if (!m_started) {
        return;
    }
    Drain();
    m_api->Exit();
    // Stopping the renderer queues the removal of its own geometry; nothing is left to remove it from.
    gw::DataLoader::DestroyCommandManager();
    qs::ThreadManager::GetInstance()->UnregisterCurrentThread();
}

bool Library::Start()
{
    qs::ThreadManager::GetInstance()->RegisterCurrentThread(s_mainThread, "main");
    gw::DataLoader::InitImmediateCommandManager(&m_immediate);
    gw::DataLoader::InitRelaxedCommandManager(&m_relaxed);
    m_api.reset(api::CreateAPI(&m_app));
    m_started = true;
    return m_api && m_api->InitCaps() && m_api->Init();
}

void Library::Drain()
{
    qs::HProfileSample sample("apps::Library::Drain");
    m_immediate.ExecuteAll();
    m_relaxed.ExecuteAll();
    qs::ThreadManager::GetInstance()->GetDispatcher(s_mainThread)->Drain();
}

} // namespace apps
