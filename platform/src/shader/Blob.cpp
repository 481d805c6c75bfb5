// ID3DBlob over a vector.
#include "shader/Blob.h"

#include <new>

#include "common/ComBase.h"
#include "d3dcompiler.h"

namespace gleam {
namespace {

class Blob final : public ComObject<ID3DBlob, IID_ID3DBlob>
{
public:
    explicit Blob(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}

    void* STDMETHODCALLTYPE GetBufferPointer() override { return m_bytes.data(); }
    SIZE_T STDMETHODCALLTYPE GetBufferSize() override { return m_bytes.size(); }

private:
    ~Blob() override = default;

    std::vector<std::uint8_t> m_bytes;
};

} // namespace

ID3DBlob* MakeBlob(std::vector<std::uint8_t> bytes)
{
    return new Blob(std::move(bytes));
}

ID3DBlob* MakeTextBlob(std::string_view text)
{
    std::vector<std::uint8_t> bytes(text.begin(), text.end());
    bytes.push_back(0);
    return MakeBlob(std::move(bytes));
}

} // namespace gleam

HRESULT WINAPI D3DCreateBlob(SIZE_T size, ID3DBlob** blob)
{
    if (!blob)
        return E_INVALIDARG;
    *blob = nullptr;
    try {
        *blob = gleam::MakeBlob(std::vector<std::uint8_t>(size));
        return S_OK;
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;
    }
}
