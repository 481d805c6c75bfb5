// What immediate drawing needs: the rolling buffers, the built-in shaders and their vertex formats.
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

#include <cstring>
#include <d3d11.h>
#include <limits>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RollingBuffers";
constexpr std::uint32_t GROWTH = 0x10000; // beyond a request, so that a slowly rising size does not grow every time

constexpr char PLAIN_VERTEX[] = "float4 scaleBias;float4 main(float4 position: Position): SV_Position {\t"
                                "position.xy = position.xy * scaleBias.xy + scaleBias.zw;\treturn position;}";
constexpr char PLAIN_3D_VERTEX[] = "float4x4 mvp;float4 main(float4 position: Position): SV_Position {\t"
                                   "position = mul(position, mvp);\treturn position;}";
constexpr char PLAIN_PIXEL[] = "float4 color;float4 main() : SV_Target {\treturn color;}";
constexpr char TEXTURED_VERTEX[] =
    "struct VsIn {\tfloat4 position: Position;\tfloat2 texCoord: TexCoord;\tfloat3 color: Color;};"
    "struct PsIn {\tfloat4 position: SV_Position;\tfloat2 texCoord: TexCoord0;\t"
    "float3 color: TexCoord1;};\nfloat4 scaleBias;float2 offset;PsIn main(VsIn In){\tPsIn Out;\t"
    "Out.position = In.position;\t"
    "Out.position.xy = (Out.position.xy + offset.xy) * scaleBias.xy + scaleBias.zw;\t"
    "Out.texCoord = In.texCoord;\tOut.color = In.color;\treturn Out;}";
constexpr char TEXTURED_3D_VERTEX[] =
    "struct VsIn {\tfloat4 position: POSITION;\tfloat2 texCoord: TEXCOORD;\tfloat3 color: COLOR;};"
    "struct PsIn {\tfloat4 position: SV_Position;\tfloat2 texCoord: TexCoord0;\t"
    "float3 color: TexCoord1;};\nfloat4x4 mvp;PsIn main(VsIn In){\tPsIn Out;\t"
    "Out.position = mul(In.position, mvp);\tOut.texCoord = In.texCoord;\tOut.color = In.color;\t"
    "return Out;}";
constexpr char TEXTURED_PIXEL[] =
    "struct PsIn {\tfloat4 position: SV_Position;\tfloat2 texCoord: TexCoord0;\t"
    "float3 color: TexCoord1;};\nTexture2D Base: register(t0);SamplerState BaseSampler: register(s0);"
    "float4 color;float4 main(PsIn In) : SV_Target {\t"
    "float tex = Base.Sample(BaseSampler, In.texCoord).r;\t"
    "return float4(color.xyz * In.color, tex.r);}";

constexpr gw::FormatDesc PLAIN_FORMAT[] = {{0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 2}};
constexpr gw::FormatDesc PLAIN_3D_FORMAT[] = {{0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3}};
constexpr gw::FormatDesc TEXTURED_FORMAT[] = {
    {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 2},
    {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float32, 2},
    {0, gw::eAttributeUsage_Color, 0, 0, gw::eAttributeFormat_Float32, 3},
};

template <std::size_t Size>
gw::ShaderData SourceOf(const char (&text)[Size])
{
    return gw::ShaderData(text, Size - 1);
}

void CopyIntoBuffer(ID3D11DeviceContext* context, ID3D11Buffer* buffer, const void* data, std::uint32_t offset,
                    std::uint32_t size)
{
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    const HRESULT hr = buffer ? context->Map(buffer, 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped) : E_POINTER;
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::copyToRolling",
                            "ID3D11DeviceContext::Map failed!\nError: %s\nDescription: %s", hr);
        return;
    }
    std::memcpy(static_cast<std::uint8_t*>(mapped.pData) + offset, data, size);
    context->Unmap(buffer, 0);
}

/// Where the next `size` bytes go in a buffer of `total` bytes, which hold them.
std::uint32_t Advance(std::uint32_t& next, std::uint32_t size, std::uint32_t total)
{
    if (std::uint64_t(next) + size > total) {
        next = 0;
    }
    const std::uint32_t offset = next;
    next += size;
    return offset;
}

bool CanGrowTo(const char* function, std::uint32_t size)
{
    constexpr std::uint32_t LIMIT = std::numeric_limits<std::int32_t>::max() - GROWTH;
    if (size <= LIMIT) {
        return true;
    }
    QS_LOG_ERROR(FILE_NAME, function, "A rolling buffer cannot hold %u bytes, the limit is %u.", size, LIMIT);
    return false;
}

} // namespace

std::uint32_t D3D11Renderer::rollingVBSize = 0x200000;
std::uint32_t D3D11Renderer::rollingIBSize = 0x100000;

