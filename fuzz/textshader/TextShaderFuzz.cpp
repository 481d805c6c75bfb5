// Any bytes as a text shader: sections stay inside the text, and do not overlap.
#include "Gleamwork/TextShader.h"

#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    gw::ShaderData sections[4];
    gw::SplitShaderText(text.c_str(), text.size(), sections[0], sections[1], sections[2], sections[3]);
    for (const gw::ShaderData& section : sections) {
        if (!section.data) {
            continue;
        }
        const char* end = section.data + section.size;
        if (section.data < text.c_str() || end > text.c_str() + text.size()) {
            std::abort();
        }
        for (const gw::ShaderData& other : sections) {
            if (&other != &section && other.data && other.size && section.size && other.data < end &&
                section.data < other.data + other.size) {
                std::abort();
            }
        }
    }
    return 0;
}
