// Recording of the shadow map.
#include "draw/ShadowStage.h"

#include "draw/ViewerView.h"

#include <Gleamwork/RenderViewBatches.h>
#include <Gleamwork/Renderer.h>
#include <Gleamwork/StageGroup.h>

#include <qs/Profile.h>
#include <qs/Settings.h>

namespace gleamview {

ShadowStage::ShadowStage(const SceneContext& context) : ViewerStage(StageShadow, context, s_shares) {}

ShadowStage::~ShadowStage()
{
    if (m_map) {
        GetStageGroup()->RemoveRenderTarget(m_context.names.shadowMap);
    }
}

bool ShadowStage::Load(gw::StageGroup* group)
{
    ViewerStage::Load(group);
    m_map =
        group->AddDepthRenderTarget(m_context.names.shadowMap, gw::FORMAT_D32F, ShadowMapSize, ShadowMapSize, false, 1);
    return m_map != nullptr;
}

void ShadowStage::AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch)
{
    if (!view.IsFirst() || !m_map) {
        return;
    }
    const gw::RenderViewBatchContainer& batches = *view.GetBatchContainer();
    const std::array<qs::WorkerThreadBatch*, s_shares> shadowBatches = {batches.ShadowBatch0, batches.ShadowBatch1,
                                                                        batches.ShadowBatch2, batches.ShadowBatch3};
    for (std::size_t i = 0; i < s_shares; ++i) {
        if (batch == shadowBatches[i]) {
            gCore.workerThreadScheduler->AddWork(batch, [this, i] { Record(i); });
        }
    }
}

void ShadowStage::Record(std::size_t share)
{
    qs::HProfileSample sample("gleamview::RecordShadow");
    gw::RendererCommandBuffer& commands = GetRecording(share);
    if (share == 0) {
        commands.SetRenderTargets(0, nullptr, nullptr, nullptr, *m_map, false, -1);
        commands.ClearDepthStencil(*m_map, -1, gw::eDepthStencilClearMode_Depth, 1.0f, 0);
        commands.SetViewport(ShadowMapSize, ShadowMapSize, 0, 0);
    }
    const Names& names = m_context.names;
    const std::vector<DrawItem>& items = m_context.scene->GetItems();
    const Range range = GetShare(items.size(), share, s_shares);
    const Shaders& shaders = *m_context.shaders;
    for (std::size_t i = range.begin; i < range.end; ++i) {
        const DrawItem& item = items[i];
        // Glass lets the light through; lines and points have no size to hold it back.
        if (item.material->isBlended || item.kind != PartKind::Triangles) {
            continue;
        }
        const bool isMasked = item.material->isMasked;
        commands.PrepareDraw(MakeDraw(m_context, item, isMasked ? shaders.shadowMasked : shaders.shadow));
        commands.SetShaderConstant4x4f(names.lightViewProjection, m_context.light.viewProjection);
        commands.SetShaderConstant4x4f(names.world, item.world);
        if (isMasked) {
            commands.SetShaderConstant4f(names.cutoff, {item.material->baseColor.w, item.material->surface.w, 0, 0});
            commands.SetTexture(names.baseTexture, item.material->baseTexture, -1);
            commands.SetSamplerState(names.baseSampler, item.material->sampler);
        }
        item.model->Draw(&commands);
    }
}

} // namespace gleamview
