// Texts in the user's language, found by key.
//
// A translation table is a UTF-8 text file with one entry a line:
//
//     # comment
//     h69adc82bg5764g4ccbg879fgd4c89f180224<TAB>Gerät konnte nicht geöffnet werden!
//     h69adc82bg5764g4ccbg879fgd4c89f180224/fm<TAB>form for a female speaker and a male listener
//
// Behind the slash stand the genders of speaker and listener: m, f, or n for neutral. In texts, "\n", "\t" and "\\" are
// line feed, tab and backslash. A later line replaces an earlier one with the same key and genders.
#pragma once

#include <cstdint>
#include <memory>

#include <qs/Export.h>
#include <qs/FixedString.h>
#include <qs/Path.h>
#include <qs/Singleton.h>
#include <qs/String.h>

namespace qs {

enum class EGender : uint8_t
{
    Neutral = 0,
    Male = 1,
    Female = 2
};

/// A translation key: the letter h, then 32 hexadecimal digits in groups of 8, 4, 4, 4 and 12 joined by the letter g.
/// A text of another form makes a handle that is not valid and finds nothing.
class QS_API RuntimeStringHandle
{
public:
    explicit RuntimeStringHandle(const char* key);
    ~RuntimeStringHandle();

    bool IsValid() const { return m_high != 0 || m_low != 0; }
    bool operator==(const RuntimeStringHandle& other) const { return m_high == other.m_high && m_low == other.m_low; }
    uint64_t GetHigh() const { return m_high; }
    uint64_t GetLow() const { return m_low; }

private:
    uint64_t m_high = 0; ///< the first 16 digits
    uint64_t m_low = 0;  ///< the last 16 digits
};

/// One text with its forms by gender. A value of its own: it does not change when the tables do.
class QS_API TranslatedString
{
public:
    static constexpr int FORM_COUNT = 9; ///< speaker's gender times 3 plus listener's

    TranslatedString();
    TranslatedString(TranslatedString&& other) noexcept;
    TranslatedString& operator=(TranslatedString&& other) noexcept;
    ~TranslatedString();

    /// The text for a speaker and a listener. With `gendered` false, and where the table has no such form, the neutral
    /// one. The reference lives as long as this object.
    const STDWString& Get(EGender speaker, EGender listener, bool gendered) const;

private:
    friend class TranslatedStringRepository;
    struct Forms;
    std::unique_ptr<Forms> m_forms;
};

/// The tables of the current language. Made when the library is loaded; usable from every thread.
class QS_API TranslatedStringRepository : public Singleton<TranslatedStringRepository>
{
public:
    TranslatedStringRepository();
    virtual ~TranslatedStringRepository();

    /// Adds the entries of a table file to those already there. A file that cannot be read gives false and logs an
    /// error; a line that cannot be read logs an error with file and line, is skipped, and gives false at the end.
    bool Load(const Path& path);
    /// Forgets all tables: every text falls back to English.
    void Clear();

    /// The text of `key`, or `fallback`, the English text in UTF-8, where no table has it.
    TranslatedString GetTranslatedString(const RuntimeStringHandle& key, const char* fallback) const;
    TranslatedString GetTranslatedString(const RuntimeStringHandle& key, const wchar_t* fallback) const;

private:
    struct Tables;
    std::unique_ptr<Tables> m_tables;
};

} // namespace qs
