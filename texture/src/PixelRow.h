// Rows of texels as four floats each, for everything that computes with colours.
#pragma once

#include <DirectXTex.h>

namespace DirectX {

/// Whether a format can be read and written as floats. Integer, typeless and block formats cannot.
bool HasFloatRows(DXGI_FORMAT format);

/// Whether its values are linear light of any range, as opposed to values that a picture file stores as they are.
bool IsFloat(DXGI_FORMAT format);

/// Reads `count` texels into four floats each; missing colours are 0, a missing alpha 1. sRGB formats come out in
/// linear light.
void LoadRow(DXGI_FORMAT format, const std::uint8_t* source, float* rgba, std::size_t count);

/// The reverse. Normalised values are clamped and rounded to nearest; a NaN becomes 0.
void StoreRow(DXGI_FORMAT format, const float* rgba, std::uint8_t* target, std::size_t count);

/// The sRGB transfer curves of IEC 61966-2-1, both for values of 0..1.
float LinearFromSrgb(float value);
float SrgbFromLinear(float value);

} // namespace DirectX
