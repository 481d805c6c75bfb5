// The viewer's own shader, and the loading of the user's.
#pragma once

#include <qs/ObjectHandle.h>
#include <string>

namespace gw {
class Renderer;
}

namespace gleamview {

/// The shader that draws one image as it is. Unassigned, with a sentence in `error`, when it does not compile.
qs::ObjectHandle AddBuiltInShader(gw::Renderer& renderer, std::string& error);

/// The shader that shows a picture, the texture "Picture", pixel by pixel over a dark ground. `encodes`: what it reads
/// is linear light. Unassigned when it does not compile.
qs::ObjectHandle AddShowShader(gw::Renderer& renderer, bool encodes);

/// A text shader file. Without a vertex section it gets the viewer's. Unassigned, with a sentence that names the file
/// in `error`, when it cannot be read, has no fragment section, or does not compile.
qs::ObjectHandle LoadTextShader(gw::Renderer& renderer, const std::string& path, std::string& error);

} // namespace gleamview
