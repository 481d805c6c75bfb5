// The files that one compilation includes.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "d3dcommon.h"

namespace gleam {

/// One file that was opened: what is needed to open it again and to see whether it has changed.
struct IncludeRecord
{
    D3D_INCLUDE_TYPE type = D3D_INCLUDE_LOCAL;
    std::string name;
    std::uint32_t parent = NoParent; ///< index of the record of the file that includes it
    std::uint64_t hash = 0;          ///< of its bytes

    static constexpr std::uint32_t NoParent = 0xffffffff;
};

/// Opens files through the caller's handler, or the standard one, and closes them all at its end. Serves one
/// compilation on one thread.
class IncludeFiles
{
public:
    /// `handler` may be null, which makes every Open fail, or D3D_COMPILE_STANDARD_FILE_INCLUDE.
    IncludeFiles(ID3DInclude* handler, std::string_view sourceName);
    ~IncludeFiles();
    IncludeFiles(const IncludeFiles&) = delete;
    IncludeFiles& operator=(const IncludeFiles&) = delete;

    struct File
    {
        IncludeRecord record;
        std::string_view bytes;
    };

    /// Index of the opened file, or NoParent on failure. Every Open adds a record, also of a file that
    /// is open already.
    std::uint32_t Open(D3D_INCLUDE_TYPE type, const std::string& name, std::uint32_t parent);
    const File& At(std::uint32_t index) const { return m_files[index]; }

    std::vector<IncludeRecord> Records() const;
    /// Opens the same files again; true when all have the bytes they had.
    bool Match(const std::vector<IncludeRecord>& records);

private:
    std::unique_ptr<ID3DInclude, void (*)(ID3DInclude*)> m_standard;
    ID3DInclude* m_handler;
    std::deque<File> m_files;
    std::uint64_t m_total = 0;
};

} // namespace gleam
