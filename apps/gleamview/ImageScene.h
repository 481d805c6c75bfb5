// The images as textures, the target they are drawn into, and the pass that draws them.
#pragma once

#include "ImageFile.h"
#include "Options.h"

#include <Gleamwork/FullScreen.h>

#include <memory>
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
    void Draw();
    bool Write(const std::string& path);

private:
    struct Cell
    {
        qs::ObjectHandle texture;
        unsigned imageWidth, imageHeight;
        int x, y, width, height; ///< where it goes in the picture, in pixels
    };

    void PlaceCells(const Options& options, const std::vector<std::unique_ptr<ImageFile>>& images);
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
    bool m_exact = false; ///< one image at its own size: values are passed on as they stand in the file
    bool m_userShader = false;
    gw::EFormat m_format = gw::FORMAT_RGBA8;
    qs::ObjectHandle m_target;
    qs::ObjectHandle m_shader;
    gw::FullScreenTriangle m_triangle;
};

} // namespace gleamview
