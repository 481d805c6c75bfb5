// Replaces single operations of live interface objects, so that a test scripts those and leaves the rest real.
#pragma once

#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

/// For objects with a plain line of interfaces, on compilers whose virtual tables are arrays of functions behind two
/// words of run-time type information.
class VtablePatch
{
public:
    /// Number of a virtual operation in its table.
    template <class Operation>
    static std::size_t SlotOf(Operation operation)
    {
        std::ptrdiff_t offset;
        std::memcpy(&offset, &operation, sizeof offset);
        return static_cast<std::size_t>(offset - 1) / sizeof(void*);
    }

    /// From now on `object`, and no other of its class, runs `replacement` for the operation; the object comes first
    /// among its arguments.
    template <class Operation, class Function>
    static void Replace(void* object, Operation operation, Function* replacement)
    {
        TableOf(object)[SlotOf(operation)] = reinterpret_cast<void*>(replacement);
    }

    /// The function that the class has for the operation.
    template <class Function, class Operation>
    static Function* Original(void* object, Operation operation)
    {
        return reinterpret_cast<Function*>(Tables()[*static_cast<void***>(object)].original[SlotOf(operation)]);
    }

private:
    static constexpr std::size_t Slots = 120;
    static constexpr std::size_t TypeWords = 2;

    struct Table
    {
        void** original = nullptr;
        std::unique_ptr<void*[]> words;
    };

    /// By address of the first function of the copy.
    static std::map<void**, Table>& Tables()
    {
        static std::map<void**, Table> tables;
        return tables;
    }

    /// One copy for each object; an address that is used again starts with its class's table.
    static void** TableOf(void* object)
    {
        void**& table = *static_cast<void***>(object);
        if (Tables().count(table) != 0) {
            return table;
        }
        Table copy{table, std::make_unique<void*[]>(Slots + TypeWords)};
        CopyWords(copy.words.get(), table - TypeWords);
        void** const first = copy.words.get() + TypeWords;
        Tables().emplace(first, std::move(copy));
        return table = first;
    }

    /// Reads past the end of short tables, into whatever read-only data lies behind.
    __attribute__((no_sanitize("address", "undefined"))) static void CopyWords(void** to, void* volatile* from)
    {
        for (std::size_t i = 0; i < Slots + TypeWords; ++i) {
            to[i] = from[i]; // volatile: one by one, since a call for all of them would be checked
        }
    }
};
