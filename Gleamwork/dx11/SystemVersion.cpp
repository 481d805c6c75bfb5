// The system's version.
#include "Gleamwork/dx11/SystemVersion.h"

#include <initializer_list>
#include <windows.h>

namespace api {

bool IsSystemAtLeast(unsigned short major, unsigned short minor, unsigned short servicePack)
{
    OSVERSIONINFOEXW info = {};
    info.dwOSVersionInfoSize = sizeof(info);
    info.dwMajorVersion = major;
    info.dwMinorVersion = minor;
    info.wServicePackMajor = servicePack;
    DWORDLONG conditions = 0;
    for (const DWORD field : {DWORD(VER_MAJORVERSION), DWORD(VER_MINORVERSION), DWORD(VER_SERVICEPACKMAJOR)}) {
        conditions = VerSetConditionMask(conditions, field, VER_GREATER_EQUAL);
    }
    return VerifyVersionInfoW(&info, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR, conditions) != FALSE;
}

} // namespace api
