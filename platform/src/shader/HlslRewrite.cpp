// The passes over HLSL text. Each collects its changes over one splitting into tokens.
#include "shader/HlslRewrite.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <set>

#include "shader/HlslDeclarations.h"
#include "shader/HlslTokens.h"

namespace gleam {
namespace {

constexpr auto ReservedNames = std::to_array<std::string_view>({"texture",
                                                                "point",
                                                                "line",
                                                                "linear",
                                                                "string",
                                                                "shared",
                                                                "uniform",
                                                                "auto",
                                                                "char",
                                                                "class",
                                                                "template",
                                                                "precise",
                                                                "triangle",
                                                                "lineadj",
                                                                "triangleadj",
                                                                "signed",
                                                                "using",
                                                                "centroid",
                                                                "union",
                                                                "long",
                                                                "short",
                                                                "new",
                                                                "try",
                                                                "throw",
                                                                "catch",
                                                                "operator",
                                                                "friend",
                                                                "goto",
                                                                "explicit",
                                                                "mutable",
                                                                "typename",
                                                                "private",
                                                                "protected",
                                                                "public",
                                                                "virtual",
                                                                "delete",
                                                                "snorm",
                                                                "unorm",
                                                                "noperspective",
                                                                "nointerpolation",
                                                                "globallycoherent",
                                                                "volatile"});

/// Replacements of tokens, applied from the front to the back.
class Edits
{
public:
    explicit Edits(std::string_view text) : m_text(text) {}

    void Replace(std::string_view from, std::string_view through, std::string replacement)
    {
        const auto begin = static_cast<std::size_t>(from.data() - m_text.data());
        const auto end = static_cast<std::size_t>(through.data() + through.size() - m_text.data());
        m_edits.push_back({begin, end, std::move(replacement)});
    }

    bool Empty() const { return m_edits.empty(); }

    std::string Apply() const
    {
        std::string result;
        std::size_t at = 0;
        for (const Edit& edit : m_edits) {
            result.append(m_text.substr(at, edit.begin - at)).append(edit.text);
            at = edit.end;
        }
        return result.append(m_text.substr(at));
    }

private:
    struct Edit
    {
        std::size_t begin;
        std::size_t end;
        std::string text;
    };

