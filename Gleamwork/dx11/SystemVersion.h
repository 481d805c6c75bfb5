// Which version of the system this runs on.
#pragma once

namespace api {

/// Whether the system is at least version `major.minor` with this service pack.
bool IsSystemAtLeast(unsigned short major, unsigned short minor, unsigned short servicePack = 0);

} // namespace api
