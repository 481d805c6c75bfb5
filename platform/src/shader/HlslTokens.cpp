// Splits preprocessed HLSL text into words.
#include "shader/HlslTokens.h"

#include <algorithm>
#include <cctype>

namespace gleam {
namespace {

bool IsNameCharacter(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$';
}

std::size_t EndOfLine(std::string_view text, std::size_t at)
{
    return std::min(text.find('\n', at), text.size());
}

std::size_t EndOfText(std::string_view text, std::size_t at)
{
    for (++at; at < text.size() && text[at] != '"' && text[at] != '\n'; ++at)
        if (text[at] == '\\')
            ++at;
    return std::min(at + 1, text.size());
}

std::size_t EndOfNumber(std::string_view text, std::size_t at)
{
    while (at < text.size() && (IsNameCharacter(text[at]) || text[at] == '.')) {
        const bool isExponent = text[at] == 'e' || text[at] == 'E';
        ++at;
        if (isExponent && at < text.size() && (text[at] == '+' || text[at] == '-'))
            ++at;
    }
    return at;
}

std::size_t EndOfName(std::string_view text, std::size_t at)
{
    while (at < text.size() && IsNameCharacter(text[at]))
        ++at;
    return at;
}

ETokenKind KindAt(std::string_view text, std::size_t at)
{
    const auto c = static_cast<unsigned char>(text[at]);
    const bool startsFraction =
        c == '.' && at + 1 < text.size() && std::isdigit(static_cast<unsigned char>(text[at + 1]));
    if (std::isdigit(c) || startsFraction)
        return ETokenKind::Number;
    if (c == '"')
        return ETokenKind::Text;
    return IsNameCharacter(text[at]) ? ETokenKind::Name : ETokenKind::Sign;
}

} // namespace

std::vector<HlslToken> SplitTokens(std::string_view text)
{
    std::vector<HlslToken> tokens;
    bool atLineStart = true;
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        if (c == '#' && atLineStart) {
            at = EndOfLine(text, at);
            continue;
        }
        if (std::isspace(static_cast<unsigned char>(c))) {
            atLineStart |= c == '\n';
            ++at;
            continue;
        }
        atLineStart = false;
        const ETokenKind kind = KindAt(text, at);
        std::size_t end = at + 1;
        if (kind == ETokenKind::Name)
            end = EndOfName(text, at);
        else if (kind == ETokenKind::Number)
            end = EndOfNumber(text, at);
        else if (kind == ETokenKind::Text)
            end = EndOfText(text, at);
        tokens.push_back({kind, text.substr(at, end - at)});
        at = end;
    }
    return tokens;
}

std::size_t ClosingBracket(const std::vector<HlslToken>& tokens, std::size_t open)
{
    const bool isAngle = tokens[open].Is("<");
    std::size_t depth = 0;
    for (std::size_t i = open; i < tokens.size(); ++i) {
        const HlslToken& token = tokens[i];
        if (token.kind != ETokenKind::Sign)
            continue;
        if (isAngle ? token.Is("<") : token.Is("(") || token.Is("[") || token.Is("{"))
            ++depth;
        else if (isAngle ? token.Is(">") : token.Is(")") || token.Is("]") || token.Is("}"))
            if (--depth == 0)
                return i;
    }
    return tokens.size();
}

std::size_t NestingDepth(const std::vector<HlslToken>& tokens)
{
    std::size_t depth = 0;
    std::size_t deepest = 0;
    for (const HlslToken& token : tokens) {
        if (token.kind != ETokenKind::Sign)
            continue;
        if (token.Is("(") || token.Is("[") || token.Is("{"))
            deepest = std::max(deepest, ++depth);
        else if ((token.Is(")") || token.Is("]") || token.Is("}")) && depth > 0)
            --depth;
    }
    return deepest;
}

std::size_t LongestChain(const std::vector<HlslToken>& tokens)
{
    std::size_t chain = 0;
    std::size_t longest = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const HlslToken& token = tokens[i];
        const bool endsStatement = token.Is(";") || token.Is("{") || token.Is("}");
        const bool goesOn = i + 1 < tokens.size() && tokens[i + 1].Is("else");
        if (token.Is(",") || (endsStatement && !goesOn))
            chain = 0;
        else if (token.kind == ETokenKind::Sign)
            longest = std::max(longest, ++chain);
    }
    return longest;
}

} // namespace gleam
