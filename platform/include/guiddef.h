// Interface identifiers. DEFINE_GUID declares one; in a source that defines INITGUID before its first
// include it also defines it, which the platform library does once for every identifier of its headers.
#pragma once

#include <cstring>

#include "gleam_platform_export.h"

struct GUID
{
    unsigned int Data1;
    unsigned short Data2;
    unsigned short Data3;
    unsigned char Data4[8];
};

using IID = GUID;
using CLSID = GUID;
using REFGUID = const GUID&;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline bool operator==(REFGUID a, REFGUID b)
{
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}

inline bool operator!=(REFGUID a, REFGUID b)
{
    return !(a == b);
}

inline int IsEqualGUID(REFGUID a, REFGUID b)
{
    return a == b;
}

inline int IsEqualIID(REFIID a, REFIID b)
{
    return a == b;
}

#ifdef INITGUID
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                                                   \
    extern "C" GLEAM_PLATFORM_API const GUID name;                                                                     \
    const GUID name = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) extern "C" GLEAM_PLATFORM_API const GUID name
#endif
