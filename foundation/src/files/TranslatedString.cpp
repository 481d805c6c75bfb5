// Translation tables: reading, and looking texts up.
#include <qs/TranslatedString.h>

#include <array>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include <qs/FileSystem.h>
#include <qs/Log.h>

#define TRANSLATION_ERROR(...)                                                                                         \
    QS_LOG_ERROR("foundation/TranslatedString", "qs::TranslatedStringRepository::Load", __VA_ARGS__)

namespace qs {

namespace {

constexpr uint64_t LARGEST_TABLE = uint64_t(256) << 20;
constexpr size_t KEY_LENGTH = 37;

/// The repository lives as long as the library is loaded.
struct RepositoryLife
{
    RepositoryLife() { TranslatedStringRepository::_SDMInit(); }
    ~RepositoryLife() { TranslatedStringRepository::_SDMShutdown(); }
} repositoryLife;

struct Key
{
    uint64_t high = 0;
    uint64_t low = 0;
    friend bool operator==(const Key&, const Key&) = default;
};

struct KeyHash
{
    size_t operator()(const Key& key) const { return static_cast<size_t>(key.high * 0x9e3779b97f4a7c15u ^ key.low); }
};

int GetDigit(char c)
{
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}

std::optional<Key> ParseKey(std::string_view text)
{
    if (text.size() != KEY_LENGTH || text.front() != 'h') {
        return std::nullopt;
    }
    Key key;
    int digits = 0;
    for (size_t i = 1; i < KEY_LENGTH; ++i) {
        if (i == 9 || i == 14 || i == 19 || i == 24) {
            if (text[i] != 'g') {
                return std::nullopt;
            }
            continue;
        }
        const int digit = GetDigit(text[i]);
        if (digit < 0) {
            return std::nullopt;
        }
        uint64_t& half = digits++ < 16 ? key.high : key.low;
        half = half << 4 | static_cast<uint64_t>(digit);
    }
    return key;
}

int GetForm(EGender speaker, EGender listener)
{
    return static_cast<int>(speaker) * 3 + static_cast<int>(listener);
}

std::optional<EGender> ParseGender(char c)
{
    switch (c) {
    case 'n':
        return EGender::Neutral;
    case 'm':
        return EGender::Male;
    case 'f':
        return EGender::Female;
    default:
        return std::nullopt;
    }
}

// The form behind a key: none is neutral, else a slash and two genders.
std::optional<int> ParseForm(std::string_view text)
{
    if (text.empty()) {
        return 0;
    }
    if (text.size() != 3 || text[0] != '/') {
        return std::nullopt;
    }
    const auto speaker = ParseGender(text[1]);
    const auto listener = ParseGender(text[2]);
    return speaker && listener ? std::optional(GetForm(*speaker, *listener)) : std::nullopt;
}

std::string Unescape(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
        if (next == 'n' || next == 't' || next == '\\') {
            result += next == 'n' ? '\n' : next == 't' ? '\t' : '\\';
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

/// One line of a table.
struct Entry
{
    Key key;
    int form;
    std::string text;
};

std::optional<Entry> ParseLine(std::string_view line)
{
    const size_t tab = line.find('\t');
    if (tab == std::string_view::npos || tab < KEY_LENGTH) {
        return std::nullopt;
    }
    const auto key = ParseKey(line.substr(0, KEY_LENGTH));
    const auto form = ParseForm(line.substr(KEY_LENGTH, tab - KEY_LENGTH));
    if (!key || !form) {
        return std::nullopt;
    }
    return Entry{*key, *form, Unescape(line.substr(tab + 1))};
}

} // namespace

RuntimeStringHandle::RuntimeStringHandle(const char* key)
{
    if (const auto parsed = ParseKey(key ? key : "")) {
        m_high = parsed->high;
        m_low = parsed->low;
    }
}

RuntimeStringHandle::~RuntimeStringHandle() = default;

struct TranslatedString::Forms
{
    std::array<std::optional<STDWString>, FORM_COUNT> texts;
};

TranslatedString::TranslatedString() : m_forms(std::make_unique<Forms>()) {}

TranslatedString::TranslatedString(TranslatedString&& other) noexcept = default;
TranslatedString& TranslatedString::operator=(TranslatedString&& other) noexcept = default;
TranslatedString::~TranslatedString() = default;

const STDWString& TranslatedString::Get(EGender speaker, EGender listener, bool gendered) const
{
    static const STDWString nothing;
    if (!m_forms) {
        return nothing; // moved from
    }
    const auto& text = m_forms->texts[static_cast<size_t>(gendered ? GetForm(speaker, listener) : 0)];
    const auto& neutral = m_forms->texts[0];
    return text ? *text : neutral ? *neutral : nothing;
}

struct TranslatedStringRepository::Tables
{
    using Forms = std::array<std::optional<std::string>, TranslatedString::FORM_COUNT>;

    mutable std::shared_mutex m_lock;
    std::unordered_map<Key, Forms, KeyHash> m_entries;
};

TranslatedStringRepository::TranslatedStringRepository() : m_tables(std::make_unique<Tables>()) {}

TranslatedStringRepository::~TranslatedStringRepository() = default;

bool TranslatedStringRepository::Load(const Path& path)
{
    const FileReader reader(path, FileReader::TYPE_DATA);
    if (!reader.IsLoaded() || reader.GetFileSize() > LARGEST_TABLE) {
        TRANSLATION_ERROR("Couldn't open translation table \"%s\": %s", path.ToChar(),
                          reader.IsLoaded() ? "File too large" : reader.GetErrorText());
        return false;
    }
    std::string_view rest(reader.GetData(), static_cast<size_t>(reader.GetFileSize()));
    if (rest.starts_with("\xef\xbb\xbf")) {
        rest.remove_prefix(3);
    }
    bool good = true;
    std::unique_lock lock(m_tables->m_lock);
    for (int number = 1; !rest.empty(); ++number) {
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (auto entry = ParseLine(line)) {
            m_tables->m_entries[entry->key][static_cast<size_t>(entry->form)] = std::move(entry->text);
        } else {
            TRANSLATION_ERROR("%s(%d): a line is a key, a tab and a text", path.ToChar(), number);
            good = false;
        }
    }
    return good;
}

void TranslatedStringRepository::Clear()
{
    std::unique_lock lock(m_tables->m_lock);
    m_tables->m_entries.clear();
}

TranslatedString TranslatedStringRepository::GetTranslatedString(const RuntimeStringHandle& key,
                                                                 const wchar_t* fallback) const
{
    TranslatedString result;
    auto& texts = result.m_forms->texts;
    std::shared_lock lock(m_tables->m_lock);
    const auto found = m_tables->m_entries.find({key.GetHigh(), key.GetLow()});
    if (found != m_tables->m_entries.end() && key.IsValid()) {
        for (size_t form = 0; form < texts.size(); ++form) {
            if (const auto& text = found->second[form]) {
                texts[form] = STDWString::FromUTF8(StringView(*text));
            }
        }
    }
    if (!texts[0]) {
        texts[0] = STDWString(fallback);
    }
    return result;
}

TranslatedString TranslatedStringRepository::GetTranslatedString(const RuntimeStringHandle& key,
                                                                 const char* fallback) const
{
    return GetTranslatedString(key, STDWString::FromUTF8(StringView(fallback)).ToWChar());
}

} // namespace qs
