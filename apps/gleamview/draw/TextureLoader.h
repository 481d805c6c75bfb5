// Decodes a scene's textures on all processors and makes them device textures.
#pragma once

#include "draw/DeviceScene.h"

#include <string>
#include <vector>

namespace gleamview {

class DeviceScene::TextureLoader
{
public:
    explicit TextureLoader(gw::Renderer& renderer) : m_renderer(renderer) {}

    /// Files that cannot be had are told once each; a stand-in takes their place. The sources are spent.
    void Load(std::vector<SceneTexture>& sources, const Progress& progress, const Report& report);

    /// A device texture per source; the same handle may stand there several times.
    const std::vector<qs::ObjectHandle>& GetHandles() const { return m_handles; }
    /// Whether a source has see-through texels.
    bool HasHoles(std::uint32_t source) const { return m_hasHoles[source]; }
    /// Every handle that was made, once.
    const std::vector<qs::ObjectHandle>& GetOwned() const { return m_owned; }

private:
    struct Decoded;

    void Upload(Decoded& decoded, std::size_t index, const Report& report);
    qs::ObjectHandle GetStandIn();

    gw::Renderer& m_renderer;
    std::vector<qs::ObjectHandle> m_handles;
    std::vector<bool> m_hasHoles;
    std::vector<qs::ObjectHandle> m_owned;
    qs::ObjectHandle m_standIn;
};

} // namespace gleamview
