// 04: a thousand draws recorded by workers, each into a command buffer of its own, and replayed in order by one thread.
#include "Sample.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/RendererCommandBuffer.h>

#include <cmath>
#include <memory>
#include <qs/Settings.h>
#include <qs/WorkerThread.h>
#include <vector>

namespace {

constexpr int s_columns = 40;
constexpr int s_rows = 25;
constexpr int s_recordings = 5;
constexpr float s_square[] = {-1, 1, 1, 1, -1, -1, 1, -1};
constexpr gw::FormatDesc s_format[] = {{0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 2}};
const Vector4f s_colors[s_recordings] = {{0.85f, 0.30f, 0.28f, 1.0f},
                                         {0.92f, 0.66f, 0.25f, 1.0f},
                                         {0.36f, 0.68f, 0.40f, 1.0f},
                                         {0.25f, 0.55f, 0.80f, 1.0f},
                                         {0.56f, 0.38f, 0.72f, 1.0f}};

/// Everything that recording needs, gathered before the workers start; they only read it.
struct Job
{
    gw::PrepareDrawData draw;
    qs::ObjectHandle target;
    qs::FixedString placement = samples::Sample::Name("placement");
    qs::FixedString color = samples::Sample::Name("color");
};

/// Records every fifth row. A recording states its target and states itself: it knows nothing of the one before.
void Record(const Job& job, int number, gw::RendererCommandBuffer& commands)
{
    commands.SetRenderTargets(1, &job.target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    for (int row = number; row < s_rows; row += s_recordings) {
        for (int column = 0; column < s_columns; ++column) {
            const float x = (float(column) + 0.5f) / s_columns * 2.0f - 1.0f;
            const float y = 1.0f - (float(row) + 0.5f) / s_rows * 2.0f;
            const float size = 0.55f + 0.4f * std::sin(x * 6.0f + y * 4.0f);
            gw::PrepareDrawData draw = job.draw;
            commands.PrepareDraw(std::move(draw));
            commands.SetShaderConstant4f(job.placement, Vector4f(size / s_columns, size / s_rows, x, y));
            commands.SetShaderConstant4f(job.color, s_colors[number]);
            commands.DrawArrays(0, 4);
        }
    }
    commands.Finalize();
}

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "04_recording");
    if (!sample.Start()) {
        return 1;
    }
    gw::Renderer& renderer = sample.GetRenderer();
    Job job;
    job.target = sample.GetTarget();
    job.draw.shader = sample.LoadShader("shaders/04_recording.shader");
    if (!job.draw.shader.IsValid()) {
        return 1;
    }
    job.draw.vertexFormat = gw::DataLoader::InvokeAddVertexFormat(s_format, 1, job.draw.shader);
    job.draw.vertexBuffers[0] =
        gw::DataLoader::InvokeAddVertexBuffer(sizeof s_square, gw::eResourceUsage_Immutable, s_square);
    job.draw.topology = gw::ePrimitiveTopology_TriangleStrip;
    job.draw.blendState = renderer.BS(gw::BS_OPAQUE);
    job.draw.depthState = renderer.DS(gw::DS_NONE);
    job.draw.rasterizerState = renderer.RS(gw::RS_SOLID);
    renderer.ClearRenderTarget(job.target, -1, Vector4f(0.08f, 0.09f, 0.11f, 1.0f));

    // One batch of the scheduler; its work runs on all processors, and this thread helps while it waits.
    std::vector<std::unique_ptr<gw::RendererCommandBuffer>> recordings;
    qs::WorkerThreadScheduler& scheduler = *gCore.workerThreadScheduler;
    qs::WorkerThreadBatch* batch = scheduler.RegisterNewBatch(
        qs::WorkerThreadBatchDesc("recording", qs::WORKER_BATCH_PRIORITY_NORMAL, qs::WORKER_BATCH_HELPABLE, -1));
    scheduler.StartBatch(batch);
    for (int i = 0; i < s_recordings; ++i) {
        recordings.push_back(std::make_unique<gw::RendererCommandBuffer>());
        scheduler.AddWork(batch, [&job, i, commands = recordings.back().get()] { Record(job, i, *commands); });
    }
    scheduler.FinishBatch(batch);
    scheduler.WaitForBatch(batch, true);
    scheduler.UnregisterBatch(batch);

    // Queued in the order in which they shall be replayed, which the drain does on this thread.
    for (const auto& commands : recordings) {
        gw::DataLoader::InvokeExecuteRCB(commands.get());
    }
    sample.Drain();

    const int status = sample.Finish();
    gw::DataLoader::InvokeRemoveVertexBuffer(job.draw.vertexBuffers[0]);
    renderer.RemoveVertexFormat(job.draw.vertexFormat);
    gw::DataLoader::InvokeRemoveShader(job.draw.shader);
    return status;
}
