// Writing of whole files.
#include "FileOutput.h"

#include "Results.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <utf8.h>

namespace DirectX {

namespace {

struct CloseFile
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};

HRESULT ResultOfErrno(int code)
{
    constexpr unsigned fileFacility = 0x80070000;
    switch (code) {
    case ENOENT:
        return static_cast<HRESULT>(fileFacility | 3); // the folder is not there
    case EACCES:
    case EPERM:
    case EROFS:
        return static_cast<HRESULT>(fileFacility | 5); // access is denied
    case EISDIR:
        return static_cast<HRESULT>(fileFacility | 5);
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return static_cast<HRESULT>(fileFacility | 112); // the disk is full
    case ENAMETOOLONG:
        return static_cast<HRESULT>(fileFacility | 206);
    default:
        return static_cast<HRESULT>(fileFacility | 29); // the system cannot write
    }
}

} // namespace

HRESULT ToBlob(const Bytes& bytes, Blob& blob)
{
    const HRESULT result = blob.Initialize(bytes.size());
    if (SUCCEEDED(result))
        std::memcpy(blob.GetBufferPointer(), bytes.data(), bytes.size());
    return result;
}

HRESULT WriteFile(const wchar_t* name, const Bytes& bytes)
{
    if (!name || !*name)
        return E_INVALIDARG;
    std::string path;
    try {
        utf8::utf32to8(name, name + std::wcslen(name), std::back_inserter(path));
    } catch (const utf8::exception&) {
        return E_INVALIDARG; // characters that no file name can have
    }
    errno = 0;
    std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "wb"));
    if (!file)
        return ResultOfErrno(errno);
    const bool isWritten = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    // Closing flushes, and a full disk may show only then.
    const bool isClosed = std::fclose(file.release()) == 0;
    if (isWritten && isClosed)
        return S_OK;
    const HRESULT result = ResultOfErrno(errno);
    std::error_code ignored;
    if (std::filesystem::is_regular_file(path, ignored))
        std::filesystem::remove(path, ignored);
    return result;
}

} // namespace DirectX
