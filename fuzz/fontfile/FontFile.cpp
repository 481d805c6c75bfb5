// Parses the input as a font description file and looks up what a text would.
#include "Gleamwork/Font.h"

#include <cstdio>
#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <sys/mman.h>
#include <unistd.h>

// The parser reads files, so the input lies in one that only memory holds.
static int s_file = memfd_create("font", 0);

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    static qs::LogCapture s_quiet;
    s_quiet.Clear();
    if (ftruncate(s_file, 0) != 0 || pwrite(s_file, data, size, 0) != ssize_t(size)) {
        return -1;
    }
    char name[64];
    std::snprintf(name, sizeof(name), "/proc/self/fd/%d", s_file);
    qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, name));
    gw::TexturedFont font;
    font.Parse(&reader, qs::ObjectHandle::Unassigned);
    for (wchar_t code = 0; code < 0x200; code += 37) {
        font.GetCharacter(code);
    }
    font.GetCharacter('\xe9');
    font.DestroyCharData();
    return 0;
}
