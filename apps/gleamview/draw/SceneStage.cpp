// Targets and recording of the scene.
#include "draw/SceneStage.h"

#include "draw/ViewerView.h"

#include <Gleamwork/CameraController.h>
#include <Gleamwork/RenderFrame.h>
#include <Gleamwork/RenderViewBatches.h>
#include <Gleamwork/Renderer.h>
#include <Gleamwork/StageGroup.h>

#include <algorithm>
#include <qs/Profile.h>
#include <qs/Settings.h>

namespace gleamview {

namespace {

constexpr float s_keyLight[3] = {1.38f, 1.33f, 1.24f};

} // namespace

SceneStage::SceneStage(const SceneContext& context) : ViewerStage(StageScene, context, context.recorders + 2) {}

SceneStage::~SceneStage()
{
    RemoveTargets();
}

bool SceneStage::Load(gw::StageGroup* group)
{
    ViewerStage::Load(group);
    m_shadowMap = group->GetRenderTarget(m_context.names.shadowMap);
    return m_shadowMap && (AddTargets(4) || AddTargets(1));
}

bool SceneStage::AddTargets(unsigned samples)
{
    gw::StageGroup& group = *GetStageGroup();
    unsigned width = 0;
    unsigned height = 0;
    group.GetSize(width, height);
    const int count = static_cast<int>(samples);
    m_color = group.AddRenderTarget(m_context.names.sceneColor, gw::FORMAT_RGBA16F, width, height, false, count);
    m_depth = group.AddDepthRenderTarget(m_context.names.sceneDepth, gw::FORMAT_D32F, width, height, false, count);
    m_samples = samples;
    if (m_color && m_depth && m_context.renderer->GetTextureSize(*m_color) != 0 &&
        m_context.renderer->GetTextureSize(*m_depth) != 0) {
        return true;
    }
    RemoveTargets();
    return false;
}

void SceneStage::RemoveTargets()
{
    if (m_color) {
        GetStageGroup()->RemoveRenderTarget(m_context.names.sceneColor);
    }
    if (m_depth) {
        GetStageGroup()->RemoveRenderTarget(m_context.names.sceneDepth);
    }
    m_color = m_depth = nullptr;
}

void SceneStage::OnSizeChanged(unsigned int width, unsigned int height)
{
    const auto w = static_cast<unsigned short>(width);
    const auto h = static_cast<unsigned short>(height);
    GetStageGroup()->ResizeRenderTarget(m_context.names.sceneColor, w, h);
    GetStageGroup()->ResizeRenderTarget(m_context.names.sceneDepth, w, h);
}

void SceneStage::AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch)
{
    if (!m_color) {
        return;
    }
    qs::WorkerThreadScheduler& scheduler = *gCore.workerThreadScheduler;
    const gw::RenderViewBatchContainer& batches = *view.GetBatchContainer();
    const std::size_t shares = m_context.recorders;
    if (batch == batches.CullBatch) {
        scheduler.AddWork(batch, [this, &view] { RecordBeginning(view); });
    } else if (batch == batches.IndepBatch) {
        for (std::size_t i = 0; i < shares; ++i) {
            scheduler.AddWork(batch, [this, &view, i] { RecordSolid(view, i); });
        }
    } else if (batch == batches.CullDepBatch) {
        scheduler.AddWork(batch, [this, &view] { RecordEnd(view); });
    }
}

void SceneStage::RecordLight(gw::RendererCommandBuffer& commands, qs::ObjectHandle shader)
{
    const Names& names = m_context.names;
    const Light& light = m_context.light;
    commands.SetShader(shader);
    commands.SetShaderConstant4x4f(names.lightViewProjection, light.viewProjection);
    commands.SetShaderConstant4f(names.lightDirection,
                                 {light.direction.x, light.direction.y, light.direction.z, light.texelSize});
    commands.SetShaderConstant4f(names.lightColor, {s_keyLight[0], s_keyLight[1], s_keyLight[2], 1.0f / ShadowMapSize});
}

/// Constants stay with their shader, so what is the same for all draws of the view is recorded here, once.
void SceneStage::RecordBeginning(const ViewerView& view)
{
    qs::HProfileSample sample("gleamview::RecordBeginning");
    gw::RendererCommandBuffer& commands = GetRecording(0);
    const gw::CameraController& camera = *view.GetCameraController();
    ChangeRenderTargets(commands, &view, m_color, 1, *m_depth, false, -1, 1.0f);
    commands.ClearDepthStencil(*m_depth, -1, gw::eDepthStencilClearMode_Depth, 1.0f, 0);
    commands.SetRenderProperties(camera.GetViewMatrix(), camera.GetProjectionMatrix(), camera.GetWorldTranslate(), 0.0f,
                                 0.0f);
    commands.UpdateGlobalConstants();
    const Shaders& shaders = *m_context.shaders;
    for (const qs::ObjectHandle& shader :
         {shaders.surface, shaders.surfaceFull, shaders.surfaceCloth, shaders.ground}) {
        RecordLight(commands, shader);
    }
    commands.BeginRenderFullScreenTriangle(shaders.backdrop, gw::details::RendererBase::DS(gw::DS_NONE), 0);
    commands.EndRenderFullScreenTriangle();
}

