// Finding, decoding in groups, uploading.
#include "draw/TextureLoader.h"

#include "ImageFile.h"
#include "draw/TextureUpload.h"
#include "scene/OwnPictures.h"
#include "scene/TextureFiles.h"

#include <Gleamwork/Renderer.h>

#include <algorithm>
#include <qs/Profile.h>
#include <qs/Settings.h>
#include <qs/WorkerThread.h>

namespace gleamview {

namespace {

/// How many decoded pictures may wait in memory for their upload.
constexpr std::size_t s_groupSize = 8;

/// A picture counts as having holes when more than one texel in a thousand is half transparent or more: exporters
/// leave a stray texel, a leaf does not.
bool FindHoles(const unsigned char* rgba, std::size_t texels)
{
    std::size_t holes = 0;
    for (std::size_t i = 0; i < texels; ++i) {
        holes += rgba[i * 4 + 3] < 128;
    }
    return holes * 1000 > texels;
}

} // namespace

struct DeviceScene::TextureLoader::Decoded
{
    SceneTexture* source = nullptr;
    ImageFile file;
    PixelView view;
    bool hasHoles = false;
    std::string error;

    void Decode()
    {
        qs::HProfileSample sample("gleamview::DecodeTexture");
        if (source->width != 0) {
            view = {source->bytes.data(), gw::FORMAT_RGBA8, source->width, source->height};
        } else if (!source->bytes.empty()) {
            if (!file.LoadBytes(source->path, source->bytes, error)) {
                return;
            }
        } else {
            const std::string found = FindTextureFile(source->folder, source->path);
            if (found.empty()) {
                error = "texture '" + source->path + "' was not found";
                return;
            }
            if (!file.Load(found, error)) {
                return;
            }
        }
        if (source->width == 0) {
            view = {file.GetPixels(), file.GetFormat(), file.GetWidth(), file.GetHeight(), file.GetLevels()};
        }
        hasHoles = view.format == gw::FORMAT_RGBA8 && FindHoles(view.pixels, std::size_t(view.width) * view.height);
    }
};

void DeviceScene::TextureLoader::Load(std::vector<SceneTexture>& sources, const Progress& progress,
                                      const Report& report)
{
    m_handles.resize(sources.size());
    m_hasHoles.resize(sources.size());
    qs::WorkerThreadScheduler& scheduler = *gCore.workerThreadScheduler;
    qs::WorkerThreadBatch* batch =
        scheduler.RegisterNewBatch({"TextureBatch", qs::WORKER_BATCH_PRIORITY_NORMAL, qs::WORKER_BATCH_HELPABLE, -1});
    for (std::size_t first = 0; first < sources.size(); first += s_groupSize) {
        progress("loading textures", static_cast<float>(first) / static_cast<float>(sources.size()));
        const std::size_t count = std::min(s_groupSize, sources.size() - first);
        std::vector<Decoded> group(count);
        scheduler.StartBatch(batch);
        for (std::size_t i = 0; i < count; ++i) {
            group[i].source = &sources[first + i];
            scheduler.AddWork(batch, [decoded = &group[i]] { decoded->Decode(); });
        }
        scheduler.FinishBatch(batch);
        scheduler.WaitForBatch(batch, true);
        for (std::size_t i = 0; i < count; ++i) {
            Upload(group[i], first + i, report);
            std::vector<std::uint8_t>().swap(sources[first + i].bytes);
        }
    }
    scheduler.UnregisterBatch(batch);
}

void DeviceScene::TextureLoader::Upload(Decoded& decoded, std::size_t index, const Report& report)
{
    if (decoded.error.empty()) {
        qs::ObjectHandle handle = UploadMippedTexture(m_renderer, decoded.view, decoded.source->isColor);
        if (m_renderer.GetTextureSize(handle) != 0) {
            m_handles[index] = handle;
            m_hasHoles[index] = decoded.hasHoles;
            m_owned.push_back(handle);
            return;
        }
        RemoveTextureNow(m_renderer, handle);
        decoded.error = "the device has no room for texture '" + decoded.source->path + "'";
    }
    report(decoded.error + "; a chequered pattern stands in for it");
    m_handles[index] = decoded.source->isColor ? GetStandIn() : qs::ObjectHandle::Unassigned;
}

qs::ObjectHandle DeviceScene::TextureLoader::GetStandIn()
{
    if (!m_standIn.IsValid()) {
        SceneTexture picture = MakeStandIn();
        m_standIn = UploadMippedTexture(m_renderer,
                                        {picture.bytes.data(), gw::FORMAT_RGBA8, picture.width, picture.height}, true);
        m_owned.push_back(m_standIn);
    }
    return m_standIn;
}

} // namespace gleamview
