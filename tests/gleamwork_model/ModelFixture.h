// A model on the null device, and what its vertex buffer holds.
#pragma once

#include "Gleamwork/Model.h"
#include "Gleamwork/RendererCommandBuffer.h"
#include "gleamwork_core/CoreFixture.h"

class ModelFixture : public DeviceTest
{
protected:
    void SetUp() override
    {
        StartDevice("null");
        m_commands = std::make_unique<gw::RendererCommandBuffer>();
    }
    void TearDown() override
    {
        m_model.RemoveRenderData();
        m_immediate.ExecuteAll();
        m_commands.reset();
        DeviceTest::TearDown();
    }

    void Replay() { qs::ExecuteCommandDispatcher(*m_commands, true); }
    /// Through a copy that the processor can read.
    std::vector<float> ReadVertices()
    {
        const std::size_t size = m_renderer->GetVertexBufferSize(m_model.GetVertexBuffer());
        const VertexBufferID copy =
            gw::DataLoader::InvokeAddVertexBuffer(long(size), gw::eResourceUsage_Staging, nullptr);
        m_renderer->CopyVertexBuffer(m_model.GetVertexBuffer(), copy);
        void* data = nullptr;
        std::vector<float> floats(size / sizeof(float));
        EXPECT_TRUE(m_renderer->LockVertexBuffer(copy, 0, 0, &data, gw::eResourceAccess_Read));
        if (data) {
            std::memcpy(floats.data(), data, floats.size() * sizeof(float));
            m_renderer->UnlockVertexBuffer(copy);
        }
        m_renderer->RemoveVertexBuffer(copy);
        return floats;
    }

    std::unique_ptr<gw::RendererCommandBuffer> m_commands;
    gw::Model m_model{qs::FixedString::Create("mesh")};
};
