// A cloth model that the viewer's solver moves.
#pragma once

#include "cloth/FlagSolver.h"
#include "scene/SceneData.h"

#include <Gleamwork/ClothModel.h>
#include <Gleamwork/RendererCommandBuffer.h>

#include <array>
#include <memory>
#include <qs/ObjectHandle.h>
#include <vector>

namespace gw {
class Renderer;
}

namespace gleamview {

/// A base model and its one instance. On the thread that owns the device.
class FlagModel
{
public:
    explicit FlagModel(gw::Renderer& renderer);
    ~FlagModel();
    FlagModel(const FlagModel&) = delete;
    FlagModel& operator=(const FlagModel&) = delete;

    /// Makes buffers and solver of a part whose vertices say with the red of their colour how freely they move. False
    /// when the device has no room.
    bool Create(const ScenePart& part);
    /// Moves the cloth on to a point in time, in seconds, and hands what it writes to the immediate queue, in front of
    /// the frame that shows it. The way from far behind is cut short, and there is none back.
    void SetTime(double time);

    gw::ClothModel& GetModel() { return m_flag; }
    qs::ObjectHandle GetVertexFormat() const { return m_vertexFormat; }

private:
    bool CreateBase(const ScenePart& part);
    void Write();
    void WriteNormals();

    gw::Renderer& m_renderer;
    gw::ClothModel m_base;
    gw::ClothModel m_flag;
    qs::ObjectHandle m_vertexFormat;
    std::unique_ptr<FlagSolver> m_solver;
    gw::RendererCommandBuffer m_commands;
    std::vector<Vector3f> m_positions; ///< of all vertices
    std::vector<char> m_others;        ///< slot 0: normals and texture coordinates
    std::int64_t m_step = 0;
};

} // namespace gleamview
