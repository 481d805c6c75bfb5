// The part of the renderer that knows no graphics interface: resource tables, default handles, per-view data, debug
// render passes, the frame counter.
#pragma once

#include "Gleamwork/CompiledShader.h"
#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/RenderTypes.h"

#include <cstddef>
#include <cstdint>
#include <qs/FixedString.h>
#include <qs/FixedStringMap.h>
#include <qs/Lock.h>
#include <qs/Math.h>
#include <qs/Memory.h>
#include <qs/ObjectContainer.h>
#include <qs/Settings.h>
#include <qs/String.h>

struct Texture;
struct Shader;
struct VertexBuffer;
struct IndexBuffer;
struct StructuredBuffer;
struct VertexFormat;
struct SamplerState;
struct BlendState;
struct DepthState;
struct RasterizerState;

namespace api {
class IAPI;
class D3D11Renderer;
} // namespace api

namespace qs {
class FileReader;
class Path;
} // namespace qs

namespace gw {

class FullScreenTriangle;
class Renderer;
struct TexVertex;
struct TexturedFont;

/// Description of the platform behind the renderer; 0 for Direct3D 11.
struct PlatformDesc
{
    std::uint8_t value = 0;
};

/// Per-view values that reach shaders through the global constants. Matrices act on row vectors.
struct GW_API RendererProperties
{
    QS_DECLARE_ALLOC(gw::RendererProperties)
    RendererProperties();

    Vector4f frustumCornersWorld[4]; ///< rays through the full-screen triangle's corners; w 0, the last is unused
    Vector4f frustumCornersView[4];
    Matrix4x4f view;
    Matrix4x4f projection;
    Matrix4x4f viewProjection; ///< view times projection
    Vector4f viewPosition;     ///< w is 1 once set
    Vector4f clusteredLighting;
    float viewInfo0 = 0; ///< meaning is the caller's
    float viewInfo1 = 0;
};

/// Fog, light and wind values that reach shaders through the global constants.
struct GW_API AtmosphereProperties
{
    QS_DECLARE_ALLOC(gw::AtmosphereProperties)
    AtmosphereProperties();

    Matrix4x4f fogProperties;
    Matrix3x4f lightProperties;
    Vector4f userData;
    float windAngle = 0;     ///< degrees; shaders get its sine and cosine
    float viewPositionW = 0; ///< rides beside the view position
    float windClothSpeed[3] = {};
};

namespace details {

/// Lowest of the three classes that together are the renderer (gw::Renderer is the top). There is one per process.
///
/// Threads: handles may be added, looked up and removed on any thread, since the tables lock for themselves, and the
/// debug render passes have a lock of their own. All else belongs to the thread that replays render commands.
class GW_API RendererBase
{
public:
    static constexpr unsigned char DEFAULT_TEXTURE_SIZE = 16; ///< width and height of the default textures
    static constexpr unsigned int TEXTURE_REMOVE_DELAY = 4;   ///< frames that a bound texture outlives its removal

    /// The renderer, or null while none exists.
    static Renderer* GetInstance() { return s_Instance; }

    /// Handle of a prefab state. The index is not checked.
    static qs::ObjectHandle SS(EPrefabSamplerState index) { return s_SS[index]; }
    static qs::ObjectHandle BS(EPrefabBlendState index) { return s_BS[index]; }
    static qs::ObjectHandle DS(EPrefabDepthState index) { return s_DS[index]; }
    static qs::ObjectHandle RS(EPrefabRasterizerState index) { return s_RS[index]; }

    /// Bytes of one vertex in a stream of a vertex format.
    static unsigned GetVertexSize(const FormatDesc* desc, unsigned count, int stream);
    /// Bytes of one component; 0 for a value that is no format.
    static int GetFormatSize(EAttributeFormat format);
    /// Primitives that a number of vertices (or indices) forms.
    static int GetPrimitiveCount(EPrimitiveTopology topology, int vertexCount);
    /// Works out the size of a texture after dropping its largest mips. `dst.mipCount` comes in as the mips to drop
    /// counted from `mipTarget`, or -1 for "keep one". Block-compressed results stay at least 4 texels wide and high.
    /// False when nothing can be dropped.
    static bool CalculateMipDelta(int mipTarget, bool blockCompressed, bool cube, const TextureDimensions& src,
                                  TextureDimensions& dst);
    static int GetCBFrameID() { return 0; }

    // Text as quads. These four read the font only and may run on any thread. Text is bytes; "|cl255;128;0;" colours
    // the glyphs behind it (red, green, blue, one to four digits each), "|clx" makes them white again, a line feed
    // starts a line. What looks like a tag but is none is drawn as it stands. The wide forms convert to UTF-8 first.

