// Binding of the graphics system library, done once when this library starts.
#pragma once

namespace api {

/// Makes message boxes of the foundation appear through the graphics system's own, then makes sure that a display
/// factory can be made. When it cannot, the user is told and the process ends with exit code 1.
void BindGraphicsSystem();
/// Gives message boxes back to the foundation's default.
void UnbindGraphicsSystem();

} // namespace api
