// Bitmap fonts: the reader of font description files and the glyph table.
#include "Gleamwork/Font.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <utility>
#include <vector>

namespace gw {

static_assert(std::endian::native == std::endian::little, "font files are read as they lie");

// Glyphs by character code; owns them.
class CharacterMap
{
public:
    QS_DECLARE_ALLOC(gw::CharacterMap)

    CharacterMap() = default;
    CharacterMap(const CharacterMap&) = delete;
    CharacterMap& operator=(const CharacterMap&) = delete;
    ~CharacterMap()
    {
        for (Node* node : m_buckets) {
            while (node) {
                delete std::exchange(node, node->next);
            }
        }
    }

    void Set(std::uint16_t code, const Character& character)
    {
        if (Node* node = FindNode(code)) {
            node->character = character;
        } else {
            Node*& bucket = m_buckets[code % c_bucketCount];
            bucket = new Node{bucket, character, code};
        }
    }

    const Character* Find(std::uint16_t code) const
    {
        const Node* node = FindNode(code);
        return node ? &node->character : nullptr;
    }

private:
    struct Node
    {
        Node* next;
        Character character;
        std::uint16_t code;
    };

    Node* FindNode(std::uint16_t code) const
    {
        Node* node = m_buckets[code % c_bucketCount];
        while (node && node->code != code) {
            node = node->next;
        }
        return node;
    }

    static constexpr unsigned c_bucketCount = 37;
    Node* m_buckets[c_bucketCount] = {};
};

namespace {

#pragma pack(push, 1)
struct BlockHead
{
    std::uint8_t type;
    std::uint32_t size;
};

struct InfoBlock
{
    std::uint16_t fontSize;
    std::uint8_t unused[12];
};

struct CommonBlock
{
    std::uint16_t lineHeight;
    std::uint16_t baseLine;
    std::uint16_t scaleWidth;
    std::uint16_t scaleHeight;
    std::uint16_t m_usPages;
    std::uint8_t unused[5];
};

struct CharsBlock
{
    std::uint32_t id;
    std::int16_t x;
    std::int16_t y;
    std::int16_t width;
    std::int16_t height;
    std::int16_t xOffset;
    std::int16_t yOffset;
    std::int16_t xAdvance;
    std::uint16_t unused;
};
#pragma pack(pop)

static_assert(sizeof(BlockHead) == 5 && sizeof(InfoBlock) == 14 && sizeof(CommonBlock) == 15 &&
              sizeof(CharsBlock) == 20);

// Takes values off the front of a file. The first one that is not there fails the cursor for good.
class Cursor
{
public:
    explicit Cursor(qs::FileReader& reader) : m_reader(reader) {}

    template <class T>
    bool Read(T& value)
    {
        value = T();
        return Read(&value, sizeof(value));
    }

    bool Read(void* target, std::uint64_t size)
    {
        m_good = m_good && size <= GetRemaining() && m_reader.Read(target, size) == size;
        return m_good;
    }

    bool Skip(std::uint64_t size)
    {
        m_good = m_good && size <= GetRemaining();
        if (m_good) {
            m_reader.Seek(std::int64_t(size), qs::SEEK_FROM_CURRENT);
        }
        return m_good;
    }

