// Names of memory scopes and what is live under each.
#pragma once

#include <qs/Memory.h>
#include <qs/Types.h>

namespace qs::memory {

constexpr u32 MaxScopes = 65536;
/// Blocks made outside of any scope. 0 is the id of blocks that are not accounted at all.
constexpr u16 NoScope = 1;
/// Takes the names beyond MaxScopes.
constexpr u16 OtherScope = 2;
/// What the foundation keeps until the process ends; the report at exit leaves it out.
constexpr u16 ProcessScope = 3;

/// The id of a name, made at its first use. Takes no lock for a known name.
u16 GetScopeID(const char* name);
/// The id of a known name, or 0.
u16 FindScopeID(const char* name);
/// Number of ids in use; ids run from 1.
u32 GetScopeCount();

/// Adds to what lives under a scope; negative values take off. Every thread counts in one of a few places of its own,
/// so that the counters of busy scopes do not travel between processors.
void Account(u16 scope, i64 bytes, i64 blocks);
void AccountThirdParty(u16 scope, i64 bytes, i64 blocks);
/// The sum over all places; exact when no other thread allocates meanwhile.
MemoryScopeUsage GetScopeUsage(u16 scope);

/// The scope that the calling thread is in.
u16 GetCurrentScope();

/// Accounts what the thread allocates meanwhile under ProcessScope.
class ProcessLifetime
{
public:
    ProcessLifetime();
    ~ProcessLifetime();

private:
    u32 m_outerScope;
};

} // namespace qs::memory
