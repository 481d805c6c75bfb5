// The text of a shader file in memory. For the sources that split it.
#pragma once

#include <cstdint>
#include <qs/FileSystem.h>
#include <qs/Memory.h>

namespace gw {

/// A whole text file with a zero byte behind it, in memory of the scope's name.
class TextFile
{
public:
    TextFile(qs::FileReader& reader, const char* scope) : m_sample(scope)
    {
        const std::uint64_t wanted = reader.GetFileSize();
        m_text = static_cast<char*>(
            qs::MemoryManager::Allocate(wanted + 1, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true));
        if (m_text) {
            m_size = reader.Read(m_text, wanted);
            m_text[m_size] = '\0';
        }
    }
    ~TextFile() { qs::MemoryManager::Deallocate(m_text, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true); }
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    const char* GetText() const { return m_text ? m_text : ""; }
    std::uint64_t GetSize() const { return m_size; }

private:
    qs::MemoryTrackerSample m_sample;
    char* m_text = nullptr;
    std::uint64_t m_size = 0;
};

} // namespace gw
