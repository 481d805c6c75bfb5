// The table behind GWFS.
#include "Gleamwork/GWFS.h"

namespace {

// Positions in the table.
enum EString : unsigned
{
    eString_Empty,
#define GWFS_POSITION(name) eString_##name,
    GWFS_NAMES(GWFS_POSITION)
#undef GWFS_POSITION
        eString_Count
};

constexpr const char* s_texts[eString_Count] = {"",
#define GWFS_TEXT(name) #name,
                                                GWFS_NAMES(GWFS_TEXT)
#undef GWFS_TEXT
};

// Constructed before, and so destroyed after, every other static of the library: the library's stop assigns to it.
#if defined(__GNUC__)
__attribute__((init_priority(200)))
#endif
qs::FixedString s_strings[eString_Count];

} // namespace

const qs::FixedString& GWFS::str = s_strings[eString_Empty];
#define GWFS_DEFINE(name) const qs::FixedString& GWFS::str##name = s_strings[eString_##name];
GWFS_NAMES(GWFS_DEFINE)
#undef GWFS_DEFINE

void GWFS::Init()
{
    for (unsigned i = 0; i < eString_Count; ++i) {
        s_strings[i] = qs::FixedString::Create(s_texts[i], -1);
    }
}

void GWFS::Shutdown()
{
    for (qs::FixedString& string : s_strings) {
        string = qs::FixedString();
    }
}
