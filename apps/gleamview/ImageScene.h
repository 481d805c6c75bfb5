// The images as textures, the target they are drawn into, and the pass that draws them.
#pragma once

#include "ImageFile.h"
#include "Options.h"

#include <Gleamwork/FullScreen.h>

#include <memory>
#include <optional>
#include <qs/ObjectHandle.h>
#include <string>
#include <vector>

namespace gw {
class Renderer;
}

namespace gleamview {

/// Lives while the renderer does; all calls come from the thread that owns the device context.
class ImageScene
{
public:
    ~ImageScene();

    /// Makes textures, target and shader. False, with a sentence in `error`, when something could not be made.
    bool Create(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images, std::string& error);
    /// The same for a window: the target has the window's size, and what is in it may be moved.
    bool CreateForWindow(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images, Size window,
                         std::string& error);
    /// A target of another size. False when the device has no room; the scene cannot be drawn then.
    bool Resize(Size size);
    /// Moves and scales what is drawn around the picture's middle; the shifts are pixels. The user's shader draws the
    /// whole picture and does not move.
    void SetView(float zoom, float right, float down);
    void SetTime(float seconds) { m_time = seconds; }
    void Draw();
    qs::ObjectHandle GetTarget() const { return m_target; }
    /// False when the target's values are those of the files, else they are linear light where a shader reads them.
    bool IsLinear() const { return m_format == gw::FORMAT_RGBA8 && !m_exact; }
    bool Write(const std::string& path);

private:
    struct Cell
    {
        qs::ObjectHandle texture;
        unsigned imageWidth, imageHeight;
        int x, y, width, height; ///< where it goes in the picture, in pixels
        bool IsMagnified() const { return width >= 2 * static_cast<int>(imageWidth); }
    };

    void AddCells(const std::vector<std::unique_ptr<ImageFile>>& images);
    void PlaceCells(std::optional<Size> size);
    Cell MoveCell(const Cell& cell) const;
    bool Finish(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images, std::string& error);
    void FitIntoCell(Cell& cell, unsigned column, unsigned row, unsigned cellWidth, unsigned cellHeight) const;
    bool IsExactCopy(const Options& options) const;
    bool CreateTextures(std::vector<std::unique_ptr<ImageFile>>& images, std::string& error);
    bool CreateTarget(std::string& error);
    bool CreateShader(const Options& options, std::string& error);
    void DrawPass(const Cell* cell);

    gw::Renderer* m_renderer = nullptr;
    std::vector<Cell> m_cells;
    Size m_size;
    float m_time = 0.0f;
    float m_zoom = 1.0f;
    float m_right = 0.0f; ///< pixels
    float m_down = 0.0f;
    bool m_isLive = false; ///< in a window
    bool m_exact = false;  ///< one image at its own size: values are passed on as they stand in the file
    bool m_userShader = false;
    gw::EFormat m_format = gw::FORMAT_RGBA8;
    qs::ObjectHandle m_target;
    qs::ObjectHandle m_shader;
    gw::FullScreenTriangle m_triangle;
};

} // namespace gleamview
