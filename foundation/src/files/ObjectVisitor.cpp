// Object files: a parsed XML tree with a place in it.
#include <qs/ObjectVisitor.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

#include <pugixml.hpp>

#include <qs/FileSystem.h>
#include <qs/Log.h>

#define VISITOR_LOG(level, operation, ...)                                                                             \
    QS_LOG_##level("foundation/ObjectVisitor", "qs::DefaultObjectVisitor::" operation, __VA_ARGS__)

namespace qs {

namespace {

constexpr uint64_t LARGEST_FILE = uint64_t(16) << 20;
constexpr int DEEPEST_LEVEL = 64;

bool IsAnyIdentifier(const FixedString& identifier)
{
    return identifier.GetLength() == 0 || identifier == FFFS::str;
}

// Whole numbers, decimal or hexadecimal behind "0x", and nothing else around them.
template <class T>
bool ParseNumber(const char* text, T& value)
{
    std::string_view digits(text);
    int base = 10;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
        base = 16;
        if (digits.starts_with('-')) {
            return false;
        }
    }
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
    return error == std::errc() && stop == end && !digits.empty();
}

// True when no element lies deeper than `limit` levels below `root`. Walks without recursion.
bool IsDepthWithin(pugi::xml_node root, int limit, pugi::xml_node& tooDeep)
{
    int depth = 0;
    for (pugi::xml_node node = root.first_child(); node;) {
        if (depth >= limit) {
            tooDeep = node;
            return false;
        }
        if (pugi::xml_node child = node.first_child()) {
            node = child;
            ++depth;
            continue;
        }
        while (node != root && !node.next_sibling()) {
            node = node.parent();
            --depth;
        }
        node = node == root ? pugi::xml_node() : node.next_sibling();
    }
    return true;
}

} // namespace

/// The tree, and the way from a region down to the node that was entered last.
struct DefaultObjectVisitor::Document
{
    struct Level
    {
        pugi::xml_node node;
        /// For each name that was entered without an identifier, the child it led to.
        std::vector<std::pair<FixedString, pugi::xml_node>> entered;

        pugi::xml_node NextChild(const FixedString& name);
    };

    pugi::xml_document m_tree;
    pugi::xml_node m_root;
    std::vector<Level> m_levels;   ///< the region first; empty outside every region
    std::vector<uint32_t> m_lines; ///< offsets of the line ends

    int GetLine(ptrdiff_t offset) const;
    int GetLine(pugi::xml_node node) const { return GetLine(node.offset_debug()); }
    pugi::xml_attribute FindValue(const FixedString& name) const;
};

// The sibling behind the one that was entered last under that name, or the first.
pugi::xml_node DefaultObjectVisitor::Document::Level::NextChild(const FixedString& name)
{
    const auto found =
        std::find_if(entered.begin(), entered.end(), [&](const auto& entry) { return entry.first == name; });
    if (found == entered.end()) {
        const pugi::xml_node child = node.child(name.ToChar());
        if (child) {
            entered.emplace_back(name, child);
        }
        return child;
    }
    const pugi::xml_node child = found->second.next_sibling(name.ToChar());
    if (child) {
        found->second = child;
    }
    return child;
}

int DefaultObjectVisitor::Document::GetLine(ptrdiff_t offset) const
{
    const auto before =
        std::lower_bound(m_lines.begin(), m_lines.end(), static_cast<uint32_t>(std::max(offset, ptrdiff_t(0))));
    return static_cast<int>(before - m_lines.begin()) + 1;
}

pugi::xml_attribute DefaultObjectVisitor::Document::FindValue(const FixedString& name) const
{
    return m_levels.empty() ? pugi::xml_attribute() : m_levels.back().node.attribute(name.ToChar());
}

ObjectVisitor::~ObjectVisitor() = default;

DefaultObjectVisitor::DefaultObjectVisitor() : m_document(std::make_unique<Document>()) {}

DefaultObjectVisitor::~DefaultObjectVisitor() = default;

bool DefaultObjectVisitor::Load(const Path& path)
{
    m_document = std::make_unique<Document>();
    m_fileName = path;
    FileReader reader(path, FileReader::TYPE_MEMORY);
    if (!reader.IsLoaded()) {
        VISITOR_LOG(ERROR, "Load", "Couldn't open object file \"%s\": %s", path.ToChar(), reader.GetErrorText());
        return false;
    }
    return Load(reader.GetMemory(), path);
}

bool DefaultObjectVisitor::Load(const ConstByteView& content, const Path& name)
{
    m_document = std::make_unique<Document>();
    m_fileName = name;
    if (content.GetSize() > LARGEST_FILE) {
        VISITOR_LOG(ERROR, "Load", "Object file \"%s\" has %llu bytes, above the limit of %llu", name.ToChar(),
                    static_cast<unsigned long long>(content.GetSize()), static_cast<unsigned long long>(LARGEST_FILE));
        return false;
    }
    Document& document = *m_document;
    for (uint64_t i = 0; i < content.GetSize(); ++i) {
        if (content.GetData()[i] == '\n') {
            document.m_lines.push_back(static_cast<uint32_t>(i));
        }
    }
    const pugi::xml_parse_result result =
        document.m_tree.load_buffer(content.GetData(), content.GetSize(),
                                    pugi::parse_minimal | pugi::parse_escapes | pugi::parse_eol, pugi::encoding_utf8);
    if (!result) {
        VISITOR_LOG(ERROR, "Load", "%s(%d): the object file cannot be parsed: %s", name.ToChar(),
                    document.GetLine(result.offset), result.description());
        return false;
    }
    return CheckTree();
}

