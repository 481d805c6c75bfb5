// gleamview as a process: a folder for its files, what it said, and the pictures it wrote. The validation layer is on,
// and what it says fails the test.
#pragma once

#include <DirectXTex.h>
#include <wincodec.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <stb/stb_image.h>
#include <sys/wait.h>
#include <unistd.h>

struct Outcome
{
    int status = -1;
    std::string errors;
};

struct Picture
{
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgba;
    const std::uint8_t* At(int x, int y) const { return &rgba[static_cast<std::size_t>(y * width + x) * 4]; }
};

class Gleamview : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = std::filesystem::temp_directory_path() / ("gleamview-test-" + std::to_string(getpid()));
        std::filesystem::create_directories(m_folder);
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string File(const std::string& name) const { return (m_folder / name).string(); }

    /// `before` stands in front of the program's name in the shell.
    Outcome Run(const std::string& arguments, const std::string& before = "") const
    {
        const std::string command = before + " " + GLEAMVIEW + " " + arguments + " >/dev/null 2>" + File("errors.txt");
        const int result = std::system(command.c_str());
        std::ostringstream text;
        text << std::ifstream(File("errors.txt")).rdbuf();
        EXPECT_EQ(text.str().find("VUID"), std::string::npos) << text.str();
        return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, text.str()};
    }

    std::string WriteImage(const std::string& name, std::size_t width, std::size_t height, DXGI_FORMAT format,
                           std::vector<std::uint8_t>* bytes = nullptr) const
    {
        DirectX::ScratchImage image;
        image.Initialize({width, height, 1, 1, 1, 0, 0, format, DirectX::TEX_DIMENSION_TEXTURE2D});
        std::mt19937 random(7);
        for (std::size_t i = 0; i < image.GetPixelsSize(); ++i)
            image.GetPixels()[i] = static_cast<std::uint8_t>(random());
        if (bytes)
            bytes->assign(image.GetPixels(), image.GetPixels() + image.GetPixelsSize());
        const std::string file = File(name);
        EXPECT_EQ(DirectX::SaveToWICFile(*image.GetImage(0, 0, 0), DirectX::WIC_FLAGS_NONE, GUID_ContainerFormatPng,
                                         std::wstring(file.begin(), file.end()).c_str()),
                  S_OK);
        return file;
    }

    /// A DDS file of BC1, red all over, without smaller levels.
    void WriteBlocks(const std::string& name, std::uint32_t width, std::uint32_t height) const
    {
        std::uint32_t header[32] = {0x20534444, 124, 0x1007, height, width};
        header[19] = 32;
        header[20] = 4;
        header[21] = 0x31545844;
        header[27] = 0x1000;
        std::ofstream file(File(name), std::ios::binary);
        file.write(reinterpret_cast<const char*>(header), sizeof header);
        const std::uint32_t red[2] = {0xf800f800, 0};
        for (std::uint32_t block = 0; block < (width + 3) / 4 * ((height + 3) / 4); ++block)
            file.write(reinterpret_cast<const char*>(red), sizeof red);
    }

    void WriteText(const std::string& name, const std::string& text) const { std::ofstream(File(name)) << text; }

    Picture Read(const std::string& name) const
    {
        Picture picture;
        int channels = 0;
        stbi_uc* texels = stbi_load(File(name).c_str(), &picture.width, &picture.height, &channels, 4);
        EXPECT_NE(texels, nullptr) << name;
        if (texels)
            picture.rgba.assign(texels, texels + picture.width * picture.height * 4);
        stbi_image_free(texels);
        return picture;
    }

    std::filesystem::path m_folder;
};
