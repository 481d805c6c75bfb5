// Shaders with known constants and resources, and the null device's count of calls.
#pragma once

#include "Gleamwork/TextShader.h"
#include "gleamwork_core/CoreFixture.h"

#include <gleam_null_device.h>

/// Names the protected members that tests look at.
struct DrawPeek : gw::Renderer
{
    using gw::Renderer::m_frameCounter;
    using gw::Renderer::m_state;
};

class DrawTest : public DeviceTest
{
protected:
    void SetUp() override { StartDevice("null"); }

    /// Compiles and creates a program of a vertex and a fragment section.
    qs::ObjectHandle MakeShader(const char* vertex, const char* fragment);
    qs::ObjectHandle MakeComputeShader(const char* compute);
    /// Puts an object on the list of what the end of the test removes.
    qs::ObjectHandle Keep(qs::ObjectHandle shader);
    void TearDown() override;

    const D3D11StateCache& State() const { return m_renderer->*(&DrawPeek::m_state); }
    const Shader& Record(qs::ObjectHandle shader) const { return *m_renderer->GetShader(shader); }
    /// Calls of one kind that `work` makes on the null device.
    template <class Work>
    static std::uint64_t CountCalls(const char* kind, const Work& work)
    {
        const std::uint64_t before = GleamNullCallCountOf(kind);
        work();
        return GleamNullCallCountOf(kind) - before;
    }
    static qs::FixedString Name(const char* text) { return qs::FixedString::Create(text, -1); }

private:
    std::vector<qs::ObjectHandle> m_shaders;
};

extern const char PLAIN_VERTEX[];
extern const char PLAIN_FRAGMENT[];
