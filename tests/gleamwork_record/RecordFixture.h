// A renderer with a shader that has constants, a texture and a sampler, and what the tests of command buffers record.
#pragma once

#include "Gleamwork/RendererCommandBuffer.h"
#include "gleamwork_draw/DrawFixture.h"

class RecordTest : public DrawTest
{
protected:
    void SetUp() override;
    void TearDown() override;

    /// Replays as the loader's command does.
    static void Replay(gw::RendererCommandBuffer& buffer) { qs::ExecuteCommandDispatcher(buffer, true); }
    /// A draw of the textured shader: place and tint as constants, the matrix on top.
    void RecordDraw(gw::RendererCommandBuffer& buffer, qs::ObjectHandle texture, const Vector4f& tint) const;
    gw::PrepareDrawData DrawData() const;
    /// Drops what replays of nonsense made the log and the validation say.
    void ForgetMessages();

    const char* m_device = "null";
    qs::ObjectHandle m_shader;
    qs::ObjectHandle m_target;
    qs::ObjectHandle m_texture;
    qs::ObjectHandle m_format;
    VertexBufferID m_vertices;
    IndexBufferID m_indices;
    const qs::FixedString m_place = Name("place");
    const qs::FixedString m_tint = Name("tint");
    const qs::FixedString m_world = Name("world");
    const qs::FixedString m_base = Name("Base");
    const qs::FixedString m_sampler = Name("BaseSampler");
};
