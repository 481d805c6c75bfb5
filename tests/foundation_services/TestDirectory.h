// A directory of its own for each test that writes files.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include <qs/FileSystem.h>

class TestDirectory
{
public:
    TestDirectory()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "gleamXXXXXX").string();
        if (!mkdtemp(pattern.data())) {
            ADD_FAILURE() << "no directory for test files";
        }
        m_path = pattern;
    }
    ~TestDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string Name(const std::string& file) const { return m_path + "/" + file; }
    qs::Path At(const std::string& file) const { return qs::Path(qs::PATH_ROOT_NONE, Name(file).c_str()); }
    qs::Path Write(const std::string& file, const std::string& content) const
    {
        std::ofstream(Name(file), std::ios::binary) << content;
        return At(file);
    }
    std::string Read(const std::string& file) const
    {
        std::ifstream stream(Name(file), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    std::string m_path;
};
