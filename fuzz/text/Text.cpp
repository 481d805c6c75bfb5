// Lays the input out as text, into exactly the room that was told, and measures it.
#include "Gleamwork/RendererBase.h"
#include "gleamwork_text/TextFont.h"

#include <cmath>
#include <cstdlib>
#include <qs/Log.h>
#include <string>

using gw::details::RendererBase;

static void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    static qs::LogCapture s_quiet;
    static const gw::TexturedFont s_font = text_font::MakeFont(qs::ObjectHandle::Unassigned, true);
    s_quiet.Clear();
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::wstring wide(text.begin(), text.end());
    const unsigned room = RendererBase::getTextQuads(text.c_str());
    for (const bool flip : {false, true}) {
        std::vector<gw::TexVertex> vertices(room * 6);
        const int quads = RendererBase::fillTextBuffer(vertices.data(), text.c_str(), 1, 2, 3, &s_font, flip);
        Require(quads >= 0 && unsigned(quads) <= room);
        for (std::size_t i = 0; i < std::size_t(quads) * 6; ++i) {
            // Four digits are the most that a colour has.
            for (const float channel : vertices[i].color) {
                Require(channel >= 0.0f && channel <= 9999.0f / 255.0f);
            }
            Require(std::isfinite(vertices[i].position.x) && std::isfinite(vertices[i].position.y));
        }
    }
    std::vector<gw::TexVertex> vertices(RendererBase::getTextQuads(wide.c_str()) * 6);
    RendererBase::fillTextBuffer(vertices.data(), wide.c_str(), 0, 0, 1, &s_font, false);
    const float width = RendererBase::getTextWidth(&s_font, text.c_str(), 0);
    Require(RendererBase::getTextDimension(&s_font, text.c_str(), 0).x == width);
    Require(RendererBase::getTextWidth(&s_font, text.data(), size) >= width);
    return 0;
}
