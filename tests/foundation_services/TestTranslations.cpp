// Translation keys, tables and their fallback.
#include <qs/Log.h>
#include <qs/TranslatedString.h>

#include "TestDirectory.h"

using namespace qs;

namespace {

constexpr const char* KEY = "h69adc82bg5764g4ccbg879fgd4c89f180224";
constexpr const char* OTHER_KEY = "h0298fdfcga5abg4608g9ad0gec9c99107c31";

std::wstring Get(const char* key, EGender speaker = EGender::Neutral, EGender listener = EGender::Neutral,
                 bool gendered = true)
{
    const TranslatedString text =
        TranslatedStringRepository::GetInstance()->GetTranslatedString(RuntimeStringHandle(key), "Fall\xc3\xa4");
    return text.Get(speaker, listener, gendered).ToWChar();
}

} // namespace

TEST(TranslationKey, OnlyTheOneFormIsValid)
{
    EXPECT_EQ(RuntimeStringHandle(KEY).GetHigh(), 0x69adc82b57644ccbu);
    EXPECT_EQ(RuntimeStringHandle(KEY).GetLow(), 0x879fd4c89f180224u);
    for (const char* key : {"", "h", "x69adc82bg5764g4ccbg879fgd4c89f180224", "h69adc82b-5764-4ccb-879f-d4c89f180224",
                            "h69adc82bg5764g4ccbg879fgd4c89f18022", "h69adc82bg5764g4ccbg879fgd4c89f1802245",
                            "h69adc82bg5764g4ccbg879fgd4c89f18022z"}) {
        EXPECT_FALSE(RuntimeStringHandle(key).IsValid()) << key;
    }
    EXPECT_FALSE(RuntimeStringHandle(nullptr).IsValid());
}

TEST(Translation, FallsBackAndTakesTablesAndForms)
{
    TestDirectory directory;
    TranslatedStringRepository& repository = *TranslatedStringRepository::GetInstance();
    EXPECT_EQ(Get(KEY), L"Fall\u00e4");
    EXPECT_EQ(Get("nonsense"), L"Fall\u00e4");

    const std::string table = std::string("\xef\xbb\xbf# table\r\n\n") + KEY + "\tText \\\\ a\\nb\\q\r\n" + KEY +
                              "/fm\tshe to him\n" + OTHER_KEY + "/mn\tonly a form";
    ASSERT_TRUE(repository.Load(directory.Write("table", table)));
    EXPECT_EQ(Get(KEY), L"Text \\ a\nb\\q");
    EXPECT_EQ(Get(KEY, EGender::Female, EGender::Male), L"she to him");
    EXPECT_EQ(Get(KEY, EGender::Female, EGender::Male, false), L"Text \\ a\nb\\q");
    EXPECT_EQ(Get(KEY, EGender::Male, EGender::Female), L"Text \\ a\nb\\q");
    EXPECT_EQ(Get(OTHER_KEY), L"Fall\u00e4");
    EXPECT_EQ(Get(OTHER_KEY, EGender::Male, EGender::Neutral), L"only a form");

    // Bad lines are skipped and named; the others count.
    LogCapture log;
    const std::string damaged = std::string("no tab\n") + KEY + "/xx\tbad form\n" + KEY + "\treplaced\n\tno key\n";
    EXPECT_FALSE(repository.Load(directory.Write("damaged", damaged)));
    EXPECT_EQ(Get(KEY), L"replaced");
    for (const char* place : {"damaged(1): ", "damaged(2): ", "damaged(4): "}) {
        EXPECT_TRUE(log.Contains(place)) << place;
    }
    EXPECT_EQ(log.Count(LogLevelError), 3u);
    EXPECT_FALSE(repository.Load(directory.At("missing")));
    EXPECT_TRUE(log.Contains("No such file"));

    TranslatedString kept = repository.GetTranslatedString(RuntimeStringHandle(KEY), L"x");
    repository.Clear();
    EXPECT_STREQ(kept.Get(EGender::Neutral, EGender::Neutral, true).ToWChar(), L"replaced");
    const TranslatedString moved = std::move(kept);
    EXPECT_STREQ(kept.Get(EGender::Neutral, EGender::Neutral, true).ToWChar(), L"");
    EXPECT_EQ(Get(KEY), L"Fall\u00e4");
}
