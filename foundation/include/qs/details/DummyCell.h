// What an accessor hands out behind a failed check: a cell of the right type that belongs to no container.
#pragma once

#include <type_traits>

#include <qs/Types.h>

namespace qs::details {

/// A value-initialised cell of the calling thread. It is reset at every call, so what one caller writes into it no
/// other reads. A type without a default constructor gets zeroed storage, which only types that accept being zeroed
/// may be read from.
template <class T>
std::remove_const_t<T>& DummyCell()
{
    using Value = std::remove_const_t<T>;
    if constexpr (std::is_default_constructible_v<Value> && std::is_move_assignable_v<Value>) {
        static thread_local Value cell{};
        cell = Value{};
        return cell;
    } else if constexpr (std::is_default_constructible_v<Value>) {
        static thread_local Value cell{};
        return cell;
    } else {
        alignas(Value) static thread_local unsigned char storage[sizeof(Value)];
        for (unsigned char& byte : storage) {
            byte = 0;
        }
        return *reinterpret_cast<Value*>(storage);
    }
}

} // namespace qs::details
