// The viewer's own shaders, as the build put them into the program.
#pragma once

#include <qs/ObjectHandle.h>
#include <string>
#include <string_view>
#include <vector>

namespace gw {
class Renderer;
}

namespace gleamview {

/// Texts of the files in the folder shaders; "surface.shader" and so on. Empty for an unknown name.
std::string_view GetShaderText(std::string_view name);

/// All shaders of the scene's stages. On the thread that owns the device.
class Shaders
{
public:
    explicit Shaders(gw::Renderer& renderer) : m_renderer(renderer) {}
    ~Shaders();
    Shaders(const Shaders&) = delete;
    Shaders& operator=(const Shaders&) = delete;

    /// False, with the name of the one that failed in `error`.
    bool Create(std::string& error);
    /// The developing shader for a number of samples per pixel; made when it is first asked for.
    qs::ObjectHandle GetDevelop(unsigned samples);

    qs::ObjectHandle surface;      ///< with the base texture only
    qs::ObjectHandle surfaceFull;  ///< with all textures
    qs::ObjectHandle surfaceCloth; ///< with the base texture only, colours left alone
    qs::ObjectHandle shadow;
    qs::ObjectHandle shadowMasked; ///< with holes
    qs::ObjectHandle ground;
    qs::ObjectHandle backdrop;

private:
    qs::ObjectHandle Add(const char* file, const char* define, const char* value);

    gw::Renderer& m_renderer;
    std::vector<qs::ObjectHandle> m_all;
    qs::ObjectHandle m_develop[2]; ///< one sample, several
};

} // namespace gleamview
