// How often the program asked for memory through the operators new.
#pragma once

#include <cstdint>

std::uint64_t GetOperatorNewCount();
