// Whether a capture keeps messages off the standard sinks.
#pragma once

namespace qs::log {

bool AreStandardSinksHidden();

} // namespace qs::log
