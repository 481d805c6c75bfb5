// One measured event and its queries.
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11PerformanceTracker.h"
#include "Gleamwork/dx11/ViewArray.h"

#include <d3d11.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/EventQuery";

ID3D11Query* CreateQuery(ID3D11Device* device, D3D11_QUERY kind)
{
    const D3D11_QUERY_DESC desc = {kind, 0};
    ID3D11Query* query = nullptr;
    const HRESULT hr = device->CreateQuery(&desc, &query);
    if (FAILED(hr)) {
        GW_ASSERT_DEVICE_ERROR(FILE_NAME, "api::EventQuery::EventQuery",
                               "ID3D11Device::CreateQuery failed!\nError: %s\nDescription: %s", hr);
        return nullptr;
    }
    return query;
}

} // namespace

EventQuery::EventQuery(ID3D11Device* device)
    : startTimestamp(CreateQuery(device, D3D11_QUERY_TIMESTAMP)),
      endTimestamp(CreateQuery(device, D3D11_QUERY_TIMESTAMP)),
      statisticsQuery(CreateQuery(device, D3D11_QUERY_PIPELINE_STATISTICS)), clock(false)
{
}

EventQuery::~EventQuery()
{
    ReleaseObject(startTimestamp);
    ReleaseObject(endTimestamp);
    ReleaseObject(statisticsQuery);
}

void EventQuery::Begin(ID3D11DeviceContext* context, const qs::FixedString& eventName, EventQuery* parentQuery)
{
    name = eventName;
    children.Clear();
    parent = parentQuery;
    if (parent) {
        parent->children.Add(this);
    }
    if (statisticsQuery) {
        context->Begin(statisticsQuery);
    }
    if (startTimestamp) {
        context->End(startTimestamp);
    }
    clock.restart();
}

void EventQuery::End(ID3D11DeviceContext* context)
{
    clock.stop();
    if (endTimestamp) {
        context->End(endTimestamp);
    }
    if (statisticsQuery) {
        context->End(statisticsQuery);
    }
}

} // namespace api
