// Messages of a compilation in the published form: `name(line,column): error Xnnnn: text`, one to a line.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace gleam {

/// Texts by the names under which they were compiled, to find columns in.
using SourceTexts = std::map<std::string, std::string, std::less<>>;

/// One line; `text` begins with "Xnnnn: " or gets X3000, the number of syntax errors.
std::string OneMessage(std::string_view file, std::uint32_t line, std::uint32_t column, std::string_view severity,
                       std::string_view text);

/// Translates glslang's log. `preprocessed` is the text that glslang saw, whose columns its parser reports; columns in
/// the result are those of the word at fault in `sources`, where it can be found, and 1 where not.
std::string PublishedMessages(std::string_view log, const SourceTexts& sources, std::string_view preprocessed,
                              std::string_view defaultFile);

} // namespace gleam
