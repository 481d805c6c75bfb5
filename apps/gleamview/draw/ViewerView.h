// One rectangle of the picture: a camera, what it sees, and the stages that draw it.
#pragma once

#include "draw/SceneContext.h"

#include <Gleamwork/RenderView.h>

#include <vector>

namespace gleamview {

class ViewerStage;

class ViewerView final : public gw::RenderView
{
public:
    /// Share and place of the view in the frame, from 0 to 1.
    struct Placement
    {
        float width = 1.0f;
        float height = 1.0f;
        float x = 0.0f;
        float y = 0.0f;
    };

    /// `isFirst`: of the frame's views; the first one draws what all share.
    ViewerView(gw::RenderFrame* frame, const Placement& placement, const SceneContext& context, bool isFirst);

    /// Takes a stage that the view then owns. Stages run in the order of adding.
    void AddStage(ViewerStage* stage);

    void StartCollecting() override;
    void StartBatches() override;
    void DoWhileCollecting() override;
    /// Drops what the stages collected.
    void CancelCollecting() override;
    void RefreshStages() override;
    void FinishAndExecute() override;
    void OnStateChanged() override;
    void Update(const qs::GameTime& time) override;

    bool IsFirst() const { return m_isFirst; }
    /// Filled by the culling batch: solid things from near to far, see-through ones from far to near.
    const std::vector<const DrawItem*>& GetSolid() const { return m_solid; }
    const std::vector<const DrawItem*>& GetBlended() const { return m_blended; }

private:
    void Cull();

    const SceneContext& m_context;
    bool m_isFirst;
    std::vector<ViewerStage*> m_stages; ///< owned by the stage group
    std::vector<const DrawItem*> m_solid;
    std::vector<const DrawItem*> m_blended;
    struct Seen
    {
        float key;
        const DrawItem* item;
    };
    std::vector<Seen> m_seenSolid;
    std::vector<Seen> m_seenBlended;
};

} // namespace gleamview