    /// Writes six vertices for each character with a glyph, as two triangles, and gives the number of quads, which
    /// getTextQuads bounds. (x, y) is where the text starts, `scale` is pixels per font pixel. With `flip` glyphs stand
    /// upright where y grows upward; lines go towards larger y all the same.
    static int fillTextBuffer(TexVertex* vertices, const char* text, float x, float y, float scale,
                              const TexturedFont* font, bool flip);
    static int fillTextBuffer(TexVertex* vertices, const wchar_t* text, float x, float y, float scale,
                              const TexturedFont* font, bool flip);
    /// Quads to reserve: all characters but line feeds, those of tags included.
    static unsigned getTextQuads(const char* text);
    static unsigned getTextQuads(const wchar_t* text);
    /// Sum of the glyphs' widths in font pixels, tags taken as text. `length` counts characters, 0 for all.
    static float getTextWidth(const TexturedFont* font, const char* text, std::uint64_t length);
    static float getTextWidth(const TexturedFont* font, const wchar_t* text, std::uint64_t length);
    /// The same width, of all lines together, and the height of all lines. (0, 0) without a font.
    static Vector2f getTextDimension(const TexturedFont* font, const char* text, std::uint64_t length);
    static Vector2f getTextDimension(const TexturedFont* font, const wchar_t* text, std::uint64_t length);

    /// Compiles a text shader file into a binary shader file. False, after a message, when a file cannot be read or
    /// written or a stage does not compile.
    static bool createBinaryShaderFromText(const qs::Path& textPath, const qs::Path& binaryPath);
    /// Reads a binary shader file's header, from the reader's position, into an empty directory. Both forms of the file
    /// are read: the one that CreateCompiledShaderFile writes, and an older one, six words: offset and size of the
    /// vertex, geometry and fragment stage, size 0 for none. False with an empty directory, after a message, for an
    /// unknown version or stage, a file that ends early, and stages that lie outside the file or that are together
    /// larger than it; false without a message for the older form without stages.
    static bool ReadBinaryShaderInfo(qs::FileReader& reader, CompiledShaderDirectory& directory);
    /// Reads all stages, one behind the other in directory order, into `destination`, which holds the sum of their
    /// sizes, and points the views there. False, with empty views, when a stage cannot be read whole.
    static bool ReadBinaryShaders(qs::FileReader& reader, const CompiledShaderDirectory& directory, char* destination,
                                  ShaderData& vertex, ShaderData& geometry, ShaderData& fragment, ShaderData& compute);
    /// A new reader on a shader file, which the caller deletes. The other arguments are not touched.
    qs::FileReader* GetFileReaderForShader(const qs::Path& path, bool&, qs::Path&);

    /// Maps pixel coordinates to clip space for the 2D draws: only the extents count, the origin is always the upper
    /// left corner.
    void Setup2DMode(float left, float right, float top, float bottom);
    void SetGameTime(const qs::GameTime& time) { m_gameTime = time; }
    const qs::GameTime& GetGameTime() const { return m_gameTime; }
    void SetIsLightProbeCapture(bool capture) { m_isLightProbeCapture = capture; }

    void SetRenderProperties(const Matrix4x4f& view, const Matrix4x4f& projection, const Vector3f& position,
                             float viewInfo0, float viewInfo1);
    /// Takes centre, up and right of the far plane in world space (a, b, c) and in view space (d, e, f).
    void SetRenderFrustrumCorners(const Vector3f& a, const Vector3f& b, const Vector3f& c, const Vector3f& d,
                                  const Vector3f& e, const Vector3f& f);
    void SetClusteredLightingProperties(float x, float y, float z, float w);
    void SetAtmosphereProperties(const Matrix4x4f& fogProperties, const Matrix3x4f& lightProperties,
                                 const Vector4f& userData, float windAngle, float viewPositionW);
    void SetWindClothSpeedProperties(float x, float y, float z);
    RendererProperties* GetRenderProperties() { return m_renderProperties; }
    const AtmosphereProperties* GetAtmosphereProperties() const { return m_atmosphereProperties; }

    PlatformDesc GetDesc() { return m_desc; }
    std::size_t GetTextureCount() const;
    qs::ObjectHandle GetDefaultWhiteTexture() const { return m_whiteTexture; }
    qs::ObjectHandle GetDefaultBlackTexture() const { return m_blackTexture; }
    qs::ObjectHandle GetDefaultTransparentTexture() const { return m_transparentTexture; }
    qs::ObjectHandle GetDefaultWhiteTextureCube() const { return m_whiteTextureCube; }
    qs::ObjectHandle GetDefaultBlackTextureCube() const { return m_blackTextureCube; }
    /// The renderer's own triangle, between Create and Destroy. Before that an assertion and an uninitialised triangle.
    const FullScreenTriangle& GetDefaultFullScreenTriangle() const;

