// The lit scene, into a target of its own with several samples a pixel.
#pragma once

#include "draw/ViewerStage.h"

namespace gleamview {

/// Recordings, in replay order: the beginning (targets, view, backdrop), the solid things in as many shares as there
/// are recorders, and the end (ground, see-through things, boxes). The targets are shared by all views of a frame,
/// which use them one behind the other.
class SceneStage final : public ViewerStage
{
public:
    explicit SceneStage(const SceneContext& context);
    ~SceneStage() override;

    bool Load(gw::StageGroup* group) override;
    void AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch) override;
    void OnSizeChanged(unsigned int width, unsigned int height) override;

    bool HasTargets() const { return m_color != nullptr; }
    /// 4 where the device has it, else 1.
    unsigned GetSampleCount() const { return m_samples; }
    qs::ObjectHandle GetColor() const { return *m_color; }

private:
    bool AddTargets(unsigned samples);
    void RemoveTargets();
    void RecordBeginning(const ViewerView& view);
    void RecordSolid(const ViewerView& view, std::size_t share);
    void RecordEnd(const ViewerView& view);
    void RecordGround(gw::RendererCommandBuffer& commands, const ViewerView& view);
    void RecordItem(gw::RendererCommandBuffer& commands, const DrawItem& item);
    void RecordBound(gw::RendererCommandBuffer& commands, const DrawItem& item);
    void RecordLight(gw::RendererCommandBuffer& commands, qs::ObjectHandle shader);

    qs::ObjectHandle* m_color = nullptr;
    qs::ObjectHandle* m_depth = nullptr;
    qs::ObjectHandle* m_shadowMap = nullptr;
    unsigned m_samples = 1;
};

} // namespace gleamview