    std::uint64_t GetRemaining() const { return m_reader.GetFileSize() - m_reader.GetPosition(); }

private:
    qs::FileReader& m_reader;
    bool m_good = true;
};

Character MakeCharacter(const CharsBlock& record, const CommonBlock& common)
{
    const float scaleWidth = common.scaleWidth ? common.scaleWidth : 1.0f;
    const float scaleHeight = common.scaleHeight ? common.scaleHeight : 1.0f;
    Character character;
    character.u = record.x / scaleWidth;
    character.v = record.y / scaleHeight;
    character.width = record.width;
    character.height = record.height;
    character.xOffset = record.xOffset;
    character.yOffset = record.yOffset;
    character.xAdvance = record.xAdvance;
    character.uWidth = record.width / scaleWidth;
    character.vHeight = record.height / scaleHeight;
    return character;
}

void AddCharacter(TexturedFont& font, const CharsBlock& record, const CommonBlock& common)
{
    constexpr std::uint32_t firstUnusedId = 65535;
    if (record.id >= firstUnusedId) {
        return;
    }
    const Character character = MakeCharacter(record, common);
    font.lineHeight = std::max(font.lineHeight, character.height);
    font.characters->Set(std::uint16_t(record.id), character);
}

void ReportFile(const qs::FileReader& reader, const char* problem)
{
    QS_LOG_ERROR("Gleamwork/Font", "gw::TexturedFont::Parse", "Font description \"%s\": %s", reader.GetName(), problem);
}

bool ReadInfo(Cursor& cursor, std::uint16_t& fontSize)
{
    BlockHead head;
    InfoBlock info;
    if (!cursor.Read(head) || !cursor.Read(info)) {
        return false;
    }
    fontSize = info.fontSize;
    return head.size >= sizeof(info) && cursor.Skip(head.size - sizeof(info));
}

// The block of page names comes right behind: its length is told by the number of pages.
bool ReadCommonAndPages(Cursor& cursor, CommonBlock& common)
{
    BlockHead head;
    if (!cursor.Read(head) || !cursor.Read(common)) {
        return false;
    }
    if (common.m_usPages != 1) {
        QS_LOG_ASSERT("Gleamwork/Font", "gw::TexturedFont::Parse", "Font parse error: common.m_usPages = %i",
                      common.m_usPages);
    }
    // No pages at all leaves the division without meaning: the block is taken as the name of one page.
    const std::uint32_t pages = common.m_usPages ? common.m_usPages : 1;
    return cursor.Read(head) && cursor.Skip(head.size / pages);
}

// As many whole records as the block says and the file has. `complete` tells whether that is all of them.
std::vector<CharsBlock> ReadRecords(Cursor& cursor, bool& complete)
{
    BlockHead head;
    complete = cursor.Read(head);
    const std::uint64_t count = complete ? head.size / sizeof(CharsBlock) : 0;
    const std::uint64_t present = std::min<std::uint64_t>(count, cursor.GetRemaining() / sizeof(CharsBlock));
    complete = complete && present == count;
    std::vector<CharsBlock> records(present);
    complete = (present == 0 || cursor.Read(records.data(), present * sizeof(CharsBlock))) && complete;
    return records;
}

} // namespace

std::uint32_t TexturedFont::s_Type = 0;

void TexturedFont::Parse(qs::FileReader* reader, qs::ObjectHandle fontTexture)
{
    DestroyCharData();
    characters = new CharacterMap;
    texture = fontTexture;
    lineHeight = 0;
    fontSize = 0;
    baseLine = 0;

    Cursor cursor(*reader);
    std::uint32_t signature;
    CommonBlock common = {};
    bool complete = cursor.Read(signature) && ReadInfo(cursor, fontSize) && ReadCommonAndPages(cursor, common);
    baseLine = common.baseLine;
    lineHeight = common.lineHeight;
    if (complete && (common.scaleWidth == 0 || common.scaleHeight == 0)) {
        ReportFile(*reader, "the texture has no size; texture coordinates are in pixels.");
    }
    if (complete) {
        qs::MemoryTrackerSample sample("FontFileFormat::CharsBlock*");
        for (const CharsBlock& record : ReadRecords(cursor, complete)) {
            AddCharacter(*this, record, common);
        }
    }
    if (!complete) {
        ReportFile(*reader, "ends early; what was read up to there is kept.");
    }
}

void TexturedFont::DestroyCharData()
{
    delete characters;
    characters = nullptr;
}

const Character* TexturedFont::GetCharacter(wchar_t code) const
{
    if (code < 32) {
        return nullptr;
    }
    const Character* character = characters && code <= 0xffff ? characters->Find(std::uint16_t(code)) : nullptr;
    if (!character) {
        QS_LOG_ASSERT("Gleamwork/Font", "gw::TexturedFont::GetCharacter",
                      "Character 'U%d' (unicode) not supported by font!", int(code));
    }
    return character;
}

const Character* TexturedFont::GetCharacter(char code) const
{
    const auto value = static_cast<signed char>(code);
    if (value < 32) {
        return nullptr;
    }
    const Character* character = characters ? characters->Find(std::uint16_t(value)) : nullptr;
    if (!character) {
        const char text[2] = {code, 0};
        QS_LOG_ASSERT("Gleamwork/Font", "gw::TexturedFont::GetCharacter", "Character '%s' not supported by font!",
                      text);
    }
    return character;
}

} // namespace gw
