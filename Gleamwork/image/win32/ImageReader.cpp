// Messages of the image file readers.
#include "Gleamwork/image/win32/ImageReader.h"

#include <qs/Log.h>

namespace gw::image {
namespace {

thread_local const char* currentFile = nullptr;

} // namespace

LoadingFileName::LoadingFileName(const char* name) : m_outer(currentFile)
{
    currentFile = name;
}

LoadingFileName::~LoadingFileName()
{
    currentFile = m_outer;
}

void ReportReaderError(const char* function, const char* kind, const char* reason)
{
    QS_LOG_ERROR("Gleamwork/image/win32/ImageReader", function, "Couldn't read %s image \"%s\": %s", kind,
                 currentFile ? currentFile : "(memory)", reason);
}

} // namespace gw::image
