// The source name of a type, for names of profile scopes.
#pragma once

#include <cstring>
#include <string_view>

#include <qs/Export.h>

namespace qs::details {

struct TypeNameText
{
    char text[192];
};

/// The name as the compiler spells it in a function signature.
template <class T>
std::string_view GetTypeNameView()
{
    const std::string_view signature = QS_FUNCTION;
    const std::size_t begin = signature.find("T = ");
    if (begin == std::string_view::npos) {
        return "T";
    }
    const std::size_t end = signature.find_first_of(";]", begin);
    return signature.substr(begin + 4, end - begin - 4);
}

/// `before`, the name of T and `after`, cut off at the end of the buffer.
template <class T>
TypeNameText ComposeTypeName(std::string_view before, std::string_view after)
{
    TypeNameText result;
    std::size_t length = 0;
    for (std::string_view part : {before, GetTypeNameView<T>(), after}) {
        const std::size_t room = sizeof result.text - 1 - length;
        const std::size_t count = part.size() < room ? part.size() : room;
        std::memcpy(result.text + length, part.data(), count);
        length += count;
    }
    result.text[length] = '\0';
    return result;
}

} // namespace qs::details