bool DefaultObjectVisitor::CheckTree()
{
    Document& document = *m_document;
    const pugi::xml_node root = document.m_tree.document_element();
    const char* fault = nullptr;
    pugi::xml_node place = root;
    if (!root || std::strcmp(root.name(), "objects") != 0) {
        fault = "the root element of an object file is \"objects\"";
    } else if (root.next_sibling()) {
        fault = "an object file has one root element";
        place = root.next_sibling();
    } else if (root.attribute("version").as_int(1) != 1) {
        fault = "version 1 of the object file form is known";
    } else if (!IsDepthWithin(root, DEEPEST_LEVEL, place)) {
        fault = "an object file has at most 64 levels";
    }
    if (fault) {
        VISITOR_LOG(ERROR, "Load", "%s(%d): %s", m_fileName.ToChar(), place ? document.GetLine(place) : 1, fault);
        m_document = std::make_unique<Document>();
        return false;
    }
    document.m_root = root;
    return true;
}

bool DefaultObjectVisitor::IsReading() const
{
    return true;
}

bool DefaultObjectVisitor::EnterRegion(const FixedString& name)
{
    Document& document = *m_document;
    if (!document.m_levels.empty()) {
        VISITOR_LOG(ASSERT, "EnterRegion", "Region \"%s\" of \"%s\" is entered inside another one", name.ToChar(),
                    m_fileName.ToChar());
        return false;
    }
    const pugi::xml_node region = document.m_root.child(name.ToChar());
    if (region) {
        document.m_levels.push_back({region, {}});
    }
    return !region.empty();
}

void DefaultObjectVisitor::ExitRegion(const FixedString& name)
{
    Leave(name, 1, "ExitRegion");
}

bool DefaultObjectVisitor::EnterNode(const FixedString& name, const FixedString& identifier)
{
    std::vector<Document::Level>& levels = m_document->m_levels;
    if (levels.empty()) {
        VISITOR_LOG(ASSERT, "EnterNode", "Node \"%s\" of \"%s\" is entered outside every region", name.ToChar(),
                    m_fileName.ToChar());
        return false;
    }
    const pugi::xml_node child =
        IsAnyIdentifier(identifier)
            ? levels.back().NextChild(name)
            : levels.back().node.find_child_by_attribute(name.ToChar(), "id", identifier.ToChar());
    if (child) {
        levels.push_back({child, {}});
    }
    return !child.empty();
}

void DefaultObjectVisitor::ExitNode(const FixedString& name)
{
    Leave(name, 2, "ExitNode");
}

// Regions are the first level and nodes all others.
void DefaultObjectVisitor::Leave(const FixedString& name, size_t level, const char* operation)
{
    std::vector<Document::Level>& levels = m_document->m_levels;
    const bool rightKind = level == 1 ? levels.size() == 1 : levels.size() >= level;
    if (!rightKind || std::strcmp(levels.back().node.name(), name.ToChar()) != 0) {
        VISITOR_LOG(ASSERT, "Leave", "%s(\"%s\") in \"%s\" does not fit what was entered last, \"%s\"", operation,
                    name.ToChar(), m_fileName.ToChar(), levels.empty() ? "" : levels.back().node.name());
        return;
    }
    levels.pop_back();
}

uint32_t DefaultObjectVisitor::GetChildCount(const FixedString& name, uint32_t* count)
{
    uint32_t found = 0;
    if (!m_document->m_levels.empty()) {
        for ([[maybe_unused]] const pugi::xml_node child : m_document->m_levels.back().node.children(name.ToChar())) {
            ++found;
        }
    }
    if (count) {
        *count = found;
    }
    return found;
}

template <class T>
bool DefaultObjectVisitor::VisitNumber(const FixedString& name, T* value, T defaultValue)
{
    *value = defaultValue;
    const pugi::xml_attribute attribute = m_document->FindValue(name);
    if (!attribute) {
        return true;
    }
    T parsed;
    if (ParseNumber(attribute.value(), parsed)) {
        *value = parsed;
        return true;
    }
    const pugi::xml_node node = m_document->m_levels.back().node;
    VISITOR_LOG(ERROR, "Visit", "%s(%d): \"%s\" of \"%s\" is \"%.64s\", which is no number from %lld to %lld",
                m_fileName.ToChar(), m_document->GetLine(node), name.ToChar(), node.name(), attribute.value(),
                static_cast<long long>(std::numeric_limits<T>::min()),
                static_cast<long long>(std::numeric_limits<T>::max()));
    return false;
}

bool DefaultObjectVisitor::Visit(const FixedString& name, STDString* value, const STDString& defaultValue)
{
    const pugi::xml_attribute attribute = m_document->FindValue(name);
    *value = attribute ? STDString(attribute.value()) : defaultValue;
    return true;
}

bool DefaultObjectVisitor::Visit(const FixedString& name, int32_t* value, int32_t defaultValue)
{
    return VisitNumber(name, value, defaultValue);
}

bool DefaultObjectVisitor::Visit(const FixedString& name, uint32_t* value, uint32_t defaultValue)
{
    return VisitNumber(name, value, defaultValue);
}

bool DefaultObjectVisitor::Visit(const FixedString& name, uint8_t* value, uint8_t defaultValue)
{
    return VisitNumber(name, value, defaultValue);
}

} // namespace qs
