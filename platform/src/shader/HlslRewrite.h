// Changes to preprocessed HLSL text that let glslang read what the published compiler reads, and facts about the text
// that glslang's syntax tree does not keep. Line numbers stay.
//
// - Words that glslang reserves but that are names in HLSL ("texture", "point", "linear", ...) get an underscore. Such
//   a word is taken for a name unless another name follows it: "linear float2 uv" is a modifier, "linear = 1" a name.
// - "t.sample[i][p]" of a multisampled texture becomes "t.Load(p, i)".
// - ldexp, which glslang does not know, becomes a function of our own.
// - An initial value of a constant is repeated in a helper function that nothing calls, from which its folded value is
//   read; glslang itself drops it.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace gleam {

struct HlslFacts
{
    std::map<std::string, std::string, std::less<>> renamed;   ///< new name to the text's
    std::map<std::string, std::string, std::less<>> semantics; ///< name in capitals to the text's spelling
    std::map<std::string, unsigned, std::less<>> sampleCounts; ///< Texture2DMS<T, n> by variable
    std::map<std::string, char, std::less<>> normalized;       ///< 'u' or 's' for unorm and snorm by variable
    std::set<std::string, std::less<>> consumed;               ///< variables of type ConsumeStructuredBuffer
    std::vector<std::string> defaults; ///< constants with an initial value; the helper of number i is DefaultHelper(i)

    /// The text's own name for one that may have been changed.
    const std::string& Restore(const std::string& name) const;
};

constexpr std::string_view DefaultHelperPrefix = "gw_default_";
std::string DefaultHelper(std::size_t index);

/// glslang reads texts recursively, so what nests too deeply is refused before it. Gives the reason, or an empty text.
/// No sane text comes near: brackets in brackets count to 256, operators and branches of one statement to 2048.
std::string TooDeep(std::string_view text);

/// `withDefaults` adds the helpers of initial values. The text may not be too deep.
std::string RewriteHlsl(std::string text, bool withDefaults, HlslFacts& facts);

} // namespace gleam
