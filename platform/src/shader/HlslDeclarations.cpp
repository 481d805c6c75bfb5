// A light parser of what stands outside function bodies. It never fails: what it does not know it skips, and glslang
// reports what is wrong.
#include "shader/HlslDeclarations.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>

namespace gleam {
namespace {

constexpr auto Modifiers = std::to_array<std::string_view>(
    {"uniform", "extern", "shared", "volatile", "precise", "row_major", "column_major", "nointerpolation"});
constexpr auto NoConstants =
    std::to_array<std::string_view>({"static", "const", "groupshared", "typedef", "struct", "class", "SamplerState",
                                     "SamplerComparisonState", "sampler", "return", "namespace", "interface"});

template <std::size_t N>
bool IsOneOf(const std::array<std::string_view, N>& list, std::string_view text)
{
    return std::find(list.begin(), list.end(), text) != list.end();
}

std::string Capitals(std::string_view text)
{
    std::string capitals(text);
    for (char& c : capitals)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return capitals;
}

std::string_view WithoutIndex(std::string_view semantic)
{
    while (semantic.size() > 1 && std::isdigit(static_cast<unsigned char>(semantic.back())))
        semantic.remove_suffix(1);
    return semantic;
}

class DeclarationReader
{
public:
    DeclarationReader(const std::vector<HlslToken>& tokens, HlslFacts& facts, std::vector<InitialValue>& values)
        : m_tokens(tokens), m_facts(facts), m_values(values)
    {
    }

    /// Statements from `at` up to the closing brace or the end.
    std::size_t ReadScope(std::size_t at)
    {
        while (at < m_tokens.size() && !m_tokens[at].Is("}"))
            at = ReadStatement(at);
        return at;
    }

private:
    const HlslToken& At(std::size_t i) const
    {
        static const HlslToken s_none;
        return i < m_tokens.size() ? m_tokens[i] : s_none;
    }

    /// Where the token behind a bracket group that starts at `at` stands.
    std::size_t Skip(std::size_t at) const { return std::min(ClosingBracket(m_tokens, at), m_tokens.size() - 1) + 1; }

    /// One declaration. Everything up to its ";" or its body is looked through for semantics; its body is entered
    /// when it holds declarations (structures, buffers) and skipped when it is code.
    std::size_t ReadStatement(std::size_t begin)
    {
        bool isFunction = false;
        std::size_t at = begin;
        for (; at < m_tokens.size(); ++at) {
            const HlslToken& token = m_tokens[at];
            if (token.Is("}"))
                return at;
            if (token.Is(";"))
                break;
            if (token.Is("[")) {
                at = Skip(at) - 1;
            } else if (token.Is("(")) {
                const std::size_t end = Skip(at);
                ReadSemantics(at, end);
                isFunction = !IsRegister(at);
                at = end - 1;
            } else if (token.Is(":")) {
                NoteSemantic(at);
            } else if (token.Is("=")) {
                at = EndOfInitializer(at) - 1;
            } else if (token.Is("{")) {
                if (isFunction || !HoldsDeclarations(begin, at))
                    return Skip(at);
                at = std::min(ReadScope(at + 1), m_tokens.size() - 1);
                // A structure may go on with variables of its type, a buffer ends here.
                if (!At(begin).Is("struct"))
                    return at + 1;
            }
        }
        if (!isFunction)
            ReadVariables(begin, at);
        return at + 1;
    }

    bool IsRegister(std::size_t parenthesis) const
    {
        const HlslToken& before = parenthesis == 0 ? At(m_tokens.size()) : At(parenthesis - 1);
        return before.Is("register") || before.Is("packoffset");
    }

    bool HoldsDeclarations(std::size_t begin, std::size_t brace) const
    {
        return std::any_of(m_tokens.begin() + static_cast<std::ptrdiff_t>(begin),
                           m_tokens.begin() + static_cast<std::ptrdiff_t>(brace), [](const HlslToken& token) {
                               return token.Is("struct") || token.Is("cbuffer") || token.Is("tbuffer");
                           });
    }

