// Making and removing the shaders of the tests.
#include "DrawFixture.h"

#include <cstring>

const char PLAIN_VERTEX[] = "float4 main(float2 position : POSITION) : SV_Position { return float4(position, 0, 1); }";
const char PLAIN_FRAGMENT[] = "float4 main() : SV_Target0 { return 1; }";

namespace {

gw::ShaderData Section(const char* text)
{
    return text ? gw::ShaderData(text, std::strlen(text)) : gw::ShaderData();
}

} // namespace

qs::ObjectHandle DrawTest::MakeShader(const char* vertex, const char* fragment)
{
    const gw::ShaderData none;
    const qs::ObjectHandle shader =
        m_renderer->AddShader(Section(vertex), none, Section(fragment), none, qs::FixedString::Empty,
                              qs::FixedString::Empty, true, nullptr, nullptr, 0);
    m_renderer->CreateShader(shader);
    return Keep(shader);
}

qs::ObjectHandle DrawTest::MakeComputeShader(const char* compute)
{
    const gw::ShaderData none;
    const qs::ObjectHandle shader = m_renderer->AddShader(none, none, none, Section(compute), qs::FixedString::Empty,
                                                          qs::FixedString::Empty, true, nullptr, nullptr, 0);
    m_renderer->CreateShader(shader);
    return Keep(shader);
}

qs::ObjectHandle DrawTest::Keep(qs::ObjectHandle shader)
{
    m_shaders.push_back(shader);
    return shader;
}

void DrawTest::TearDown()
{
    for (const qs::ObjectHandle& shader : m_shaders) {
        if (m_renderer && m_renderer->IsShaderAlive(shader)) {
            m_renderer->RemoveShader(shader);
        }
    }
    DeviceTest::TearDown();
}
