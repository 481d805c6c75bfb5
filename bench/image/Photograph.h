// The photograph that the decoding benchmarks read, and the codecs alone.
#pragma once

#include <vector>

using ByteVector = std::vector<unsigned char>;

constexpr int photographSide = 2048;

// 2048 by 2048 pixels of RGB: a photograph of the installed sample textures, repeated, or noise where there is none.
ByteVector MakePhotograph();
ByteVector EncodePng(const ByteVector& pixels);
ByteVector EncodeJpeg(const ByteVector& pixels);
// The files of 24 bits take the bytes as they stand, so that their red is the photograph's blue.
ByteVector EncodeBmp(const ByteVector& pixels);
ByteVector EncodeTga(const ByteVector& pixels);
ByteVector EncodeRunLengthTga(const ByteVector& pixels);

// The codec alone: every row is decoded into the same memory.
void DecodePngRows(const ByteVector& file);
void DecodeJpegRows(const ByteVector& file);
