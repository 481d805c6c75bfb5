// Include handling: the caller's handler or files of the file system.
#include "shader/IncludeFiles.h"

#include <filesystem>
#include <fstream>
#include <map>

#include <xxhash.h>

#include "d3dcompiler.h"

namespace gleam {
namespace {

namespace fs = std::filesystem;

/// Bytes that the includes of one compilation may have in all; a file that includes itself stops here at the latest.
constexpr std::uint64_t MaxIncludeBytes = 64u << 20;

/// Looks beside the including file, then beside the source, then in the working folder.
class StandardInclude final : public ID3DInclude
{
public:
    explicit StandardInclude(fs::path sourceFolder) : m_sourceFolder(std::move(sourceFolder)) {}

    HRESULT STDMETHODCALLTYPE Open(D3D_INCLUDE_TYPE type, LPCSTR fileName, LPCVOID parentData, LPCVOID* data,
                                   UINT* bytes) override
    {
        std::vector<fs::path> folders;
        if (const auto parent = m_open.find(parentData); type == D3D_INCLUDE_LOCAL && parent != m_open.end())
            folders.push_back(parent->second.folder);
        folders.push_back(m_sourceFolder);
        folders.emplace_back();
        for (const fs::path& folder : folders)
            if (Read(folder / fileName, data, bytes))
                return S_OK;
        return E_FAIL;
    }

    HRESULT STDMETHODCALLTYPE Close(LPCVOID data) override
    {
        m_open.erase(data);
        return S_OK;
    }

private:
    struct OpenFile
    {
        fs::path folder;
        std::unique_ptr<std::string> bytes;
    };

    bool Read(const fs::path& path, LPCVOID* data, UINT* size)
    {
        std::error_code error;
        if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > MaxIncludeBytes)
            return false;
        std::ifstream stream(path, std::ios::binary);
        auto text =
            std::make_unique<std::string>(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
        if (!stream)
            return false;
        // An empty file needs an address of its own too.
        text->push_back('\n');
        *size = static_cast<UINT>(text->size());
        *data = text->data();
        m_open[*data] = {path.parent_path(), std::move(text)};
        return true;
    }

    fs::path m_sourceFolder;
    std::map<LPCVOID, OpenFile> m_open;
};

} // namespace

IncludeFiles::IncludeFiles(ID3DInclude* handler, std::string_view sourceName)
    : m_standard(nullptr, [](ID3DInclude* include) { delete static_cast<StandardInclude*>(include); }),
      m_handler(handler)
{
    if (handler == D3D_COMPILE_STANDARD_FILE_INCLUDE) {
        m_standard.reset(new StandardInclude(fs::path(sourceName).parent_path()));
        m_handler = m_standard.get();
    }
}

IncludeFiles::~IncludeFiles()
{
    while (!m_files.empty()) {
        m_handler->Close(m_files.back().bytes.data());
        m_files.pop_back();
    }
}

std::uint32_t IncludeFiles::Open(D3D_INCLUDE_TYPE type, const std::string& name, std::uint32_t parent)
{
    const void* data = nullptr;
    UINT size = 0;
    const void* parentData = parent == IncludeRecord::NoParent ? nullptr : m_files[parent].bytes.data();
    if (!m_handler || FAILED(m_handler->Open(type, name.c_str(), parentData, &data, &size)) || !data)
        return IncludeRecord::NoParent;
    m_files.push_back({{type, name, parent, XXH3_64bits(data, size)}, {static_cast<const char*>(data), size}});
    m_total += size;
    return m_total > MaxIncludeBytes ? IncludeRecord::NoParent : static_cast<std::uint32_t>(m_files.size() - 1);
}

std::vector<IncludeRecord> IncludeFiles::Records() const
{
    std::vector<IncludeRecord> records;
    for (const File& file : m_files)
        records.push_back(file.record);
    return records;
}

bool IncludeFiles::Match(const std::vector<IncludeRecord>& records)
{
    for (const IncludeRecord& record : records) {
        const bool hasParent = record.parent != IncludeRecord::NoParent;
        if (hasParent && record.parent >= m_files.size())
            return false;
        const std::uint32_t index = Open(record.type, record.name, record.parent);
        if (index == IncludeRecord::NoParent || m_files[index].record.hash != record.hash)
            return false;
    }
    return true;
}

} // namespace gleam
