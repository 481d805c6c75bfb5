// Unique identifiers from the system's random generator.
#include <qs/Guid.h>

#include <cstdio>
#include <random>

#include <sys/random.h>

namespace qs {

Guid Guid::Generate()
{
    u64 bits[2];
    if (getrandom(bits, sizeof bits, 0) != static_cast<ssize_t>(sizeof bits)) {
        std::random_device device;
        for (u64& word : bits) {
            word = u64(device()) << 32 | device();
        }
    }
    Guid guid;
    guid.m_high = (bits[0] & ~u64(0xf000)) | 0x4000;         // version 4
    guid.m_low = (bits[1] & ~(u64(3) << 62)) | u64(2) << 62; // the variant of RFC 4122
    return guid;
}

FixedString Guid::ToFS(bool hyphens) const
{
    char text[40];
    std::snprintf(text, sizeof text, hyphens ? "%08x-%04x-%04x-%04x-%012llx" : "%08x%04x%04x%04x%012llx",
                  static_cast<u32>(m_high >> 32), static_cast<u32>(m_high >> 16) & 0xffff,
                  static_cast<u32>(m_high) & 0xffff, static_cast<u32>(m_low >> 48),
                  static_cast<unsigned long long>(m_low & 0xffffffffffffu));
    return FixedString::Create(text);
}

} // namespace qs
