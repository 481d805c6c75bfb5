// The renderer: prefab states, default textures, fonts and immediate drawing on top of the device back end.
#pragma once

#include "Gleamwork/Font.h"
#include "Gleamwork/FullScreen.h"
#include "Gleamwork/RendererBase.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

namespace qs {
class FileReader;
class Path;
} // namespace qs

namespace gw {

class Image;
struct ShaderDefine;

/// The one renderer of the process, made by api::IAPI::CreateRenderer and destroyed by api::IAPI::DestroyRenderer.
///
/// Life: constructed (tables empty), Create (prefab states and the full-screen triangle), CreateDefaultTextures when
/// the application wants them, Destroy (all of that gone), destructor. Render frames live between Create and Destroy.
///
/// The draws and the Set operations belong to the thread that replays render commands. Each draw leaves the states that
/// it set behind it.
class GW_API Renderer : public api::D3D11Renderer
{
public:
    QS_DECLARE_ALLOC(gw::Renderer)

    /// What drawPlain3DIndexed draws.
    struct DrawPlain3DIndexedDesc
    {
        Matrix4x4f world;
        EPrimitiveTopology topology = ePrimitiveTopology_TriangleList;
        const void* vertices = nullptr; ///< Vector3f, 12 bytes each
        std::uint32_t vertexCount = 0;
        const void* indices = nullptr;
        std::uint32_t indexCount = 0;
        std::uint32_t indexStride = 2; ///< bytes per index, 2 or 4
        qs::ObjectHandle blendState;
        qs::ObjectHandle depthState;
        qs::ObjectHandle rasterizerState;
        Vector4f color;
    };

    explicit Renderer(api::D3D11API* api);
    ~Renderer();

    /// Makes all prefab states and the full-screen triangle. Every step runs; an assertion and false when one failed.
    bool Create();
    /// Makes the five default textures; false when a handle could not be had.
    bool CreateDefaultTextures();
    /// Removes what Create and CreateDefaultTextures made, drops delayed removals at once. Always true. Fonts that are
    /// left are reported and released.
    bool Destroy();

    /// Replaces a live texture's pixels; the handle stays valid. A dead handle is left alone without a word. The path
    /// form loads with the default image quality; when that fails the handle is without device data.
    void ReloadTexture(qs::ObjectHandle handle, Image& image, bool srgb);
    void ReloadTexture(qs::ObjectHandle handle, const qs::Path& path, bool srgb);
    /// Rewrites a dynamic texture from tightly packed rows.
    void UpdateTextureData(qs::ObjectHandle handle, const unsigned char* pixels, int width, int height,
                           int bytesPerPixel);

    /// Keeps a copy of the font, which shares its glyph table; unassigned when there is no more room.
    qs::ObjectHandle AddFont(const TexturedFont& font);
    /// Removes a font with its texture and glyph table. A dead handle does nothing.
    void RemoveFont(qs::ObjectHandle handle);

    /// Copies the current render target `target` into the texture of a pass that is under debug, making or resizing it.
    void DebugMRT(const qs::FixedString& pass, int target);

    using D3D11Renderer::SetBlendState;
    using D3D11Renderer::SetDepthState;
    using D3D11Renderer::SetRasterizerState;
    using D3D11Renderer::SetViewport;
    /// Prefab forms. An index out of range asserts; the blend form then sets the opaque state, the others nothing.
    void SetBlendState(EPrefabBlendState index, unsigned mask);
    void SetDepthState(EPrefabDepthState index, unsigned stencilRef);
    void SetRasterizerState(EPrefabRasterizerState index);

    /// Loads, compiles and creates a text shader; an error and an unassigned handle when the file cannot be read.
    qs::ObjectHandle AddAndCreateTextShader(const qs::Path& path, ShaderDefine* defines);
    /// The same from a binary shader file; the defines are handed on.
    qs::ObjectHandle AddAndCreateBinaryShader(const qs::Path& path, ShaderDefine* defines);
    /// Adds the shader of an open binary shader file and makes no device objects: CreateShader does that, on any
    /// thread. Unassigned, after an assertion, for a file that is none.
    qs::ObjectHandle ReadBinaryShaderFileAndAdd(qs::FileReader& reader, const qs::FixedString& name,
                                                const qs::FixedString& variant, ShaderDefine* defines);

