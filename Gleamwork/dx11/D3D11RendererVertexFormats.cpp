// Vertex formats: shared by equal attributes, each tied to an input signature.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/DummyShader.h"

#include <qs/Log.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererVertexFormats";
constexpr char MEMORY_NAME[] = "VertexFormat::descs";

bool IsStream(int stream)
{
    return stream >= 0 && stream < VertexFormat::MAX_STREAMS;
}

} // namespace

void VertexFormat::Initialize(const gw::FormatDesc* source, std::uint32_t count)
{
    if (descs) {
        QS_LOG_ASSERT(FILE_NAME, "VertexFormat::Initialize", "VertexFormat is already Initialized!");
        return;
    }
    qs::MemoryTrackerSample sample(MEMORY_NAME);
    descs = new (qs::DefaultMemoryTag) gw::FormatDesc[count];
    std::copy_n(source, count, descs);
    descCount = count;
    texCoordCount = static_cast<std::uint8_t>(std::count_if(
        descs, descs + count, [](const gw::FormatDesc& desc) { return desc.usage == gw::eAttributeUsage_Texcoord; }));
}

namespace api {

void D3D11Renderer::AddVertexFormat(const gw::FormatDesc* descs, unsigned count, qs::ObjectHandle shader,
                                    qs::ObjectHandle& out)
{
    const Shader* record = shader.IsValid() && m_shaders.IsAlive(shader) ? m_shaders.Get(shader) : nullptr;
    struct Request
    {
        const gw::FormatDesc* descs;
        unsigned count;
        bool hasShader;
        std::uint64_t signatureHash;
    };
    const Request request = {descs, count, record != nullptr, record ? record->signatureHash : 0};
    const auto matches = [](const VertexFormat& format, const Request& wanted) {
        return (!wanted.hasShader || format.signatureHash == wanted.signatureHash) &&
               format.descCount == wanted.count &&
               (wanted.count == 0 ||
                std::memcmp(format.descs, wanted.descs, wanted.count * sizeof(gw::FormatDesc)) == 0);
    };
    const auto initialise = [&](VertexFormat& format, const Request& wanted) {
        format.signatureHash = wanted.signatureHash;
        for (unsigned i = 0; i < wanted.count; ++i) {
            const gw::FormatDesc& desc = wanted.descs[i];
            if (IsStream(desc.stream)) {
                format.vertexSizes[desc.stream] += static_cast<unsigned>(GetFormatSize(desc.format)) * desc.count;
            }
        }
        format.Initialize(wanted.descs, wanted.count);
        CreateVertexFormat(&format, shader);
    };
    m_vertexFormats.FindOrAdd(request, matches, initialise, out);
}

void D3D11Renderer::CreateVertexFormat(VertexFormat* format, qs::ObjectHandle shader)
{
    if (shader.IsValid()) {
        CreateVertexFormatInternal(format, shader);
        return;
    }
    gw::ShaderDefine defines(static_cast<std::int32_t>(format->descCount));
    FillDummyDefines(format->descs, format->descCount, defines);
    const gw::ShaderData none;
    const qs::ObjectHandle dummy =
        AddShader(GetDummyVertexSource(), none, GetDummyPixelSource(), none, qs::FixedString::Empty,
                  qs::FixedString::Empty, true, &defines, nullptr, 0);
    if (!dummy.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::CreateVertexFormat",
                      "createVertexFormat failed! Failed to create dummy shader.");
        return;
    }
    CreateShader(dummy);
    CreateVertexFormatInternal(format, dummy);
    RemoveShaderInternal(dummy);
}

void D3D11Renderer::CreateVertexFormatInternal(VertexFormat* format, qs::ObjectHandle shader)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateVertexFormatInternal";
    if (!shader.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "D3D11 does not allow for vertex formats without a shader validation. The vertex format will "
                      "therefore be skipped (vertexformat.alive == false).");
        return;
    }
    std::vector<D3D11_INPUT_ELEMENT_DESC> elements(format->descCount);
    UINT offsets[VertexFormat::MAX_STREAMS] = {};
    for (unsigned i = 0; i < format->descCount; ++i) {
        const gw::FormatDesc& desc = format->descs[i];
        if (!IsStream(desc.stream)) {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Stream %d of a vertex format out of range [0 - %d]", int(desc.stream),
                          VertexFormat::MAX_STREAMS - 1);
            return;
        }
        D3D11_INPUT_ELEMENT_DESC& element = elements[i];
        element.SemanticName = gw2DX11::FormatDescUsageToSemanticName(desc.usage);
        element.SemanticIndex = desc.usageIndex;
        element.Format = gw2DX11::AttributeFormat(desc.format, desc.count);
        element.InputSlot = static_cast<UINT>(desc.stream);
        element.AlignedByteOffset = offsets[desc.stream];
        element.InputSlotClass = desc.instanced == 1 ? D3D11_INPUT_PER_INSTANCE_DATA : D3D11_INPUT_PER_VERTEX_DATA;
        element.InstanceDataStepRate = desc.instanced == 1 ? 1 : 0;
        offsets[desc.stream] += static_cast<UINT>(GetFormatSize(desc.format)) * desc.count;
    }
    const Shader* record = m_shaders.Get(shader);
    if (!record) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "CreateVertexFormatInternal failed! shader was nullptr!");
        return;
    }
    const gw::CompiledShader* code = m_compiledShaders.Get(record->compiledVertex);
    if (!code) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "CreateVertexFormatInternal failed! compiledShader was nullptr!");
        return;
    }
    const HRESULT hr = m_deviceData.device->CreateInputLayout(elements.data(), static_cast<UINT>(elements.size()),
                                                              code->data, code->size, &format->layout);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, FUNCTION, "ID3D11Device::CreateInputLayout failed!\nError: %s\nDescription: %s",
                            hr);
        format->layout = nullptr;
    }
}

void D3D11Renderer::RemoveVertexFormat(qs::ObjectHandle handle)
{
    VertexFormat* format = handle.IsValid() ? m_vertexFormats.Get(handle) : nullptr;
    if (!format) {
        return;
    }
    if (format->layout) {
        format->layout->Release();
        format->layout = nullptr;
    }
    qs::MemoryTrackerSample sample(MEMORY_NAME);
    delete[] format->descs;
    format->descs = nullptr;
    format->descCount = 0;
    format->texCoordCount = 0;
    m_vertexFormats.Destroy(handle);
}

void D3D11Renderer::SetVertexFormat(const qs::ObjectHandle& handle)
{
    if (m_state.vertexFormat == handle) {
        return;
    }
    m_state.vertexFormat = handle;
    const VertexFormat* format = handle.IsValid() ? m_vertexFormats.Get(handle) : nullptr;
    m_deviceData.context->IASetInputLayout(format ? format->layout : nullptr);
}

unsigned D3D11Renderer::GetVertexSize(qs::ObjectHandle handle, int stream)
{
    const VertexFormat* format = m_vertexFormats.Get(handle);
    return format && IsStream(stream) ? format->vertexSizes[stream] : 0;
}

void D3D11Renderer::GetVertexFormatDesc(qs::ObjectHandle handle, gw::FormatDesc*& descs, unsigned& count)
{
    if (const VertexFormat* format = m_vertexFormats.Get(handle)) {
        descs = format->descs;
        count = format->descCount;
    }
}

unsigned char D3D11Renderer::GetNumTexCoords(qs::ObjectHandle handle) const
{
    const VertexFormat* format = m_vertexFormats.Get(handle);
    return format ? format->texCoordCount : 0;
}

} // namespace api
