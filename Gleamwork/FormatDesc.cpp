// Vertex streams.
#include "Gleamwork/FormatDesc.h"

#include <qs/Log.h>

namespace gw {

Stream::Stream(EAttributeUsage usage, std::int32_t components, std::uint32_t vertexCount, const float* data)
    : usage(usage), components(components), vertexCount(vertexCount), data(data)
{
}

StreamCollection::StreamCollection(EPrimitiveTopology topology, std::uint32_t indexCount, const std::uint16_t* indices)
    : topology(topology), indexCount(indexCount), indices(indices)
{
}

void StreamCollection::AddStream(const Stream& stream)
{
    streams.Add(stream);
    if (vertexCount != 0 && vertexCount != stream.vertexCount) {
        QS_LOG_ASSERT("Gleamwork/Model", "gw::StreamCollection::AddStream",
                      "Streams are added with a different vertex count! This is not supported for now...");
    }
    vertexCount = stream.vertexCount;
}

bool StreamCollection::HasStream(EAttributeUsage usage) const
{
    for (std::uint32_t i = 0; i < streams.GetSize(); ++i) {
        if (streams[i].usage == usage) {
            return true;
        }
    }
    return false;
}

} // namespace gw
