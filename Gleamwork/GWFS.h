// Interned strings that the library compares against again and again.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/GWFSNames.h"

#include <qs/FixedString.h>

/// Static strings, each named `str` plus its text; `GWFS::str` is the empty string (a real one, not the null string).
///
/// All are null strings until GWFS::Init and after GWFS::Shutdown, which run with the library's start and stop. In
/// between they may be read from any thread without a lock, and comparing two of them is a compare of two handles.
/// The format names stand in an order of their own: nothing may index this table by gw::EFormat.
class GW_API GWFS
{
public:
    /// Gives every string its text.
    static void Init();
    /// Puts the null string back everywhere.
    static void Shutdown();

    static const qs::FixedString& str;
#define GWFS_DECLARE(name) static const qs::FixedString& str##name;
    GWFS_NAMES(GWFS_DECLARE)
#undef GWFS_DECLARE

    GWFS() = delete;
};
