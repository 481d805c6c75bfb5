// Encoded bytes on their way to a blob or a file.
#pragma once

#include <DirectXTex.h>

#include <vector>

namespace DirectX {

using Bytes = std::vector<std::uint8_t>;

HRESULT ToBlob(const Bytes& bytes, Blob& blob);

/// Creates or replaces a file. On failure, a full disk among them, what was written is removed and the HRESULT says
/// what the file system said.
HRESULT WriteFile(const wchar_t* file, const Bytes& bytes);

template <class Value>
void Append(Bytes& bytes, Value value)
{
    const auto* first = reinterpret_cast<const std::uint8_t*>(&value);
    bytes.insert(bytes.end(), first, first + sizeof value);
}

} // namespace DirectX
