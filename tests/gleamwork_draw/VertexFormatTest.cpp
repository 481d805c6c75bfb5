// Vertex formats: sharing, sizes, and validation against a shader or the generated one.
#include "DrawFixture.h"

namespace {

class VertexFormats : public DrawTest
{
protected:
    qs::ObjectHandle Add(const std::vector<gw::FormatDesc>& descs, qs::ObjectHandle shader = SHADER_NONE)
    {
        qs::ObjectHandle format;
        m_renderer->AddVertexFormat(descs.data(), static_cast<unsigned>(descs.size()), shader, format);
        return format;
    }
};

constexpr gw::FormatDesc POSITION = {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 2};
constexpr gw::FormatDesc UV = {1, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float16, 2};
constexpr gw::FormatDesc COLOR = {2, gw::eAttributeUsage_Color, 3, 1, gw::eAttributeFormat_UNorm8, 4};

TEST_F(VertexFormats, EqualAttributesShareOneFormat)
{
    const qs::ObjectHandle plain = Add({POSITION});
    EXPECT_EQ(Add({POSITION}).GetValue(), plain.GetValue());
    const qs::ObjectHandle shader = MakeShader(PLAIN_VERTEX, PLAIN_FRAGMENT);
    const qs::ObjectHandle typed = Add({POSITION}, shader);
    EXPECT_NE(typed.GetValue(), plain.GetValue()); // tied to a signature, which the first is not
    EXPECT_EQ(Add({POSITION}, MakeShader(PLAIN_VERTEX, PLAIN_FRAGMENT)).GetValue(), typed.GetValue());
    EXPECT_NE(Add({POSITION, UV}).GetValue(), plain.GetValue());
}

TEST_F(VertexFormats, StreamsHaveTheirOwnSizesAndTheDummyShaderTakesAllAttributes)
{
    const qs::ObjectHandle format = Add({POSITION, UV, COLOR});
    EXPECT_EQ(m_renderer->GetVertexSize(format, 0), 8u);
    EXPECT_EQ(m_renderer->GetVertexSize(format, 1), 4u);
    EXPECT_EQ(m_renderer->GetVertexSize(format, 2), 4u);
    EXPECT_EQ(m_renderer->GetVertexSize(format, 8), 0u);
    EXPECT_EQ(m_renderer->GetNumTexCoords(format), 1);
    // A layout was made: binding it reaches the device with one.
    EXPECT_EQ(CountCalls("IASetInputLayout", [&] { m_renderer->SetVertexFormat(format); }), 1u);
    EXPECT_EQ(CountCalls("IASetInputLayout", [&] { m_renderer->SetVertexFormat(format); }), 0u);
    ExpectQuiet();
}

TEST_F(VertexFormats, WhatTheDummyDoesNotKnowIsTold)
{
    gw::FormatDesc second = POSITION;
    second.usageIndex = 1;
    Add({POSITION, second});
    EXPECT_EQ(m_log.CountContaining("More than 1 position entry found in vertex format."), 1u);
    m_log.Clear();
    gw::FormatDesc fifth = UV;
    fifth.usageIndex = 4;
    Add({fifth});
    EXPECT_EQ(m_log.CountContaining("More than 4 texCoord entries found in vertex format."), 1u);
    m_log.Clear();
    gw::FormatDesc wide = UV;
    wide.count = 5;
    Add({wide});
    EXPECT_EQ(m_log.CountContaining("Attribute size not supported by dummy shader!"), 1u);
    m_log.Clear();
}

TEST_F(VertexFormats, TheBuffersStrideComesFromTheFormat)
{
    const VertexBufferID buffer = gw::DataLoader::InvokeAddVertexBuffer(64, gw::eResourceUsage_Default, nullptr);
    m_renderer->SetVertexFormat(Add({POSITION}));
    const auto set = [&] { m_renderer->SetVertexBuffer(0, buffer, 16); };
    EXPECT_EQ(CountCalls("IASetVertexBuffers", set), 1u);
    EXPECT_EQ(CountCalls("IASetVertexBuffers", set), 0u);
    EXPECT_EQ(State().vertexBufferOffsets[0], 16);
    m_renderer->SetVertexBuffer(0, VertexBufferID(), 8);
    EXPECT_EQ(State().vertexBufferOffsets[0], 0);
    m_renderer->SetVertexBuffer(8, buffer, 0);
    ExpectAssert("Stream 8 out of range [0 - 7]");
    m_renderer->RemoveVertexBuffer(buffer);
}

} // namespace