    bool IsVertexBufferAlive(VertexBufferID id) const;
    bool IsIndexBufferAlive(IndexBufferID id) const;
    bool IsStructuredBufferAlive(StructuredBufferID id) const;
    /// Bytes of a live buffer; 0 for a dead one and before it was created.
    std::uint64_t GetVertexBufferSize(VertexBufferID id) const;
    std::uint64_t GetIndexBufferSize(IndexBufferID id) const;
    bool IsShaderAlive(qs::ObjectHandle handle) const;
    bool IsVertexFormatAlive(qs::ObjectHandle handle) const;
    const Shader* GetShader(const qs::ObjectHandle& handle) const;
    const TexturedFont* GetFont(const qs::ObjectHandle& handle) const;

    /// Debug render passes: a named pass that is under debug has a texture that keeps a copy of what it drew. All five
    /// may be called from any thread. The map never owns the texture.
    void AddDebugRenderPass(const qs::FixedString& pass);
    void RemoveDebugRenderPass(const qs::FixedString& pass);
    bool IsDebuggingRenderPass(const qs::FixedString& pass);
    const qs::ObjectHandle GetDebugRenderPassTexture(const qs::FixedString& pass) const;
    void SetDebugRenderPassTexture(const qs::FixedString& pass, qs::ObjectHandle texture);

    /// Statistics hooks; this build keeps none.
    void resetStatistics() {}
    void AddDrawCall(unsigned primitives) {}

    static Renderer* s_Instance;
    static qs::ObjectHandle s_SS[gw::SS_INVALID];
    static qs::ObjectHandle s_BS[gw::BS_INVALID];
    static qs::ObjectHandle s_DS[gw::DS_INVALID];
    static qs::ObjectHandle s_RS[gw::RS_INVALID];
    /// For the application to store its fonts in; the library never writes them.
    static qs::ObjectHandle s_DefaultFont;
    static qs::ObjectHandle s_SmallFont;
    /// Folder of compiled shaders and the ending of material shader files; made by the back end's renderer.
    static const qs::STDString* s_DefaultShaderPath;
    static const qs::STDString* s_MaterialExt;

protected:
    explicit RendererBase(api::IAPI* api);
    ~RendererBase();
    RendererBase(const RendererBase&) = delete;
    RendererBase& operator=(const RendererBase&) = delete;

    using DebugPassMap =
        qs::FixedStringMapBase<qs::ObjectAllocator, qs::DummyResetFunctor<qs::ObjectHandle>, qs::ObjectHandle>;

    DebugPassMap m_debugRenderPasses;
    qs::ObjectContainer<Texture> m_textures;
    qs::ObjectContainer<Shader> m_shaders;
    qs::ObjectContainer<VertexBuffer> m_vertexBuffers;
    qs::ObjectContainer<IndexBuffer> m_indexBuffers;
    qs::ObjectContainer<StructuredBuffer> m_structuredBuffers;
    qs::ObjectContainer<TexturedFont> m_fonts;
    qs::ObjectContainer<VertexFormat> m_vertexFormats;
    qs::ObjectContainer<SamplerState> m_samplerStates; ///< room for exactly the prefab states, as the next three
    qs::ObjectContainer<BlendState> m_blendStates;
    qs::ObjectContainer<DepthState> m_depthStates;
    qs::ObjectContainer<RasterizerState> m_rasterizerStates;
    mutable qs::CriticalSection m_debugPassLock; ///< guards m_debugRenderPasses and nothing else
    qs::GameTime m_gameTime;
    api::IAPI* m_api; ///< not owned
    RendererProperties* m_renderProperties;
    AtmosphereProperties* m_atmosphereProperties;
    bool m_isLightProbeCapture = false;
    qs::ObjectHandle m_whiteTexture;
    qs::ObjectHandle m_blackTexture;
    qs::ObjectHandle m_transparentTexture;
    qs::ObjectHandle m_whiteTextureCube;
    qs::ObjectHandle m_blackTextureCube;
    VertexBufferID m_rollingVB; ///< immediate drawing's vertices; offsets are bytes
    std::uint32_t m_rollingVBOffset = 0;
    IndexBufferID m_rollingIB;
    std::uint32_t m_rollingIBOffset = 0;
    qs::ObjectHandle m_plainShader;
    qs::ObjectHandle m_plain3DShader;
    qs::ObjectHandle m_texturedShader;
    qs::ObjectHandle m_textured3DShader;
    qs::ObjectHandle m_plainVertexFormat;
    qs::ObjectHandle m_plain3DVertexFormat;
    qs::ObjectHandle m_texturedVertexFormat;
    qs::ObjectHandle m_textured3DVertexFormat;
    Vector4f m_scaleBias; ///< 2D positions: p * xy + zw
    PlatformDesc m_desc;
    std::uint32_t m_frameCounter = 0; ///< advances in each ClearTextures
    FullScreenTriangle* m_fullScreenTriangle = nullptr;
    TexVertex* m_textVertices = nullptr; ///< scratch of the text draws
    std::uint32_t m_textVertexCapacity = 0;
};

} // namespace details
} // namespace gw
