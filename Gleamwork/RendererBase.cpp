// The part of the renderer that knows no graphics interface.
#include "Gleamwork/RendererBase.h"

#include "Gleamwork/Font.h"
#include "Gleamwork/FullScreen.h"
#include "Gleamwork/Renderer.h"

#include <algorithm>
#include <qs/Log.h>
#include <qs/ObjectTypeManager.h>

namespace gw {

RendererProperties::RendererProperties() = default;

AtmosphereProperties::AtmosphereProperties() : fogProperties(Matrix4x4f::Zero())
{
    std::fill(std::begin(lightProperties.m), std::end(lightProperties.m), 0.0f);
}

namespace details {

using CompiledShaders = qs::ObjectContainer<CompiledShader>;

Renderer* RendererBase::s_Instance = nullptr;
qs::ObjectHandle RendererBase::s_SS[gw::SS_INVALID];
qs::ObjectHandle RendererBase::s_BS[gw::BS_INVALID];
qs::ObjectHandle RendererBase::s_DS[gw::DS_INVALID];
qs::ObjectHandle RendererBase::s_RS[gw::RS_INVALID];
qs::ObjectHandle RendererBase::s_DefaultFont = qs::ObjectHandle::Unassigned;
qs::ObjectHandle RendererBase::s_SmallFont = qs::ObjectHandle::Unassigned;
const qs::STDString* RendererBase::s_DefaultShaderPath = nullptr;
const qs::STDString* RendererBase::s_MaterialExt = nullptr;

RendererBase::RendererBase(api::IAPI* api)
    : m_debugRenderPasses(37), m_textures(2048, 64), m_shaders(512, 32), m_vertexBuffers(2048, 64),
      m_indexBuffers(2048, 64), m_structuredBuffers(16, 16), m_fonts(16, 16), m_vertexFormats(256, 32),
      m_samplerStates(gw::SS_INVALID, 1), m_blendStates(gw::BS_INVALID, 1), m_depthStates(gw::DS_INVALID, 1),
      m_rasterizerStates(gw::RS_INVALID, 1), m_api(api), m_scaleBias(0, 0, 0, 0)
{
    qs::ObjectTypeManager* types = qs::Singleton<qs::ObjectTypeManager>::GetInstance();
    CompiledShaders::SetTypeIndex(types->RegisterTypeIndex("gw::CompiledShader"));
    TexturedFont::s_Type = types->RegisterTypeIndex("gw::TexturedFont");
    decltype(m_fonts)::SetTypeIndex(TexturedFont::s_Type);
    m_renderProperties = new RendererProperties;
    m_atmosphereProperties = new AtmosphereProperties;
    s_Instance = static_cast<Renderer*>(this);
}

RendererBase::~RendererBase()
{
    m_debugRenderPasses.RemoveAll();
    delete m_renderProperties;
    delete m_atmosphereProperties;
    delete s_DefaultShaderPath;
    delete s_MaterialExt;
    s_DefaultShaderPath = nullptr;
    s_MaterialExt = nullptr;
    delete[] m_textVertices;
    qs::ObjectTypeManager* types = qs::Singleton<qs::ObjectTypeManager>::GetInstance();
    types->UnregisterTypeIndex(TexturedFont::s_Type);
    types->UnregisterTypeIndex(CompiledShaders::GetTypeIndex());
    s_Instance = nullptr;
}

unsigned RendererBase::GetVertexSize(const FormatDesc* desc, unsigned count, int stream)
{
    unsigned size = 0;
    for (unsigned i = 0; i < count; ++i) {
        if (desc[i].stream == stream) {
            size += unsigned(GetFormatSize(desc[i].format)) * desc[i].count;
        }
    }
    return size;
}

int RendererBase::GetFormatSize(EAttributeFormat format)
{
    static constexpr std::uint8_t s_sizes[] = {4, 4, 4, 2, 2, 2, 2, 2, 1, 1, 1, 1};
    return format < std::size(s_sizes) ? s_sizes[format] : 0;
}

int RendererBase::GetPrimitiveCount(EPrimitiveTopology topology, int vertexCount)
{
    switch (topology) {
    case ePrimitiveTopology_TriangleList:
        return vertexCount / 3;
    case ePrimitiveTopology_TriangleFan:
    case ePrimitiveTopology_TriangleStrip:
        return vertexCount - 2;
    case ePrimitiveTopology_QuadList:
        return vertexCount / 4;
    case ePrimitiveTopology_LineList:
        return vertexCount / 2;
    case ePrimitiveTopology_LineStrip:
        return vertexCount - 1;
    case ePrimitiveTopology_PointList:
        return vertexCount;
    default:
        QS_LOG_ASSERT("Gleamwork/RendererBase", "gw::details::RendererBase::GetPrimitiveCount",
                      "Unknown primitive type. Please update this function!");
        return 0;
    }
}

bool RendererBase::CalculateMipDelta(int mipTarget, bool blockCompressed, bool cube, const TextureDimensions& src,
                                     TextureDimensions& dst)
{
    constexpr int minBlockSize = 4;
    // A mip count may come from a file: keep the shift defined for any value.
    const auto shrink = [](int size, int drop) { return drop < 31 ? size >> drop : 0; };

    const int keep = dst.mipCount == -1 ? 1 : std::max(mipTarget - dst.mipCount, 1);
    dst.mipCount = keep;
    int drop = src.mipCount - keep;
    if (drop <= 0) {
        QS_LOG_ASSERT("Gleamwork/RendererBase", "gw::details::RendererBase::CalculateMipDelta",
                      "[RendererBase::CalculateMipDelta] Can't increase mip in the CalculateMipDelta function?");
        return false;
    }
    dst.width = shrink(src.width, drop);
    dst.height = shrink(src.height, drop);
    while (blockCompressed && (dst.width < minBlockSize || dst.height < minBlockSize)) {
        if (drop == 0) {
            return false;
        }
        --drop;
        dst.width = shrink(src.width, drop);
        dst.height = shrink(src.height, drop);
    }
    if (drop < 1) {
        return false;
    }
    dst.mipCount = src.mipCount - drop;
    dst.depth = cube ? std::max(src.depth / 6, 1) : src.depth;
    return true;
}

void RendererBase::Setup2DMode(float left, float right, float top, float bottom)
{
    m_scaleBias = Vector4f(2.0f / (right - left), 2.0f / (top - bottom), -1.0f, 1.0f);
}

void RendererBase::SetRenderProperties(const Matrix4x4f& view, const Matrix4x4f& projection, const Vector3f& position,
                                       float viewInfo0, float viewInfo1)
{
    m_renderProperties->view = view;
    m_renderProperties->projection = projection;
    m_renderProperties->viewProjection = view * projection;
    m_renderProperties->viewPosition = Vector4f(position.x, position.y, position.z, 1.0f);
    m_renderProperties->viewInfo0 = viewInfo0;
    m_renderProperties->viewInfo1 = viewInfo1;
}

// The corners of the full-screen triangle lie at (-1, 1), (3, 1) and (-1, -3) in clip space; up and right reach from
// the centre to the screen's edges.
static void FillCorners(Vector4f* corners, const Vector3f& center, const Vector3f& up, const Vector3f& right)
{
    const auto corner = [&](float y, float x) {
        const Vector3f p = center + up * y + right * x;
        return Vector4f(p.x, p.y, p.z, 0.0f);
    };
    corners[0] = corner(1, -1);
    corners[1] = corner(1, 3);
    corners[2] = corner(-3, -1);
}

void RendererBase::SetRenderFrustrumCorners(const Vector3f& a, const Vector3f& b, const Vector3f& c, const Vector3f& d,
                                            const Vector3f& e, const Vector3f& f)
{
    FillCorners(m_renderProperties->frustumCornersWorld, a, b, c);
    FillCorners(m_renderProperties->frustumCornersView, d, e, f);
}

void RendererBase::SetClusteredLightingProperties(float x, float y, float z, float w)
{
    m_renderProperties->clusteredLighting = Vector4f(x, y, z, w);
}

void RendererBase::SetAtmosphereProperties(const Matrix4x4f& fogProperties, const Matrix3x4f& lightProperties,
                                           const Vector4f& userData, float windAngle, float viewPositionW)
{
    m_atmosphereProperties->fogProperties = fogProperties;
    m_atmosphereProperties->lightProperties = lightProperties;
    m_atmosphereProperties->userData = userData;
    m_atmosphereProperties->windAngle = windAngle;
    m_atmosphereProperties->viewPositionW = viewPositionW;
}

void RendererBase::SetWindClothSpeedProperties(float x, float y, float z)
{
    m_atmosphereProperties->windClothSpeed[0] = x;
    m_atmosphereProperties->windClothSpeed[1] = y;
    m_atmosphereProperties->windClothSpeed[2] = z;
}

std::size_t RendererBase::GetTextureCount() const
{
    return m_textures.GetLiveCount();
}

const FullScreenTriangle& RendererBase::GetDefaultFullScreenTriangle() const
{
    if (m_fullScreenTriangle) {
        return *m_fullScreenTriangle;
    }
    QS_LOG_ASSERT("Gleamwork/RendererBase", "gw::details::RendererBase::GetDefaultFullScreenTriangle",
                  "Fullscreen triangle accessed before it's created!");
    static const FullScreenTriangle s_none;
    return s_none;
}

bool RendererBase::IsVertexBufferAlive(VertexBufferID id) const
{
    return m_vertexBuffers.IsAlive(id);
}

bool RendererBase::IsIndexBufferAlive(IndexBufferID id) const
{
    return m_indexBuffers.IsAlive(id);
}

std::uint64_t RendererBase::GetVertexBufferSize(VertexBufferID id) const
{
    const VertexBuffer* record = m_vertexBuffers.IsAlive(id) ? m_vertexBuffers.Get(id) : nullptr;
    return record && record->buffer ? std::uint64_t(record->sizeInBytes) : 0;
}

std::uint64_t RendererBase::GetIndexBufferSize(IndexBufferID id) const
{
    const IndexBuffer* record = m_indexBuffers.IsAlive(id) ? m_indexBuffers.Get(id) : nullptr;
    return record && record->buffer ? std::uint64_t(record->indexCount) * record->indexSize : 0;
}

bool RendererBase::IsStructuredBufferAlive(StructuredBufferID id) const
{
    return m_structuredBuffers.IsAlive(id);
}

bool RendererBase::IsShaderAlive(qs::ObjectHandle handle) const
{
    return m_shaders.IsAlive(handle);
}

bool RendererBase::IsVertexFormatAlive(qs::ObjectHandle handle) const
{
    return m_vertexFormats.IsAlive(handle);
}

const Shader* RendererBase::GetShader(const qs::ObjectHandle& handle) const
{
    return m_shaders.Get(handle);
}

const TexturedFont* RendererBase::GetFont(const qs::ObjectHandle& handle) const
{
    return m_fonts.Get(handle);
}

void RendererBase::AddDebugRenderPass(const qs::FixedString& pass)
{
    qs::CSLock lock(m_debugPassLock);
    m_debugRenderPasses.SetAt(pass, qs::ObjectHandle::Unassigned);
}

void RendererBase::RemoveDebugRenderPass(const qs::FixedString& pass)
{
    qs::CSLock lock(m_debugPassLock);
    m_debugRenderPasses.RemoveKey(pass);
}

bool RendererBase::IsDebuggingRenderPass(const qs::FixedString& pass)
{
    qs::CSLock lock(m_debugPassLock);
    return m_debugRenderPasses.Lookup(pass) != nullptr;
}

const qs::ObjectHandle RendererBase::GetDebugRenderPassTexture(const qs::FixedString& pass) const
{
    qs::CSLock lock(m_debugPassLock);
    const auto* node = m_debugRenderPasses.Lookup(pass);
    return node ? node->value : qs::ObjectHandle::Unassigned;
}

void RendererBase::SetDebugRenderPassTexture(const qs::FixedString& pass, qs::ObjectHandle texture)
{
    qs::CSLock lock(m_debugPassLock);
    if (auto* node = m_debugRenderPasses.Lookup(pass)) {
        node->value = texture;
        return;
    }
    QS_LOG_ASSERT("Gleamwork/RendererBase", "gw::details::RendererBase::SetDebugRenderPassTexture",
                  "Trying to set debug render pass texture, but the render pass is not being debugged. (%s)",
                  pass.ToChar());
}

} // namespace details
} // namespace gw
