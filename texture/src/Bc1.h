// One BC1 block from 4 by 4 texels.
#pragma once

#include <cstdint>

namespace DirectX {

/// Bytes of one block: two 5:6:5 endpoints and 16 indices of two bits.
constexpr int Bc1BlockBytes = 8;

/// `rgba` is 16 texels of four bytes, row by row. Texels whose alpha is below `alphaLimit` become transparent; a block
/// without any keeps all four of its colours.
void EncodeBc1Block(const std::uint8_t* rgba, int alphaLimit, std::uint8_t* block);

} // namespace DirectX
