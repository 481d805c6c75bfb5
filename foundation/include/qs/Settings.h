// Records that the engine and its libraries share: options, switches, frame time, input.
#pragma once

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs {

class WorkerThreadScheduler;

/// Time of a frame.
struct GameTime
{
    double time = 0.0;     ///< seconds since the application started
    float timeStep = 0.0f; ///< seconds since the frame before
    u64 frame = 0;         ///< number of the frame, counted from 0
};

/// The engine's graphics options.
struct GraphicOptions
{
    u8 fullscreen = 0;
    u32 screenWidth = 0;  ///< pixels
    u32 screenHeight = 0; ///< pixels
    u32 refreshNumerator = 0;
    u32 refreshDenominator = 0;
    i32 displayIndex = 0;
    u8 verticalSync = 1;
    u8 tripleBuffering = 0;
    i32 defaultImageLoadQuality = 0; ///< taken for requests with a negative value
};

/// Switches of the running program.
struct GlobalSwitches
{
    u8 debugLines = 1; ///< 0: debug lines that are added are dropped
};

/// The player that an input device belongs to.
enum class EInputPlayerIndex : i32
{
    Unassigned = -1,
    Player1 = 0,
    Player2,
    Player3,
    Player4,
};

/// One change of an input device.
struct InputEvent
{
    u32 type = 0;   ///< the input system's event number
    u32 device = 0; ///< the input system's device number
    u32 code = 0;   ///< key, button or axis
    EInputPlayerIndex player = EInputPlayerIndex::Unassigned;
    float value = 0.0f; ///< new state of the key, button or axis
};

/// What a handler did with an event.
enum class IEventRetVal : u32
{
    NotHandled = 0, ///< the next handler is asked
    Handled = 1,
};

} // namespace qs

/// What libraries find of the running engine. The pointers are null until their service is started.
struct CoreGlobals
{
    qs::WorkerThreadScheduler* workerThreadScheduler = nullptr;
};

/// Never null; an application may point it at a record of its own before it starts the renderer.
extern QS_API qs::GraphicOptions* GraphicSettings;
/// Never null.
extern QS_API qs::GlobalSwitches* Global;
extern QS_API CoreGlobals gCore;
