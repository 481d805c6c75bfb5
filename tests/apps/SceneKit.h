// Scenes for tests: files written by hand, and imports into memory.
#pragma once

#include "scene/Importer.h"

#include <functional>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

/// A file in memory that closes itself.
class MemoryFile
{
public:
    MemoryFile() : m_descriptor(memfd_create("test scene", 0)) {}
    ~MemoryFile() { close(m_descriptor); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    int Get() const { return m_descriptor; }
    std::string ReadAll() const
    {
        std::string bytes(static_cast<std::size_t>(lseek(m_descriptor, 0, SEEK_END)), '\0');
        EXPECT_EQ(pread(m_descriptor, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        return bytes;
    }
    void WriteAll(const std::string& bytes) const
    {
        ASSERT_EQ(ftruncate(m_descriptor, 0), 0);
        ASSERT_EQ(pwrite(m_descriptor, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }

private:
    int m_descriptor;
};

/// What a writer writes, read back.
inline gleamview::SceneData WriteAndRead(const std::function<void(gleamview::SceneWriter&)>& write)
{
    MemoryFile file;
    gleamview::SceneWriter writer(file.Get());
    write(writer);
    EXPECT_TRUE(writer.Finish());
    gleamview::SceneData scene;
    std::string error;
    EXPECT_TRUE(gleamview::ReadScene(file.Get(), scene, error)) << error;
    return scene;
}

/// Imports in this process. An empty scene, and the error, when the importer refuses.
inline gleamview::SceneData Import(const std::string& path, std::string& error,
                                   gleamview::UpAxis up = gleamview::UpAxis::FromFile)
{
    MemoryFile file;
    gleamview::SceneWriter writer(file.Get());
    gleamview::SceneData scene;
    if (gleamview::ImportModel(path, up, writer, {}, error)) {
        EXPECT_TRUE(gleamview::ReadScene(file.Get(), scene, error)) << error;
    }
    return scene;
}
