// What lies over the picture: the line between views, the times of the stages, and a line of news.
#pragma once

#include "draw/ViewerStage.h"

namespace gleamview {

class OverlayStage final : public ViewerStage
{
public:
    explicit OverlayStage(const SceneContext& context);

    void AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch) override;

private:
    void Record(const ViewerView& view);
};

} // namespace gleamview
