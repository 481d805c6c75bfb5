// What every sample needs around its topic: the started library, a picture to draw into, and the file it goes to.
#pragma once

#include "common/Library.h"

#include <Gleamwork/Renderer.h>

#include <string>

namespace samples {

/// `SAMPLE [PICTURE]` draws into a texture and writes it, by default as SAMPLE.png in the current folder. Shaders and
/// pictures are found under the data root, which is the samples' own folder unless GLEAM_DATA names another.
class Sample
{
public:
    Sample(int argc, char** argv, const char* name, unsigned width = 512, unsigned height = 320);
    ~Sample();
    Sample(const Sample&) = delete;
    Sample& operator=(const Sample&) = delete;

    /// False, after a message, when there is no device.
    bool Start();
    gw::Renderer& GetRenderer() { return *m_renderer; }
    /// RGBA8, and a depth buffer of the same size.
    qs::ObjectHandle GetTarget() const { return m_target; }
    qs::ObjectHandle GetDepth() const { return m_depth; }
    unsigned GetWidth() const { return m_width; }
    unsigned GetHeight() const { return m_height; }
    /// Performs what other threads and the data loader queued.
    void Drain() { m_library.Drain(); }
    /// Writes the sample's picture, or another texture, and says where. The exit status of the program.
    int Finish() { return Finish(m_target); }
    int Finish(qs::ObjectHandle texture);
    const std::string& GetPicture() const { return m_picture; }

    static qs::FixedString Name(const char* text) { return qs::FixedString::Create(text, -1); }
    /// A text shader of the samples. Unassigned, after a message, when it does not compile.
    qs::ObjectHandle LoadShader(const char* file);

private:
    apps::HiddenApp m_app;
    apps::Library m_library;
    gw::Renderer* m_renderer = nullptr;
    qs::ObjectHandle m_target;
    qs::ObjectHandle m_depth;
    std::string m_picture;
    unsigned m_width;
    unsigned m_height;
};

} // namespace samples
