// The data loader's loads from files: textures, fonts, shaders.
#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/GWDataLoaderImageCommands.h"
#include "Gleamwork/GWFS.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/ShaderTextFile.h"
#include "Gleamwork/TextShader.h"

#include <cstring>
#include <memory>
#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <qs/Path.h>
#include <qs/Profile.h>
#include <string>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Gleamwork/GWDataLoader";
constexpr const char* SHADER_SCOPE = "\"DataLoaderAddShaderCommand_Shader\"";
constexpr std::int64_t MAX_2D_SIZE = 16384;

bool HasRenderer(const char* function)
{
    if (!Renderer::GetInstance()) {
        QS_LOG_ASSERT(FILE_NAME, function, "There is no renderer to load into.");
    }
    return Renderer::GetInstance() != nullptr;
}

template <class Target>
void Write(Target* target, std::int64_t value)
{
    if (target) {
        *target = Target(value);
    }
}

void PushStream(DataLoaderStreamTextureCommand& command)
{
    if (DataLoader::s_RelaxedRenderCommandManager) {
        DataLoader::s_RelaxedRenderCommandManager->PushCommand(command);
        return;
    }
    QS_LOG_ASSERT(FILE_NAME, "gw::DataLoader::InvokeStreamTexture",
                  "DataLoaderStreamTextureCommand was queued without a relaxed command manager; it is dropped.");
    command.clear();
}

qs::ObjectHandle CreateIfAlive(qs::ObjectHandle handle)
{
    Renderer& renderer = *Renderer::GetInstance();
    if (renderer.IsShaderAlive(handle)) {
        renderer.CreateShader(handle);
    }
    return handle;
}

} // namespace

qs::ObjectHandle DataLoader::InvokeAddTexture(const qs::Path& path, bool mipmaps, bool srgb, int mipSkip, int* width,
                                              int* height, std::int64_t* originalMipCount, std::int64_t* mipCount)
{
    if (!HasRenderer("gw::DataLoader::InvokeAddTexture")) {
        return qs::ObjectHandle::Unassigned;
    }
    DataLoaderCreateTextureCommand command;
    command.InitTexture(path, mipmaps, srgb, mipSkip);
    if (command.handle.IsValid()) {
        Write(width, command.image.GetWidth());
        Write(height, command.image.GetHeight());
        Write(originalMipCount, command.image.GetOriginalMipCount());
        Write(mipCount, command.image.GetMipMapCount());
        command.Execute();
    }
    command.clear();
    return command.handle;
}

qs::ObjectHandle DataLoader::InvokeAdd2DTexture(const qs::Path& path, bool mipmaps, bool srgb, int mipSkip, int& width,
                                                int& height)
{
    if (!HasRenderer("gw::DataLoader::InvokeAdd2DTexture")) {
        return qs::ObjectHandle::Unassigned;
    }
    DataLoaderCreateTextureCommand command;
    command.InitTexture(path, mipmaps, srgb, mipSkip);
    const std::int64_t imageWidth = command.image.GetWidth();
    const std::int64_t imageHeight = command.image.GetHeight();
    width = int(imageWidth);
    height = int(imageHeight);
    const auto isPossible = [](std::int64_t size) { return size >= 1 && size <= MAX_2D_SIZE; };
    if (command.handle.IsValid() && isPossible(imageWidth) && isPossible(imageHeight)) {
        command.Execute();
    } else {
        InvokeRemoveTexture(command.handle, false);
        command.handle = qs::ObjectHandle::Unassigned;
    }
    command.clear();
    return command.handle;
}

qs::ObjectHandle DataLoader::InvokeAddTextureArray(const qs::Path* paths, std::uint64_t count, bool mipmaps, bool srgb,
                                                   int mipSkip)
{
    if (!HasRenderer("gw::DataLoader::InvokeAddTextureArray")) {
        return qs::ObjectHandle::Unassigned;
    }
    DataLoaderCreateTextureArrayCommand command;
    command.InitTexture(paths, count, mipmaps, srgb, mipSkip);
    if (command.handle.IsValid() && !command.memory.IsEmpty()) {
        command.Execute();
    }
    command.clear();
    return command.handle;
}

