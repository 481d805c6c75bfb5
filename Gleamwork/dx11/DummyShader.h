// A shader that exists only to have the input signature of a vertex format.
#pragma once

#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/TextShader.h"

namespace api {

/// The vertex section: one input per attribute that the definitions name, each taking part in the output so that the
/// compiler keeps it.
gw::ShaderData GetDummyVertexSource();
gw::ShaderData GetDummyPixelSource();

/// Fills one definition per attribute: its name tells usage and index, its value the number of components. Attributes
/// beyond what the dummy knows assert.
void FillDummyDefines(const gw::FormatDesc* descs, unsigned count, gw::ShaderDefine& defines);

} // namespace api
