// What the window shows: the files that were opened last.
#pragma once

#include "draw/SceneContext.h"

#include <string>

namespace gleamview {

/// Lives on the main thread, between the start of the library and its stop. At most one is attached to the frame.
class Shown
{
public:
    virtual ~Shown() = default;

    /// Takes the frame over. False, with a sentence in `error`, when the device has no room.
    virtual bool Attach(std::string& error) = 0;
    /// One frame; `time` is in seconds. True when the picture moves by itself.
    virtual bool Draw(double time, bool present) = 0;

    /// Degrees.
    virtual void Orbit(float yaw, float pitch) = 0;
    /// Shares of the view's height, to the right and up.
    virtual void Pan(float right, float up) = 0;
    /// Above 1 is nearer.
    virtual void Zoom(float factor) = 0;
    virtual void ResetCamera() = 0;
    /// Gives the name of the camera that it went on to.
    virtual std::string NextCamera() = 0;
    virtual DrawSwitches& GetSwitches() = 0;
    virtual Overlay& GetOverlay() = 0;

    /// For people.
    virtual const std::string& GetName() const = 0;
    /// The first of the files; empty for the viewer's own scene.
    virtual const std::string& GetFile() const = 0;
};

} // namespace gleamview