unsigned D3D11Renderer::copyToRollingVB(const void* data, unsigned size)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::copyToRollingVB";
    if (size > rollingVBSize) {
        if (!CanGrowTo(FUNCTION, size)) {
            return 0;
        }
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Rolling VB is too small (%u > %u)! Increasing size so %u!", size,
                      rollingVBSize, size + GROWTH);
        RemoveVertexBuffer(m_rollingVB);
        rollingVBSize = size + GROWTH;
        m_rollingVB = AddVertexBuffer();
        CreateVertexBuffer(m_rollingVB, long(rollingVBSize), gw::eResourceUsage_Dynamic, nullptr);
        m_rollingVBOffset = 0;
    }
    const std::uint32_t offset = Advance(m_rollingVBOffset, size, rollingVBSize);
    const VertexBuffer* record = m_vertexBuffers.Get(m_rollingVB);
    CopyIntoBuffer(m_deviceData.context, record ? record->buffer : nullptr, data, offset, size);
    return offset;
}

unsigned D3D11Renderer::copyToRollingIB(const void* data, unsigned size)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::copyToRollingIB";
    if (size > rollingIBSize) {
        if (!CanGrowTo(FUNCTION, size)) {
            return 0;
        }
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Rolling IB is too small (%u > %u)! Increasing size so %u!", size,
                      rollingIBSize, size + GROWTH);
        RemoveIndexBuffer(m_rollingIB);
        rollingIBSize = size + GROWTH;
        m_rollingIB = AddIndexBuffer();
        CreateIndexBuffer(m_rollingIB, rollingIBSize, 4, gw::eResourceUsage_Dynamic, nullptr);
        m_rollingIBOffset = 0;
    }
    const std::uint32_t offset = Advance(m_rollingIBOffset, size, rollingIBSize);
    const IndexBuffer* record = m_indexBuffers.Get(m_rollingIB);
    CopyIntoBuffer(m_deviceData.context, record ? record->buffer : nullptr, data, offset, size);
    return offset;
}

void D3D11Renderer::CreatePlainAndTexturedRenderData()
{
    struct BuiltIn
    {
        qs::ObjectHandle& shader;
        qs::ObjectHandle& format;
        gw::ShaderData vertex;
        gw::ShaderData pixel;
        const gw::FormatDesc* descs;
        unsigned descCount;
    };
    const BuiltIn builtIns[] = {
        {m_plainShader, m_plainVertexFormat, SourceOf(PLAIN_VERTEX), SourceOf(PLAIN_PIXEL), PLAIN_FORMAT, 1},
        {m_plain3DShader, m_plain3DVertexFormat, SourceOf(PLAIN_3D_VERTEX), SourceOf(PLAIN_PIXEL), PLAIN_3D_FORMAT, 1},
        {m_texturedShader, m_texturedVertexFormat, SourceOf(TEXTURED_VERTEX), SourceOf(TEXTURED_PIXEL), TEXTURED_FORMAT,
         3},
        {m_textured3DShader, m_textured3DVertexFormat, SourceOf(TEXTURED_3D_VERTEX), SourceOf(TEXTURED_PIXEL),
         TEXTURED_FORMAT, 3},
    };
    const gw::ShaderData none;
    for (const BuiltIn& builtIn : builtIns) {
        if (!builtIn.shader.IsValid()) {
            builtIn.shader = AddShader(builtIn.vertex, none, builtIn.pixel, none, qs::FixedString::Empty,
                                       qs::FixedString::Empty, true, nullptr, nullptr, 0);
            CreateShader(builtIn.shader);
        }
        if (!builtIn.format.IsValid()) {
            AddVertexFormat(builtIn.descs, builtIn.descCount, builtIn.shader, builtIn.format);
        }
    }
    if (!m_rollingVB.IsValid()) {
        m_rollingVB = AddVertexBuffer();
        CreateVertexBuffer(m_rollingVB, long(rollingVBSize), gw::eResourceUsage_Dynamic, nullptr);
    }
    if (!m_rollingIB.IsValid()) {
        m_rollingIB = AddIndexBuffer();
        CreateIndexBuffer(m_rollingIB, rollingIBSize, 4, gw::eResourceUsage_Dynamic, nullptr);
    }
}

void D3D11Renderer::RemovePlainAndTexturedRenderData()
{
    // The formats themselves go with their table.
    for (qs::ObjectHandle* format :
         {&m_plainVertexFormat, &m_plain3DVertexFormat, &m_texturedVertexFormat, &m_textured3DVertexFormat}) {
        *format = qs::ObjectHandle::Unassigned;
    }
    RemoveIndexBuffer(m_rollingIB);
    m_rollingIB = IB_NONE;
    RemoveVertexBuffer(m_rollingVB);
    m_rollingVB = VB_NONE;
    for (qs::ObjectHandle* shader : {&m_plainShader, &m_plain3DShader, &m_texturedShader, &m_textured3DShader}) {
        RemoveShader(*shader);
        *shader = SHADER_NONE;
    }
}

} // namespace api
