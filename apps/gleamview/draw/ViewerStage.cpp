// Hand-over of recordings and what all draws share.
#include "draw/ViewerStage.h"

#include "draw/StageTimer.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/Renderer.h>

#include <qs/Profile.h>

namespace gleamview {

Names::Names()
{
    struct Row
    {
        qs::FixedString& name;
        const char* text;
    };
    const Row rows[] = {
        {world, "world"},
        {baseColor, "baseColor"},
        {emissive, "emissive"},
        {surface, "surface"},
        {cutoff, "cutoff"},
        {ground, "ground"},
        {lightViewProjection, "lightViewProjection"},
        {lightDirection, "lightDirection"},
        {lightColor, "lightColor"},
        {baseTexture, "BaseTexture"},
        {normalTexture, "NormalTexture"},
        {surfaceTexture, "SurfaceTexture"},
        {emissiveTexture, "EmissiveTexture"},
        {baseSampler, "BaseSampler"},
        {shadowMapTexture, "ShadowMap"},
        {shadowSampler, "ShadowSampler"},
        {sceneColorTexture, "SceneColor"},
        {shadowMap, "gleamview shadow map"},
        {sceneColor, "gleamview scene color"},
        {sceneDepth, "gleamview scene depth"},
    };
    for (const Row& row : rows) {
        row.name = qs::FixedString::Create(row.text, -1);
    }
}

ViewerStage::ViewerStage(StageType type, const SceneContext& context, std::size_t recordings)
    : m_context(context), m_type(type)
{
    static constexpr const char* names[] = {"shadow", "scene", "develop", "overlay"};
    m_name = qs::FixedString::Create(names[type], -1);
    for (std::size_t i = 0; i < recordings; ++i) {
        m_recordings.push_back(std::make_unique<gw::RendererCommandBuffer>());
    }
}

void ViewerStage::FinishAndExecute(const gw::RenderView* const)
{
    m_context.timer->QueueBegin(m_name);
    for (const auto& recording : m_recordings) {
        gw::DataLoader::InvokeExecuteRCB(recording.get());
    }
    m_context.timer->QueueEnd(m_name);
}

gw::PrepareDrawData MakeDraw(const SceneContext& context, const DrawItem& item, qs::ObjectHandle shader)
{
    using gw::details::RendererBase;
    gw::PrepareDrawData data;
    data.shader = shader;
    data.depthState = RendererBase::DS(gw::DS_READ_WRITE);
    data.rasterizerState = RendererBase::RS(gw::RS_SOLID);
    data.blendState = RendererBase::BS(gw::BS_OPAQUE);
    data.vertexFormat = item.vertexFormat;
    data.vertexBuffers[0] = item.model->GetVertexBuffer();
    data.vertexBuffers[1] = item.moreBuffers[0];
    data.vertexBuffers[2] = item.moreBuffers[1];
    data.indexBuffer = item.model->GetIndexBuffer();
    data.topology = item.model->GetTopology();
    return data;
}

} // namespace gleamview
