// Placing, uploading and drawing of the images.
#include "ImageScene.h"

#include "TextShader.h"
#include "draw/TextureUpload.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/GWFS.h>
#include <Gleamwork/Renderer.h>

#include <algorithm>
#include <cmath>
#include <qs/Path.h>

namespace gleamview {

namespace {

constexpr unsigned MaxShaderImages = 8;

gw::ETextureUsageFlag Usage(unsigned bits)
{
    return static_cast<gw::ETextureUsageFlag>(bits);
}

gw::ETextureAccessFlag Access(unsigned bits)
{
    return static_cast<gw::ETextureAccessFlag>(bits);
}

unsigned SrgbBit(bool isSrgb)
{
    return isSrgb ? unsigned(gw::eTextureUsageFlag_SRGB) : 0u;
}

PixelView View(ImageFile& image)
{
    return {image.GetPixels(), image.GetFormat(), image.GetWidth(), image.GetHeight(), image.GetLevels()};
}

constexpr unsigned DeviceOnly = gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite;

} // namespace

ImageScene::~ImageScene()
{
    if (!m_renderer)
        return;
    for (Cell& cell : m_cells)
        RemoveTextureNow(*m_renderer, cell.texture);
    RemoveTextureNow(*m_renderer, m_target);
    m_triangle.Destroy(nullptr);
    if (m_shader.IsValid())
        m_renderer->RemoveShader(m_shader);
}

bool ImageScene::Create(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images, std::string& error)
{
    AddCells(images);
    m_userShader = !options.shader.empty();
    PlaceCells(options.size);
    m_exact = IsExactCopy(options);
    return Finish(options, images, error);
}

bool ImageScene::CreateForWindow(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images, Size window,
                                 std::string& error)
{
    m_isLive = true;
    AddCells(images);
    m_userShader = !options.shader.empty();
    PlaceCells(window);
    return Finish(options, images, error);
}

bool ImageScene::Finish(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images, std::string& error)
{
    m_renderer = gw::details::RendererBase::GetInstance();
    m_time = options.time;
    const bool isDeep = std::all_of(images.begin(), images.end(),
                                    [](const auto& image) { return image->GetFormat() == gw::FORMAT_RGBA16; });
    m_format = isDeep ? gw::FORMAT_RGBA16 : gw::FORMAT_RGBA8;
    if (m_size.width > MaxPictureSize || m_size.height > MaxPictureSize) {
        error = "the picture would have " + std::to_string(m_size.width) + " by " + std::to_string(m_size.height) +
                " pixels, more than " + std::to_string(MaxPictureSize) + " one way; give a --size";
        return false;
    }
    return CreateTextures(images, error) && CreateTarget(error) && CreateShader(options, error);
}

void ImageScene::AddCells(const std::vector<std::unique_ptr<ImageFile>>& images)
{
    for (const auto& image : images)
        m_cells.push_back({{}, image->GetWidth(), image->GetHeight(), 0, 0, 0, 0});
}

/// One image fills the picture; several stand in a grid that is as square as it can be.
void ImageScene::PlaceCells(std::optional<Size> size)
{
    const unsigned count = static_cast<unsigned>(m_cells.size());
    const bool isGrid = !m_userShader && count > 1;
    const unsigned columns = isGrid ? static_cast<unsigned>(std::ceil(std::sqrt(double(count)))) : 1;
    const unsigned rows = isGrid ? (count + columns - 1) / columns : 1;
    Size cellSize;
    for (const Cell& cell : m_cells) {
        cellSize.width = std::max(cellSize.width, cell.imageWidth);
        cellSize.height = std::max(cellSize.height, cell.imageHeight);
    }
    if (!isGrid)
        cellSize = {m_cells[0].imageWidth, m_cells[0].imageHeight};
    m_size = size.value_or(Size{cellSize.width * columns, cellSize.height * rows});
    for (unsigned i = 0; i < count; ++i)
        FitIntoCell(m_cells[i], i % columns, i / columns, m_size.width / columns, m_size.height / rows);
}

bool ImageScene::Resize(Size size)
{
    RemoveTextureNow(*m_renderer, m_target);
    PlaceCells(size);
    std::string error;
    return CreateTarget(error);
}

void ImageScene::SetView(float zoom, float right, float down)
{
    m_zoom = zoom;
    m_right = right;
    m_down = down;
}

ImageScene::Cell ImageScene::MoveCell(const Cell& cell) const
{
    const float middleX = static_cast<float>(m_size.width) * 0.5f;
    const float middleY = static_cast<float>(m_size.height) * 0.5f;
    const auto toPixel = [](float value) { return static_cast<int>(std::lround(value)); };
    Cell moved = cell;
    moved.x = toPixel((static_cast<float>(cell.x) - middleX) * m_zoom + middleX + m_right);
    moved.y = toPixel((static_cast<float>(cell.y) - middleY) * m_zoom + middleY + m_down);
    moved.width = std::max(1, toPixel(static_cast<float>(cell.width) * m_zoom));
    moved.height = std::max(1, toPixel(static_cast<float>(cell.height) * m_zoom));
    return moved;
}

/// An image keeps its proportions, and stands in the middle of its cell. It is made smaller to fit, never larger,
/// unless it is the only one: then it fills the size that was asked for.
void ImageScene::FitIntoCell(Cell& cell, unsigned column, unsigned row, unsigned cellWidth, unsigned cellHeight) const
{
    const double fit = std::min(double(cellWidth) / cell.imageWidth, double(cellHeight) / cell.imageHeight);
    const bool isOnly = cellWidth == m_size.width && cellHeight == m_size.height;
    const double scale = isOnly ? fit : std::min(fit, 1.0);
    cell.width = std::max(1, static_cast<int>(std::lround(cell.imageWidth * scale)));
    cell.height = std::max(1, static_cast<int>(std::lround(cell.imageHeight * scale)));
    cell.x = static_cast<int>(column * cellWidth) + (static_cast<int>(cellWidth) - cell.width) / 2;
    cell.y = static_cast<int>(row * cellHeight) + (static_cast<int>(cellHeight) - cell.height) / 2;
}

bool ImageScene::IsExactCopy(const Options& options) const
{
    if (!options.shader.empty())
        return false;
    return std::all_of(m_cells.begin(), m_cells.end(), [](const Cell& cell) {
        return cell.width == static_cast<int>(cell.imageWidth) && cell.height == static_cast<int>(cell.imageHeight);
    });
}

bool ImageScene::CreateTextures(std::vector<std::unique_ptr<ImageFile>>& images, std::string& error)
{
    for (std::size_t i = 0; i < images.size(); ++i) {
        m_cells[i].texture =
            m_exact ? UploadTexture(View(*images[i]), false) : UploadMippedTexture(*m_renderer, View(*images[i]), true);
        if (m_renderer->GetTextureSize(m_cells[i].texture) == 0) {
            error = "image " + std::to_string(i + 1) + ": the device has no room for its " +
                    std::to_string(images[i]->GetWidth()) + " by " + std::to_string(images[i]->GetHeight()) + " pixels";
            return false;
        }
    }
    return true;
}

bool ImageScene::CreateTarget(std::string& error)
{
    const bool isSrgb = !m_exact && m_format == gw::FORMAT_RGBA8;
    m_target = gw::DataLoader::InvokeAddTextureFromMemory(
        nullptr, m_format, m_size.width, m_size.height, 0, 1, nullptr, 1, 1,
        Usage(gw::eTextureUsageFlag_RenderTarget | gw::eTextureUsageFlag_ShaderResource | SrgbBit(isSrgb)),
        Access(DeviceOnly));
    if (m_renderer->GetTextureSize(m_target) != 0)
        return true;
    error = "the device has no room for a picture of " + std::to_string(m_size.width) + " by " +
            std::to_string(m_size.height) + " pixels";
    return false;
}

bool ImageScene::CreateShader(const Options& options, std::string& error)
{
    m_shader = m_userShader ? LoadTextShader(*m_renderer, options.shader, error) : AddBuiltInShader(*m_renderer, error);
    if (!m_shader.IsValid())
        return false;
    if (m_triangle.Init(m_shader, false, nullptr))
        return true;
    error = options.shader + ": the shader does not take the full-screen triangle's vertices";
    return false;
}

void ImageScene::Draw()
{
    m_renderer->SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->ClearRenderTarget(m_target, -1, Vector4f(0.0f, 0.0f, 0.0f, 0.0f));
    if (m_userShader) {
        DrawPass(nullptr);
        return;
    }
    for (const Cell& cell : m_cells) {
        const Cell moved = MoveCell(cell);
        DrawPass(&moved);
    }
}

/// One full-screen pass: one image into its cell, or all images through the user's shader into the whole picture.
void ImageScene::DrawPass(const Cell* cell)
{
    static const char* const names[MaxShaderImages] = {"Image0", "Image1", "Image2", "Image3",
                                                       "Image4", "Image5", "Image6", "Image7"};
    using gw::details::RendererBase;
    const float width = static_cast<float>(m_size.width);
    const float height = static_cast<float>(m_size.height);
    m_renderer->SetViewport(cell ? Vector4i(cell->width, cell->height, cell->x, cell->y)
                                 : Vector4i(static_cast<int>(m_size.width), static_cast<int>(m_size.height), 0, 0));
    m_triangle.BeginRenderFullScreen(*m_renderer, m_shader, RendererBase::DS(gw::DS_NONE), 0,
                                     RendererBase::BS(gw::BS_OPAQUE));
    m_renderer->SetShaderConstant1f(qs::FixedString::Create("time", -1), m_time);
    m_renderer->SetShaderConstant4f(qs::FixedString::Create("resolution", -1),
                                    Vector4f(width, height, 1.0f / width, 1.0f / height));
    const std::size_t count = cell ? 1 : std::min<std::size_t>(m_cells.size(), MaxShaderImages);
    for (std::size_t i = 0; i < count; ++i)
        m_renderer->SetTexture(qs::FixedString::Create(names[i], -1), cell ? cell->texture : m_cells[i].texture, -1);
    m_renderer->SetSamplerState(qs::FixedString::Create("ImageSampler", -1),
                                RendererBase::SS(m_exact || (m_isLive && cell && cell->IsMagnified())
                                                     ? gw::SS_POINT_CLAMP
                                                     : gw::SS_TRILINEAR_CLAMP));
    m_triangle.EndRenderFullScreen(*m_renderer);
}

bool ImageScene::Write(const std::string& path)
{
    return m_renderer->SaveRenderTargetData(m_target, qs::Path(qs::PATH_ROOT_NONE, path.c_str()), false, false, 0, 0);
}

} // namespace gleamview
