// Queries of the null device.
#include <cstring>

#include "null/NullObjects.h"

namespace gleam {
namespace {

constexpr UINT64 NanosecondFrequency = 1000000000;

UINT64 Now()
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<UINT64>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

} // namespace

HRESULT NullQuery::Begin()
{
    if (m_desc.Query == D3D11_QUERY_EVENT || m_desc.Query == D3D11_QUERY_TIMESTAMP) {
        return Refuse(E_INVALIDARG, "ID3D11DeviceContext::Begin", "events and timestamps have no beginning");
    }
    m_state = EState::Begun;
    return S_OK;
}

void NullQuery::End()
{
    m_time = Now();
    m_state = EState::Ended;
}

HRESULT NullQuery::GetData(void* data, UINT size)
{
    if (m_state != EState::Ended) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "ID3D11DeviceContext::GetData", "the query has not ended");
    }
    if (size != (data ? GetDataSize() : 0) && size != GetDataSize()) {
        return Refuse(E_INVALIDARG, "ID3D11DeviceContext::GetData", "DataSize %u must be 0 or %u", size, GetDataSize());
    }
    if (!data) {
        return S_OK;
    }
    std::memset(data, 0, size);
    if (m_desc.Query == D3D11_QUERY_EVENT) {
        const BOOL signalled = TRUE;
        std::memcpy(data, &signalled, sizeof(signalled));
    } else if (m_desc.Query == D3D11_QUERY_TIMESTAMP) {
        std::memcpy(data, &m_time, sizeof(m_time));
    } else if (m_desc.Query == D3D11_QUERY_TIMESTAMP_DISJOINT) {
        std::memcpy(data, &NanosecondFrequency, sizeof(NanosecondFrequency));
    }
    return S_OK;
}

} // namespace gleam
