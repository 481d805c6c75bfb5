// Text.
//
//   text_layout  laying out a page of text with some tags, against writing the same vertices from a list of its quads
#include "bench/common/Ratio.h"

#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/RendererBase.h"
#include "gleamwork_text/TextFont.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

GleamworkSDM s_gleamwork;

using gw::TexVertex;
using gw::details::RendererBase;

constexpr unsigned c_quadVertices = 6;

/// What a list keeps of a quad: two corners of the place and of the texture, and the colour.
struct Quad
{
    float left, top, right, bottom, u0, v0, u1, v1, color[3];
};

std::string MakePage()
{
    std::string page;
    for (unsigned line = 0; line < 60; ++line) {
        page += line % 8 == 3 ? "|cl255;128;0;" : line % 8 == 4 ? "|clx" : "";
        for (unsigned column = 0; column < 80; ++column)
            page += char(33 + (line * 31 + column * 17) % 90);
        page += '\n';
    }
    return page;
}

std::vector<Quad> MakeQuads(const std::vector<TexVertex>& vertices)
{
    std::vector<Quad> quads;
    for (std::size_t i = 0; i < vertices.size(); i += c_quadVertices) {
        const TexVertex& a = vertices[i];
        const TexVertex& b = vertices[i + 5];
        quads.push_back({a.position.x,
                         a.position.y,
                         b.position.x,
                         b.position.y,
                         a.texCoord.x,
                         a.texCoord.y,
                         b.texCoord.x,
                         b.texCoord.y,
                         {a.color[0], a.color[1], a.color[2]}});
    }
    return quads;
}

void WriteQuads(const std::vector<Quad>& quads, TexVertex* out)
{
    for (const Quad& q : quads) {
        out[0] = {{q.left, q.top}, {q.u0, q.v0}, {q.color[0], q.color[1], q.color[2]}};
        out[1] = {{q.right, q.top}, {q.u1, q.v0}, {q.color[0], q.color[1], q.color[2]}};
        out[2] = {{q.left, q.bottom}, {q.u0, q.v1}, {q.color[0], q.color[1], q.color[2]}};
        out[3] = {{q.left, q.bottom}, {q.u0, q.v1}, {q.color[0], q.color[1], q.color[2]}};
        out[4] = {{q.right, q.top}, {q.u1, q.v0}, {q.color[0], q.color[1], q.color[2]}};
        out[5] = {{q.right, q.bottom}, {q.u1, q.v1}, {q.color[0], q.color[1], q.color[2]}};
        out += c_quadVertices;
    }
}

} // namespace

int main(int argc, char** argv)
{
    gw::TexturedFont font = text_font::MakeFont(qs::ObjectHandle::Unassigned, true);
    const std::string page = MakePage();
    std::vector<TexVertex> ours(RendererBase::getTextQuads(page.c_str()) * c_quadVertices);
    const auto layOut = [&] {
        return unsigned(RendererBase::fillTextBuffer(ours.data(), page.c_str(), 3, 4, 1, &font, false));
    };
    ours.resize(layOut() * c_quadVertices);
    const std::vector<Quad> quads = MakeQuads(ours);
    std::vector<TexVertex> limit(ours.size());
    WriteQuads(quads, limit.data());
    if (std::memcmp(ours.data(), limit.data(), ours.size() * sizeof(TexVertex)) != 0) {
        std::fputs("bench_text: both sides must write the same vertices\n", stderr);
        return 1;
    }
    bench::AddRow(
        "text_layout",
        [&](benchmark::State& state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(layOut());
        },
        [&](benchmark::State& state) {
            for (auto _ : state) {
                WriteQuads(quads, limit.data());
                benchmark::ClobberMemory();
            }
        },
        bench::ETime::Processor);
    const int status = bench::Run(argc, argv);
    font.DestroyCharData();
    return status;
}
