// Words of preprocessed HLSL text.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace gleam {

enum class ETokenKind : std::uint8_t
{
    Name,
    Number,
    Sign,
    Text
};

/// `text` points into the text that was split. Comments are gone after preprocessing; lines with directives are
/// skipped.
struct HlslToken
{
    ETokenKind kind = ETokenKind::Sign;
    std::string_view text;

    bool Is(std::string_view wanted) const { return text == wanted; }
    bool IsName() const { return kind == ETokenKind::Name; }
};

std::vector<HlslToken> SplitTokens(std::string_view text);

/// Index of the sign that closes the bracket at `open`, or the number of tokens. "<" counts as a bracket only when it
/// is the one at `open`.
std::size_t ClosingBracket(const std::vector<HlslToken>& tokens, std::size_t open);

/// Deepest nesting of brackets.
std::size_t NestingDepth(const std::vector<HlslToken>& tokens);

/// Most operators and branches in one expression or one statement with all its `else`: how deep a parser nests them.
std::size_t LongestChain(const std::vector<HlslToken>& tokens);

} // namespace gleam
