// The depth that the key light sees.
#pragma once

#include "draw/ViewerStage.h"

#include <array>

namespace gleamview {

/// One map for all views of a frame; the first view draws it. The casters are recorded in four shares, one in each of
/// the view's shadow batches.
class ShadowStage final : public ViewerStage
{
public:
    explicit ShadowStage(const SceneContext& context);
    ~ShadowStage() override;

    bool Load(gw::StageGroup* group) override;
    void AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch) override;

private:
    static constexpr std::size_t s_shares = 4;
    void Record(std::size_t share);

    qs::ObjectHandle* m_map = nullptr;
};

} // namespace gleamview