    /// Immediate drawing: the vertices are copied during the call. "2D" positions are pixels of Setup2DMode, "3D" ones
    /// world space (or model space where there is a world matrix) under the matrices of SetRenderProperties.
    void drawPlain(EPrimitiveTopology topology, const Vector2f* vertices, unsigned int count, qs::ObjectHandle blend,
                   qs::ObjectHandle depth, const Vector4f& color);
    void drawPlain3D(EPrimitiveTopology topology, const Vector3f* vertices, unsigned int count, qs::ObjectHandle blend,
                     qs::ObjectHandle depth, const Vector4f& color);
    void drawPlain3DIndexed(const DrawPlain3DIndexedDesc& desc);
    /// The texture's red channel is the alpha; the colour is `color` times the vertex colour.
    void drawTextured(EPrimitiveTopology topology, const Vector2f& offset, TexVertex* vertices, unsigned int count,
                      qs::ObjectHandle texture, qs::ObjectHandle sampler, qs::ObjectHandle blend,
                      qs::ObjectHandle depth, const Vector4f& color);
    void drawTextured3D(EPrimitiveTopology topology, const Matrix4x4f& world, TexVertex* vertices, unsigned int count,
                        qs::ObjectHandle texture, qs::ObjectHandle sampler, qs::ObjectHandle blend,
                        qs::ObjectHandle depth, const Vector4f& color);

    /// Text with its start at (x, y) in pixels of Setup2DMode, and a shadow one pixel up and left of it unless both
    /// colours are the same. False, after an assertion, when the font is gone; a text without characters gives true.
    bool drawText(const char* text, float x, float y, const Vector4f& color, const Vector4f& shadow,
                  qs::ObjectHandle font, qs::ObjectHandle sampler, qs::ObjectHandle blend, qs::ObjectHandle depth);
    bool drawText(const wchar_t* text, float x, float y, const Vector4f& color, const Vector4f& shadow,
                  qs::ObjectHandle font, qs::ObjectHandle sampler, qs::ObjectHandle blend, qs::ObjectHandle depth);
    /// Text in the plane of a world matrix, one unit a font pixel, y up. A null text gives false.
    bool drawText3D(const char* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                    qs::ObjectHandle depth);
    bool drawText3D(const wchar_t* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                    qs::ObjectHandle depth);
    /// The same, turned to the camera of SetRenderProperties and centred across the matrix's position.
    bool drawTextBillboard3D(const char* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                             qs::ObjectHandle depth);
    bool drawTextBillboard3D(const wchar_t* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                             qs::ObjectHandle depth);

    /// Sets everything that the record names. Streams 1 and 2 and the indices keep what they held when unassigned.
    void PrepareDraw(const PrepareDrawData& data);
    void PrepareDraw(PrepareDrawData&& data) { PrepareDraw(static_cast<const PrepareDrawData&>(data)); }
    /// Width, height, x, y.
    void SetViewport(const Vector4i& viewport);

    /// The renderer's own triangle as a full-screen pass with the opaque blend state.
    void BeginRenderFullScreenTriangle(qs::ObjectHandle shader, qs::ObjectHandle depth, unsigned int stencilRef);
    void EndRenderFullScreenTriangle();

    /// Constants of the current shader by name; matrices are given to the shader transposed.
    void SetShaderConstant1f(const qs::FixedString& name, float value);
    void SetShaderConstant1i(const qs::FixedString& name, int value);
    void SetShaderConstant2f(const qs::FixedString& name, const Vector2f& value);
    void SetShaderConstant3f(const qs::FixedString& name, const Vector3f& value);
    void SetShaderConstant4f(const qs::FixedString& name, const Vector4f& value);
    void SetShaderConstant4x4f(const qs::FixedString& name, const Matrix4x4f& value);
    void SetShaderConstantArray1f(const qs::FixedString& name, const float* values, unsigned short count);
    void SetShaderConstantArray2f(const qs::FixedString& name, const Vector2f* values, unsigned short count);
    void SetShaderConstantArray3f(const qs::FixedString& name, const Vector3f* values, unsigned short count);
    void SetShaderConstantArray4f(const qs::FixedString& name, const Vector4f* values, unsigned short count);
    /// The four world-space corner rays, 64 bytes.
    void SetFrustumShaderParam(const qs::FixedString& name);

private:
    const TexturedFont* FindTextFont(const qs::ObjectHandle& font) const;
    bool ReserveTextVertices(std::uint32_t count);
    bool CreatePrefabStates();
    bool CreateFullScreenTriangle();
    void DestroyFullScreenTriangle();
    qs::ObjectHandle CreateDefaultTexture(const unsigned char (&texel)[4], bool cube);
    void RemoveDefaultTextures();
    void RemovePrefabStates();
    void CheckFonts();
    void ReleaseFonts();
    void MakeDebugTexture(const qs::FixedString& pass, qs::ObjectHandle current, EFormat format, unsigned width,
                          unsigned height, unsigned depth);
    void SetTransposedMatrix(const qs::FixedString& name, const Matrix4x4f& value);
    Matrix4x4f GetViewProjection() const;
    void SetDrawStates(const qs::ObjectHandle& rasterizer, const qs::ObjectHandle& blend,
                       const qs::ObjectHandle& depth);
    bool RollVertices(const void* vertices, std::uint64_t count, std::uint64_t size, unsigned& offset);
    void BindRollingVertices(const qs::ObjectHandle& format, unsigned offset);
    void SetBaseTexture(qs::ObjectHandle texture, qs::ObjectHandle sampler);
};

} // namespace gw