void SceneStage::RecordSolid(const ViewerView& view, std::size_t share)
{
    qs::HProfileSample sample("gleamview::RecordSolid");
    const std::vector<const DrawItem*>& items = view.GetSolid();
    const Range range = GetShare(items.size(), share, m_context.recorders);
    for (std::size_t i = range.begin; i < range.end; ++i) {
        RecordItem(GetRecording(1 + share), *items[i]);
    }
}

void SceneStage::RecordEnd(const ViewerView& view)
{
    qs::HProfileSample sample("gleamview::RecordEnd");
    gw::RendererCommandBuffer& commands = GetRecording(GetRecordingCount() - 1);
    RecordGround(commands, view);
    for (const DrawItem* item : view.GetBlended()) {
        RecordItem(commands, *item);
    }
    if (m_context.switches.bounds) {
        for (const DrawItem& item : m_context.scene->GetItems()) {
            RecordBound(commands, item);
        }
    }
}

void SceneStage::RecordItem(gw::RendererCommandBuffer& commands, const DrawItem& item)
{
    using gw::details::RendererBase;
    const Names& names = m_context.names;
    const DeviceMaterial& material = *item.material;
    const Shaders& shaders = *m_context.shaders;
    const qs::ObjectHandle shader = item.isCloth      ? shaders.surfaceCloth
                                    : material.isFull ? shaders.surfaceFull
                                                      : shaders.surface;
    gw::PrepareDrawData draw = MakeDraw(m_context, item, shader);
    if (material.isBlended) {
        draw.depthState = RendererBase::DS(gw::DS_READ);
        draw.blendState = RendererBase::BS(gw::BS_PREMULTIPLIED);
    }
    if (m_context.switches.wireframe) {
        draw.rasterizerState = RendererBase::RS(gw::RS_WIREFRAME);
    }
    commands.PrepareDraw(std::move(draw));
    commands.SetShaderConstant4x4f(names.world, item.world);
    commands.SetShaderConstant4f(names.baseColor, material.baseColor);
    commands.SetShaderConstant4f(names.emissive, material.emissive);
    commands.SetShaderConstant4f(names.surface, material.surface);
    commands.SetTexture(names.baseTexture, material.baseTexture, -1);
    commands.SetTexture(names.shadowMapTexture, *m_shadowMap, -1);
    if (material.isFull && !item.isCloth) {
        commands.SetTexture(names.normalTexture, material.normalTexture, -1);
        commands.SetTexture(names.surfaceTexture, material.surfaceTexture, -1);
        commands.SetTexture(names.emissiveTexture, material.emissiveTexture, -1);
    }
    commands.SetSamplerState(names.baseSampler, material.sampler);
    commands.SetSamplerState(names.shadowSampler, RendererBase::SS(gw::SS_COMPARISON));
    item.model->Draw(&commands);
}

/// From below nothing would be seen through it, so it is drawn from above only.
void SceneStage::RecordGround(gw::RendererCommandBuffer& commands, const ViewerView& view)
{
    using gw::details::RendererBase;
    const qs::Bound& bound = m_context.scene->GetBound();
    const Vector3f extents = bound.GetExtents();
    const float radius = std::max(extents.Length(), 1e-6f);
    // A little lower than the model, whose own floor may lie just there.
    const Vector3f centre(bound.GetCenter().x, bound.minimum.y - radius * 0.002f, bound.GetCenter().z);
    if (!m_context.switches.ground || view.GetCameraController()->GetWorldTranslate().y <= centre.y) {
        return;
    }
    const Names& names = m_context.names;
    m_context.quad.BeginRenderFullScreenQuad(commands, m_context.shaders->ground, RendererBase::DS(gw::DS_READ), 0,
                                             RendererBase::BS(gw::BS_PREMULTIPLIED));
    const float size = radius + std::max(extents.x, extents.z) * 2.5f;
    commands.SetShaderConstant4f(names.ground, {centre.x, centre.y, centre.z, size});
    commands.SetTexture(names.shadowMapTexture, *m_shadowMap, -1);
    commands.SetSamplerState(names.shadowSampler, RendererBase::SS(gw::SS_COMPARISON));
    m_context.quad.EndRenderFullScreenQuad(commands);
}

void SceneStage::RecordBound(gw::RendererCommandBuffer& commands, const DrawItem& item)
{
    using gw::details::RendererBase;
    static constexpr unsigned edges[24] = {0, 1, 2, 3, 4, 5, 6, 7, 0, 2, 1, 3, 4, 6, 5, 7, 0, 4, 1, 5, 2, 6, 3, 7};
    const std::array<Vector3f, 8> corners = GetCorners(item.bound);
    Vector3f lines[24];
    std::transform(std::begin(edges), std::end(edges), lines, [&](unsigned corner) { return corners[corner]; });
    commands.DrawPlain3D(gw::ePrimitiveTopology_LineList, lines, 24, true, RendererBase::BS(gw::BS_OPAQUE),
                         RendererBase::DS(gw::DS_READ), {0.9f, 0.55f, 0.1f, 1.0f});
}

} // namespace gleamview
