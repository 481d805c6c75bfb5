// Sums and products of sizes that stop at the largest number instead of wrapping. Inside the image code only.
#pragma once

#include <cstdint>

namespace gw::image::details {

inline uint64_t MultiplySaturated(uint64_t a, uint64_t b)
{
    uint64_t product;
    return __builtin_mul_overflow(a, b, &product) ? UINT64_MAX : product;
}

inline uint64_t AddSaturated(uint64_t a, uint64_t b)
{
    uint64_t sum;
    return __builtin_add_overflow(a, b, &sum) ? UINT64_MAX : sum;
}

} // namespace gw::image::details
