// Object files and what they refuse.
#include <tuple>

#include <qs/Log.h>
#include <qs/ObjectVisitor.h>

#include "TestDirectory.h"

using namespace qs;

namespace {

FixedString Name(const char* text)
{
    return FixedString::Create(text, -1);
}

bool LoadText(DefaultObjectVisitor& visitor, const std::string& text)
{
    return visitor.Load(ConstByteView(reinterpret_cast<const unsigned char*>(text.data()), text.size()),
                        Path(PATH_ROOT_NONE, "test.qsx"));
}

constexpr const char* DEVICES = R"(<?xml version="1.0" encoding="UTF-8"?>
<objects version="1">
  <GfxDeviceData>
    <KnownGfxDevices>
      <GfxDeviceInfo VendorID="0x10de" DeviceID="4294967295" Description="first &amp; &#228;" Preset="255" Width="-5"/>
      <!-- others may stand between -->
      <Other/>
      <GfxDeviceInfo id="second" VendorID="2" Preset="256" Width=" 5" Description=""/>
      <GfxDeviceInfo VendorID="4294967296" Width="2147483648" DeviceID="0x" Preset="-1"/>
    </KnownGfxDevices>
    <KnownGfxDevices id="empty"/>
  </GfxDeviceData>
</objects>
)";

/// Vendor, device, description, preset, width, and whether all could be read.
using Device = std::tuple<uint32_t, uint32_t, std::string, int, int, bool>;

Device ReadDevice(ObjectVisitor& visitor)
{
    uint32_t vendor = 1, device = 1;
    STDString description;
    uint8_t preset = 1;
    int32_t width = 1;
    bool good = visitor.Visit(Name("VendorID"), &vendor, 7u);
    good &= visitor.Visit(Name("DeviceID"), &device, 7u);
    good &= visitor.Visit(Name("Description"), &description, STDString("none"));
    good &= visitor.Visit(Name("Preset"), &preset, uint8_t(7));
    good &= visitor.Visit(Name("Width"), &width, 7);
    return {vendor, device, description.ToChar(), preset, width, good};
}

} // namespace

TEST(ObjectFile, WalksListsAndReadsValues)
{
    TestDirectory directory;
    DefaultObjectVisitor visitor;
    const Path path = directory.Write("devices.qsx", DEVICES);
    ASSERT_TRUE(visitor.Load(path));
    EXPECT_STREQ(visitor.GetFileName().ToChar(), path.ToChar());
    EXPECT_TRUE(visitor.IsReading());
    const FixedString list = Name("KnownGfxDevices"), item = Name("GfxDeviceInfo");
    EXPECT_FALSE(visitor.EnterRegion(Name("Missing")));
    ASSERT_TRUE(visitor.EnterRegion(Name("GfxDeviceData")));
    ASSERT_TRUE(visitor.EnterNode(list, FFFS::str));
    uint32_t count = 0;
    EXPECT_EQ(visitor.GetChildCount(item, &count), 3u);
    EXPECT_EQ(count, 3u);

    LogCapture log;
    // Each value that cannot be read keeps its default and is reported with file and line.
    for (const Device& expected : {Device(0x10deu, 0xffffffffu, "first & \xc3\xa4", 255, -5, true),
                                   Device(2u, 7u, "", 7, 7, false), Device(7u, 7u, "none", 7, 7, false)}) {
        ASSERT_TRUE(visitor.EnterNode(item, FFFS::str));
        EXPECT_EQ(ReadDevice(visitor), expected);
        visitor.ExitNode(item);
    }
    EXPECT_FALSE(visitor.EnterNode(item, FixedString())) << "the list is at its end";
    EXPECT_EQ(log.CountContaining("devices.qsx(8): "), 2u);
    EXPECT_EQ(log.CountContaining("devices.qsx(9): "), 4u);

    ASSERT_TRUE(visitor.EnterNode(item, Name("second")));
    EXPECT_EQ(std::get<0>(ReadDevice(visitor)), 2u);
    visitor.ExitNode(item);
    EXPECT_FALSE(visitor.EnterNode(item, Name("third")));
    visitor.ExitNode(list);
    EXPECT_TRUE(visitor.EnterNode(list, FFFS::str)) << "the second list";
    EXPECT_EQ(visitor.GetChildCount(item, nullptr), 0u);
}

TEST(ObjectFile, WrongUseAssertsAndKeepsThePlace)
{
    DefaultObjectVisitor visitor;
    LogCapture log;
    EXPECT_FALSE(visitor.EnterRegion(Name("GfxDeviceData"))) << "nothing is loaded";
    ASSERT_TRUE(LoadText(visitor, DEVICES));
    EXPECT_EQ(log.Count(), 0u);
    EXPECT_FALSE(visitor.EnterNode(Name("GfxDeviceData"), FFFS::str));
    visitor.ExitRegion(Name("GfxDeviceData"));
    ASSERT_TRUE(visitor.EnterRegion(Name("GfxDeviceData")));
    EXPECT_FALSE(visitor.EnterRegion(Name("GfxDeviceData")));
    visitor.ExitNode(Name("GfxDeviceData"));
    ASSERT_TRUE(visitor.EnterNode(Name("KnownGfxDevices"), FFFS::str));
    visitor.ExitNode(Name("Other"));
    visitor.ExitRegion(Name("GfxDeviceData"));
    EXPECT_EQ(log.Count(LogLevelAssertion), 6u);
    EXPECT_EQ(visitor.GetChildCount(Name("Other"), nullptr), 1u);
    visitor.ExitNode(Name("KnownGfxDevices"));
    visitor.ExitRegion(Name("GfxDeviceData"));
    EXPECT_EQ(log.Count(), 6u);
    EXPECT_FALSE(LoadText(visitor, "<objects>"));
    EXPECT_FALSE(visitor.EnterRegion(Name("GfxDeviceData"))) << "a failed load leaves nothing";
}

TEST(ObjectFile, RefusesDamagedAndOversizedFiles)
{
    const auto nested = [](int levels) {
        std::string text = "<objects>\n";
        for (int i = 0; i < levels; ++i) {
            text += "<n>";
        }
        for (int i = 0; i < levels; ++i) {
            text += "</n>";
        }
        return text + "</objects>";
    };
    DefaultObjectVisitor visitor;
    EXPECT_TRUE(LoadText(visitor, nested(64)));
    const std::pair<std::string, const char*> refused[] = {
        {"", "test.qsx(1): "},
        {"<objects>\n<a>\n</objects>", "test.qsx(3): "},
        {"<objects>\n<a b=1/></objects>", "test.qsx(2): "},
        {std::string("\0\0\0", 3), "test.qsx(1): "},
        {"<other/>", "root element"},
        {"<objects/>\n<objects/>", "test.qsx(2): an object file has one root"},
        {"<objects version=\"2\"/>", "version 1"},
        {nested(65), "test.qsx(2): an object file has at most 64 levels"},
        {nested(20'000), "at most 64 levels"},
        {std::string((16 << 20) + 1, ' '), "above the limit"},
    };
    for (const auto& [text, message] : refused) {
        LogCapture log;
        EXPECT_FALSE(LoadText(visitor, text));
        EXPECT_TRUE(log.Contains(message, LogLevelError)) << message << "\nlogged: " << log.GetLast();
    }
    LogCapture log;
    EXPECT_FALSE(visitor.Load(Path(PATH_ROOT_NONE, "no/such/file.qsx")));
    EXPECT_TRUE(log.Contains("no/such/file.qsx"));
}
