// Putting common text in front of sections, and compiling.
#include "draw/Shaders.h"

#include <Gleamwork/CompiledShader.h>
#include <Gleamwork/Renderer.h>
#include <Gleamwork/TextShader.h>

namespace gleamview {

namespace {

/// A section behind the text that all sections share.
std::string Complete(const gw::ShaderData& section)
{
    const std::string_view own(section.data, section.size);
    std::string text(GetShaderText("common.hlsl"));
    if (own.find("LightSurface") != own.npos) {
        text += GetShaderText("lighting.hlsl");
    }
    return text.append(own);
}

} // namespace

Shaders::~Shaders()
{
    for (const qs::ObjectHandle& shader : m_all) {
        m_renderer.RemoveShader(shader);
    }
}

qs::ObjectHandle Shaders::Add(const char* file, const char* define, const char* value)
{
    const std::string text(GetShaderText(file));
    gw::ShaderData vertex, geometry, fragment, compute;
    gw::SplitShaderText(text.c_str(), text.size(), vertex, geometry, fragment, compute);
    const std::string vertexText = Complete(vertex);
    const std::string fragmentText = Complete(fragment);
    gw::ShaderDefine defines(1);
    defines.names[0] = define;
    defines.definitions[0] = value;
    const qs::ObjectHandle shader =
        m_renderer.AddShader(gw::ShaderData(vertexText.data(), vertexText.size()), geometry,
                             gw::ShaderData(fragmentText.data(), fragmentText.size()), compute, qs::FixedString::Empty,
                             qs::FixedString::Empty, true, &defines, nullptr, 0);
    if (shader.IsValid()) {
        m_renderer.CreateShader(shader);
        m_all.push_back(shader);
    }
    return shader;
}

bool Shaders::Create(std::string& error)
{
    struct Row
    {
        qs::ObjectHandle& handle;
        const char* file;
        const char* define;
    };
    const Row rows[] = {
        {surface, "surface.shader", "PLAIN"},      {surfaceFull, "surface.shader", "FULL"},
        {surfaceCloth, "surface.shader", "CLOTH"}, {shadow, "shadow.shader", "PLAIN"},
        {shadowMasked, "shadow.shader", "MASKED"}, {ground, "ground.shader", "PLAIN"},
        {backdrop, "backdrop.shader", "PLAIN"},
    };
    for (const Row& row : rows) {
        row.handle = Add(row.file, row.define, "1");
        if (!row.handle.IsValid()) {
            error = std::string("the viewer's own ") + row.file + " could not be made";
            return false;
        }
    }
    return true;
}

qs::ObjectHandle Shaders::GetDevelop(unsigned samples)
{
    qs::ObjectHandle& shader = m_develop[samples > 1];
    if (!shader.IsValid()) {
        shader = Add("develop.shader", "SAMPLES", std::to_string(samples).c_str());
    }
    return shader;
}

} // namespace gleamview