    /// The "," or ";" that ends the expression behind the "=" at `at`.
    std::size_t EndOfInitializer(std::size_t at) const
    {
        for (++at; at < m_tokens.size(); ++at) {
            if (At(at).Is(";") || At(at).Is(",") || At(at).Is("}"))
                return at;
            if (At(at).Is("(") || At(at).Is("[") || At(at).Is("{"))
                at = Skip(at) - 1;
        }
        return at;
    }

    void ReadSemantics(std::size_t begin, std::size_t end)
    {
        for (std::size_t i = begin; i < end; ++i)
            if (At(i).Is(":"))
                NoteSemantic(i);
    }

    void NoteSemantic(std::size_t colon)
    {
        const HlslToken& name = At(colon + 1);
        if (!name.IsName() || name.Is("register") || name.Is("packoffset"))
            return;
        const std::string_view semantic = WithoutIndex(name.text);
        m_facts.semantics.emplace(Capitals(semantic), semantic);
    }

    /// Type and declarators between `begin` and the ";" at `end`.
    void ReadVariables(std::size_t begin, std::size_t end)
    {
        std::size_t at = begin;
        bool isConstant = true;
        for (std::size_t i = begin; i < end; ++i)
            isConstant &= !IsOneOf(NoConstants, At(i).text);
        while (at < end && IsOneOf(Modifiers, At(at).text))
            ++at;
        if (!At(at).IsName())
            return;
        const std::size_t type = at++;
        std::size_t arguments = at;
        if (At(at).Is("<")) {
            arguments = at;
            at = Skip(at);
        }
        const std::string typeText = Join(type, at);
        while (at < end) {
            const std::size_t next = ReadDeclarator(at, end, typeText, isConstant);
            NoteResource(At(at).text, type, arguments);
            at = next + 1;
        }
    }

    /// One name with its dimensions and value; gives the place of the "," or ";" behind it.
    std::size_t ReadDeclarator(std::size_t at, std::size_t end, const std::string& type, bool isConstant)
    {
        const std::size_t name = at;
        std::string dimensions;
        for (++at; at < end && !At(at).Is(",") && !At(at).Is("="); ++at) {
            if (At(at).Is("[")) {
                const std::size_t close = Skip(at);
                dimensions += Join(at, close);
                at = close - 1;
            } else if (At(at).Is("(")) {
                at = Skip(at) - 1;
            }
        }
        if (!At(at).Is("=") || at >= end)
            return at;
        const std::size_t close = std::min(EndOfInitializer(at), end);
        if (isConstant && At(name).IsName())
            m_values.push_back({std::string(At(name).text), type, dimensions, Join(at + 1, close)});
        return close;
    }

    /// What the arguments of a resource's type tell beyond its component type.
    void NoteResource(std::string_view name, std::size_t type, std::size_t arguments)
    {
        if (!At(arguments).Is("<"))
            return;
        const std::string variable(name);
        const std::size_t close = ClosingBracket(m_tokens, arguments);
        if (At(arguments + 1).Is("unorm") || At(arguments + 1).Is("snorm"))
            m_facts.normalized[variable] = At(arguments + 1).text[0];
        if (At(type).Is("ConsumeStructuredBuffer"))
            m_facts.consumed.insert(variable);
        if (!At(type).text.starts_with("Texture2DMS") || !At(close - 2).Is(","))
            return;
        const std::string_view count = At(close - 1).text;
        std::from_chars(count.data(), count.data() + count.size(), m_facts.sampleCounts[variable]);
    }

    std::string Join(std::size_t begin, std::size_t end) const
    {
        std::string text;
        for (std::size_t i = begin; i < end; ++i)
            text.append(text.empty() ? "" : " ").append(At(i).text);
        return text;
    }

    const std::vector<HlslToken>& m_tokens;
    HlslFacts& m_facts;
    std::vector<InitialValue>& m_values;
};

} // namespace

void ReadDeclarations(const std::vector<HlslToken>& tokens, HlslFacts& facts, std::vector<InitialValue>& values)
{
    DeclarationReader reader(tokens, facts, values);
    // A brace too many ends a scope early; go on behind it.
    for (std::size_t at = 0; at < tokens.size(); ++at)
        at = reader.ReadScope(at);
}

} // namespace gleam