void DataLoader::InvokeStreamTexture(qs::ObjectHandle handle, const qs::Path& path, bool srgb, int mip,
                                     const qs::MemView<const unsigned char>& file, std::int64_t& originalMipCount,
                                     std::int64_t& mipCount)
{
    DataLoaderStreamTextureCommand command;
    const bool hasFile = file.GetData() && file.GetSize() != 0;
    if (hasFile && !LoadImage(command.image, path, file, true, mip, srgb)) {
        command.clear();
        return;
    }
    command.handle = handle;
    command.srgb = srgb;
    command.mip = mip;
    if (hasFile) {
        originalMipCount = command.image.GetOriginalMipCount();
        mipCount = command.image.GetMipMapCount();
    }
    PushStream(command);
}

qs::ObjectHandle DataLoader::InvokeAddFont(const qs::Path& image, const qs::Path& font)
{
    if (!HasRenderer("gw::DataLoader::InvokeAddFont")) {
        return qs::ObjectHandle::Unassigned;
    }
    DataLoaderCreateTextureCommand command;
    command.InitTexture(image, false, false, 0);
    if (command.handle.IsValid()) {
        command.Execute();
    }
    command.clear();
    if (!command.handle.IsValid()) {
        return qs::ObjectHandle::Unassigned;
    }
    qs::FileReader reader(font, qs::FileReader::TYPE_SEQUENTIAL);
    if (!reader.IsLoaded()) {
        QS_LOG_ERROR(FILE_NAME, "gw::DataLoader::InvokeAddFont", "Couldn't open \"%s\"", font.ToChar());
        InvokeRemoveTexture(command.handle, false);
        return qs::ObjectHandle::Unassigned;
    }
    TexturedFont parsed;
    parsed.Parse(&reader, command.handle);
    return Renderer::GetInstance()->AddFont(parsed);
}

qs::ObjectHandle DataLoader::InvokeAddShader(const qs::Path& path, bool binary, const qs::FixedString& name,
                                             const qs::FixedString& variant, ShaderDefine* defines)
{
    return CreateShader(path, binary, name, variant, defines);
}

qs::ObjectHandle DataLoader::InvokeAddShader(const char* const vertex, const char* const geometry,
                                             const char* const fragment, const char* const compute)
{
    return CreateShader(vertex, geometry, fragment, compute);
}

qs::ObjectHandle DataLoader::CreateShader(const qs::Path& path, bool binary, const qs::FixedString& name,
                                          const qs::FixedString& variant, ShaderDefine* defines)
{
    constexpr const char* FUNCTION = "gw::DataLoader::CreateShader";
    qs::HProfileSample sample(FUNCTION);
    if (!HasRenderer(FUNCTION)) {
        return qs::ObjectHandle::Unassigned;
    }
    Renderer& renderer = *Renderer::GetInstance();
    qs::Path includePath;
    const std::unique_ptr<qs::FileReader> reader(renderer.GetFileReaderForShader(path, binary, includePath));
    if (!reader->IsLoaded()) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Couldn't load Shader: \"%s\"", path.ToChar());
        return qs::ObjectHandle::Unassigned;
    }
    if (binary && api::IAPI::TestRenderSupport(1)) {
        return CreateIfAlive(renderer.ReadBinaryShaderFileAndAdd(*reader, name, variant, defines));
    }
    const TextFile text(*reader, SHADER_SCOPE);
    ShaderData vertex, geometry, fragment, compute;
    SplitShaderText(text.GetText(), text.GetSize(), vertex, geometry, fragment, compute);
    return CreateIfAlive(
        renderer.AddShader(vertex, geometry, fragment, compute, name, variant, !binary, defines, &includePath, 0));
}

qs::ObjectHandle DataLoader::CreateShader(const char* const vertex, const char* const geometry,
                                          const char* const fragment, const char* const compute)
{
    if (!HasRenderer("gw::DataLoader::CreateShader")) {
        return qs::ObjectHandle::Unassigned;
    }
    qs::MemoryTrackerSample sample(SHADER_SCOPE);
    const auto view = [](const char* text) { return text ? ShaderData(text, std::strlen(text)) : ShaderData(); };
    return CreateIfAlive(Renderer::GetInstance()->AddShader(view(vertex), view(geometry), view(fragment), view(compute),
                                                            GWFS::str, GWFS::str, true, nullptr, nullptr, 0));
}

} // namespace gw
