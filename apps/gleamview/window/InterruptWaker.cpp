// The pipe, and the event that wakes the window's loop.
#include "window/InterruptWaker.h"

#include "Interrupt.h"

#include <SDL.h>

#include <fcntl.h>
#include <unistd.h>

namespace gleamview {

InterruptWaker::InterruptWaker()
{
    if (pipe2(m_pipe, O_CLOEXEC) == 0) {
        m_thread = std::thread([this] { Watch(); });
        SetInterruptPipe(m_pipe[1]);
    }
}

InterruptWaker::~InterruptWaker()
{
    SetInterruptPipe(-1);
    if (m_thread.joinable()) {
        // The thread ends when the last writer is gone.
        close(m_pipe[1]);
        m_thread.join();
        close(m_pipe[0]);
    }
}

void InterruptWaker::Watch()
{
    char byte = 0;
    while (read(m_pipe[0], &byte, 1) == 1) {
        SDL_Event event{};
        event.type = SDL_QUIT;
        SDL_PushEvent(&event);
    }
}

} // namespace gleamview
