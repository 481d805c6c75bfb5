// Normalising of file names and the directories of the roots.
#include <qs/Path.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "Roots.h"

namespace qs {

namespace {

bool IsSeparator(char c)
{
    return c == '/' || c == '\\';
}

/// What a ".." does that has no part before it.
enum class EParent
{
    Keep,
    Drop
};

std::string NormalizeText(std::string_view text, EParent atFront)
{
    const bool absolute = !text.empty() && IsSeparator(text.front());
    std::vector<std::string_view> parts;
    for (size_t begin = 0; begin < text.size();) {
        const auto* end = std::find_if(text.data() + begin, text.data() + text.size(), IsSeparator);
        const std::string_view part = text.substr(begin, static_cast<size_t>(end - text.data()) - begin);
        begin += part.size() + 1;
        if (part == "..") {
            if (!parts.empty() && parts.back() != "..") {
                parts.pop_back();
            } else if (!absolute && atFront == EParent::Keep) {
                parts.push_back(part);
            }
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
    }
    std::string result(absolute ? "/" : "");
    for (const std::string_view part : parts) {
        result += part;
        result += '/';
    }
    if (!parts.empty()) {
        result.pop_back();
    }
    return result;
}

// Never above its start: for texts that stand behind a root.
std::string NormalizeBelowRoot(std::string_view text)
{
    while (!text.empty() && IsSeparator(text.front())) {
        text.remove_prefix(1);
    }
    return NormalizeText(text, EParent::Drop);
}

} // namespace

Path::Path(EPathRoot root) : m_root(root) {}

Path::Path(EPathRoot root, const char* text) : m_root(0)
{
    Build(root, StringView(text));
}

Path::Path(EPathRoot root, const StringView& text) : m_root(0)
{
    Build(root, text);
}

void Path::Build(EPathRoot root, const StringView& text)
{
    std::string_view name = text.ToStd();
    name = name.substr(0, std::min(name.find('\0'), name.size()));
    if (root == PATH_ROOT_NONE) {
        m_text = STDString(StringView(name));
        Normalize(m_text);
        return;
    }
    const std::string below = NormalizeBelowRoot(name);
    const StringView prefix = GetPrefixForRoot(root);
    m_text = STDString(static_cast<u64>(prefix.GetLength()) + 1 + below.size());
    if (!prefix.IsEmpty()) {
        m_text.Concatenate(prefix);
        m_text.Concatenate('/');
    }
    m_text.Concatenate(StringView(below));
    Normalize(m_text);
}

StringView Path::GetPrefixForRoot(EPathRoot root)
{
    return StringView(details::GetRootDirectory(root));
}

void Path::Normalize(STDString& text)
{
    text = STDString(StringView(NormalizeText(StringView(text).ToStd(), EParent::Keep)));
}

STDWString Path::ToWString() const
{
    return STDWString::FromUTF8(m_text);
}

StringView Path::GetExtension() const
{
    const std::string_view text = StringView(m_text).ToStd();
    const size_t slash = text.rfind('/');
    const size_t name = slash == std::string_view::npos ? 0 : slash + 1;
    const size_t dot = text.rfind('.');
    const bool found = dot != std::string_view::npos && dot > name;
    return found ? StringView(text.substr(dot + 1)) : StringView();
}

} // namespace qs