    std::string_view m_text;
    std::vector<Edit> m_edits;
};

bool IsListed(std::string_view name)
{
    return std::find(ReservedNames.begin(), ReservedNames.end(), name) != ReservedNames.end();
}

/// Reserved words that name a structure; these are types wherever they stand.
std::set<std::string_view> ReservedStructures(const std::vector<HlslToken>& tokens)
{
    std::set<std::string_view> structures;
    for (std::size_t i = 0; i + 1 < tokens.size(); ++i)
        if (tokens[i].Is("struct") && IsListed(tokens[i + 1].text))
            structures.insert(tokens[i + 1].text);
    return structures;
}

bool IsUsedAsName(const std::vector<HlslToken>& tokens, std::size_t i)
{
    if (i + 1 >= tokens.size())
        return true;
    const HlslToken& next = tokens[i + 1];
    return !next.IsName() && !next.Is("{") && !next.Is("<");
}

std::string RenameReserved(const std::string& text, HlslFacts& facts)
{
    const std::vector<HlslToken> tokens = SplitTokens(text);
    std::set<std::string_view> names;
    for (const HlslToken& token : tokens)
        if (token.IsName())
            names.insert(token.text);

    const std::set<std::string_view> structures = ReservedStructures(tokens);
    std::map<std::string_view, std::string> renames;
    Edits edits(text);
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const bool isName = IsListed(tokens[i].text) && IsUsedAsName(tokens, i);
        if (!isName && !structures.contains(tokens[i].text))
            continue;
        std::string& renamed = renames[tokens[i].text];
        if (renamed.empty()) {
            renamed = tokens[i].text;
            do
                renamed += '_';
            while (names.contains(renamed));
            facts.renamed.emplace(renamed, tokens[i].text);
        }
        edits.Replace(tokens[i].text, tokens[i].text, renamed);
    }
    return edits.Apply();
}

/// One pass; brackets inside brackets are reached by the next.
bool RewriteSampleIndexing(std::string& text)
{
    const std::vector<HlslToken> tokens = SplitTokens(text);
    Edits edits(text);
    for (std::size_t i = 0; i + 3 < tokens.size(); ++i) {
        if (!tokens[i].Is(".") || !tokens[i + 1].Is("sample") || !tokens[i + 2].Is("["))
            continue;
        const std::size_t sampleEnd = ClosingBracket(tokens, i + 2);
        if (sampleEnd + 1 >= tokens.size() || !tokens[sampleEnd + 1].Is("["))
            continue;
        const std::size_t placeEnd = ClosingBracket(tokens, sampleEnd + 1);
        if (placeEnd >= tokens.size())
            continue;
        const auto between = [&](std::size_t open, std::size_t close) {
            const char* begin = tokens[open].text.data() + 1;
            return std::string(begin, static_cast<std::size_t>(tokens[close].text.data() - begin));
        };
        edits.Replace(tokens[i].text, tokens[placeEnd].text,
                      ".Load((" + between(sampleEnd + 1, placeEnd) + "), (" + between(i + 2, sampleEnd) + "))");
        i = placeEnd;
    }
    if (edits.Empty())
        return false;
    text = edits.Apply();
    return true;
}

constexpr char LdexpHelper[] = "gw_ldexp";

/// Calls of the function that glslang lacks. The helpers stand on the first line, in front of the text.
std::string RewriteLdexp(std::string text)
{
    const std::vector<HlslToken> tokens = SplitTokens(text);
    Edits edits(text);
    for (std::size_t i = 0; i + 1 < tokens.size(); ++i)
        if (tokens[i].Is("ldexp") && tokens[i + 1].Is("("))
            edits.Replace(tokens[i].text, tokens[i].text, LdexpHelper);
    if (edits.Empty())
        return text;
    std::string helpers;
    for (const char* type : {"float", "float2", "float3", "float4"})
        helpers += std::string(type) + " " + LdexpHelper + "(" + type + " x, " + type + " e) { return x * exp2(e); } ";
    return helpers + edits.Apply();
}

std::string DefaultHelpers(const std::vector<InitialValue>& values, HlslFacts& facts)
{
    std::string text = "\n";
    for (const InitialValue& value : values) {
        text += "void " + DefaultHelper(facts.defaults.size()) + "(out " + value.type + " r" + value.dimensions +
                ") { " + value.type + " v" + value.dimensions + " = " + value.expression + "; r = v; }\n";
        facts.defaults.push_back(value.name);
    }
    return text;
}

} // namespace

const std::string& HlslFacts::Restore(const std::string& name) const
{
    const auto found = renamed.find(name);
    return found == renamed.end() ? name : found->second;
}

std::string DefaultHelper(std::size_t index)
{
    return std::string(DefaultHelperPrefix) + std::to_string(index);
}

std::string TooDeep(std::string_view text)
{
    constexpr std::size_t maxNesting = 256, maxChain = 2048;
    const std::vector<HlslToken> tokens = SplitTokens(text);
    if (NestingDepth(tokens) > maxNesting)
        return "brackets are nested deeper than " + std::to_string(maxNesting);
    if (LongestChain(tokens) > maxChain)
        return "one statement has more than " + std::to_string(maxChain) + " operators and branches";
    return {};
}

std::string RewriteHlsl(std::string text, bool withDefaults, HlslFacts& facts)
{
    text = RenameReserved(text, facts);
    constexpr int maxPasses = 8;
    for (int i = 0; i < maxPasses && RewriteSampleIndexing(text); ++i) {
    }
    text = RewriteLdexp(std::move(text));

    std::vector<InitialValue> values;
    ReadDeclarations(SplitTokens(text), facts, values);
    if (withDefaults && !values.empty())
        text += DefaultHelpers(values, facts);
    return text;
}

} // namespace gleam
