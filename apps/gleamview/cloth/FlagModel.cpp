// Buffers of a flag, and the way from the solver into them.
#include "cloth/FlagModel.h"

#include "draw/DeviceScene.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/Renderer.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace gleamview {

namespace {

/// Steps after which a flag has forgotten how it hung at first. So long it has blown when the time begins.
constexpr std::int64_t s_warmUp = 5 * 240;

/// What slot 0 holds of a SceneVertex.
struct OtherAttributes
{
    std::int16_t normal[4];
    float uv[2];
};
static_assert(sizeof(OtherAttributes) == sizeof(SceneVertex) - sizeof(Vector3f) - sizeof(SceneVertex::color));

qs::FixedString Name(const char* text)
{
    return qs::FixedString::Create(text, -1);
}

VertexBufferID MakeBuffer(const void* data, std::size_t size)
{
    return gw::DataLoader::InvokeAddVertexBuffer(static_cast<long>(size), gw::eResourceUsage_Immutable, data);
}

} // namespace

FlagModel::FlagModel(gw::Renderer& renderer) : m_renderer(renderer), m_base(Name("flag")), m_flag(Name("flag")) {}

FlagModel::~FlagModel()
{
    m_flag.RemoveClothRenderData();
    m_base.RemoveRenderData();
    if (m_vertexFormat.IsValid()) {
        m_renderer.RemoveVertexFormat(m_vertexFormat);
    }
}

bool FlagModel::CreateBase(const ScenePart& part)
{
    std::vector<SceneVertex> vertices(part.vertices, part.vertices + part.vertexCount);
    std::vector<std::uint16_t> indices(part.indices, part.indices + part.indexCount);
    const gw::StagingModelData staging(indices.data(), static_cast<std::int32_t>(part.indexCount), sizeof indices[0],
                                       vertices.data(), static_cast<std::int32_t>(part.vertexCount),
                                       sizeof(SceneVertex), g_sceneVertexFormat, std::size(g_sceneVertexFormat));
    m_base.BuildClothData(staging, Name("flag"));
    if (!m_base.GetClothData() || m_base.GetClothData()->positions.GetSize() == 0) {
        return false;
    }
    std::array<gw::FormatDesc, std::size(g_sceneVertexFormat)> format;
    std::copy(std::begin(g_sceneVertexFormat), std::end(g_sceneVertexFormat), format.begin());
    std::vector<char> skin(part.vertexCount * sizeof(SceneVertex::color));
    m_positions.resize(part.vertexCount);
    m_others.resize(part.vertexCount * sizeof(OtherAttributes));
    m_base.PrepareCloth(staging, m_positions.data(), skin.data(), m_others.data(), format.data());

    m_base.SetBound(part.bound);
    const IndexBufferID indexBuffer =
        m_base.SetIndices(part.indexCount, sizeof indices[0], indices.data(), gw::eResourceUsage_Immutable);
    const VertexBufferID others = m_base.SetVertices(part.vertexCount, m_others.data(), format.data(), format.size(),
                                                     gw::eResourceUsage_Dynamic); // normals turn with the cloth
    const VertexBufferID positions = MakeBuffer(m_positions.data(), m_positions.size() * sizeof(Vector3f));
    const VertexBufferID skinBuffer = MakeBuffer(skin.data(), skin.size());
    m_base.SetClothPositionsVertexBuffer(part.vertexCount, sizeof(Vector3f), positions);
    m_base.SetClothSkinningVertexBuffer(part.vertexCount, sizeof(SceneVertex::color), skinBuffer);
    m_renderer.AddVertexFormat(format.data(), format.size(), qs::ObjectHandle::Unassigned, m_vertexFormat);
    return m_renderer.IsIndexBufferAlive(indexBuffer) && m_renderer.IsVertexBufferAlive(others) &&
           m_renderer.IsVertexBufferAlive(positions) && m_renderer.IsVertexBufferAlive(skinBuffer);
}

bool FlagModel::Create(const ScenePart& part)
{
    if (!CreateBase(part)) {
        return false;
    }
    m_flag.CreateClothInstance(&m_base);
    m_flag.DisableClothGPUSkinningAndVertexColorAnimation(0);
    m_solver = std::make_unique<FlagSolver>(*m_flag.GetClothData());
    m_step = -s_warmUp;
    return true;
}

void FlagModel::SetTime(double time)
{
    const std::int64_t target = std::llround(std::clamp(time, 0.0, 1e9) / FlagSolver::s_step);
    if (target - m_step > 2 * s_warmUp) {
        m_step = target - s_warmUp;
    }
    for (; m_step < target; ++m_step) {
        m_solver->Step(static_cast<double>(m_step) * FlagSolver::s_step);
    }
    Write();
}

void FlagModel::WriteNormals()
{
    const std::vector<Vector3f> normals = m_solver->ComputeNormals();
    for (std::size_t i = 0; i < normals.size(); ++i) {
        const SceneVertex vertex = MakeVertex({}, normals[i], {});
        std::memcpy(m_others.data() + i * sizeof(OtherAttributes), vertex.normal, sizeof vertex.normal);
    }
}

/// Vertices outside of the simulation stand behind the others and stay as they are.
void FlagModel::Write()
{
    std::copy(m_solver->GetPositions().begin(), m_solver->GetPositions().end(), m_positions.begin());
    WriteNormals();
    void* data = nullptr;
    const auto positionBytes = static_cast<std::uint32_t>(m_positions.size() * sizeof(Vector3f));
    if (m_flag.LockClothPositionBuffer(m_commands, 0, positionBytes, &data, gw::eResourceAccess_WriteDiscard)) {
        std::memcpy(data, m_positions.data(), positionBytes);
        m_flag.UnlockClothPositionBuffer(m_commands);
    }
    const auto otherBytes = static_cast<std::uint32_t>(m_others.size());
    if (m_base.Lock(m_commands, 0, otherBytes, &data, gw::eResourceAccess_WriteDiscard)) {
        std::memcpy(data, m_others.data(), otherBytes);
        m_base.Unlock(m_commands);
    }
    gw::DataLoader::InvokeExecuteRCB(&m_commands);
}

} // namespace gleamview
