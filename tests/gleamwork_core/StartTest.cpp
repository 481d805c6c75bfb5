// Library start and stop, and the static strings.
#include "Gleamwork/APIEventManager.h"
#include "Gleamwork/GWFS.h"
#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/WindowEventManager.h"

#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace {

template <class Manager>
Manager* Get()
{
    return qs::Singleton<Manager>::GetInstance();
}

std::vector<const qs::FixedString*> AllNames()
{
    std::vector<const qs::FixedString*> names;
#define LIST(name) names.push_back(&GWFS::str##name);
    GWFS_NAMES(LIST)
#undef LIST
    return names;
}

// The library stops behind the program's statics, this one included; it cannot fail a test any more, so it ends the
// program.
struct LastLook
{
    ~LastLook()
    {
        if (!GleamworkSDM::ms_bInitialized || GWFS::strColor.IsNull()) {
            _exit(7);
        }
    }
};
const LastLook s_lastLook;

} // namespace

// This program holds its object as a static, so by now the library runs without any further call.
TEST(Start, LinkedProgramFindsTheLibraryRunning)
{
    EXPECT_TRUE(GleamworkSDM::ms_bInitialized);
    EXPECT_NE(Get<gw::APIEventManager>(), nullptr);
    EXPECT_NE(Get<gw::WindowEventManager>(), nullptr);
}

TEST(Start, SecondObjectAndSecondInitChangeNothing)
{
    gw::WindowEventManager* const windows = Get<gw::WindowEventManager>();
    const GleamworkSDM second;
    GleamworkSDM::Init();
    EXPECT_EQ(Get<gw::WindowEventManager>(), windows);
}

TEST(Start, CycleMakesEverythingAnewAndKeepsWhatOthersMade)
{
    GleamworkSDM::Shutdown();
    GleamworkSDM::Shutdown();
    EXPECT_FALSE(GleamworkSDM::ms_bInitialized);
    EXPECT_EQ(Get<gw::APIEventManager>(), nullptr);
    EXPECT_EQ(Get<gw::WindowEventManager>(), nullptr);
    EXPECT_TRUE(GWFS::str.IsNull());
    for (const qs::FixedString* name : AllNames()) {
        EXPECT_TRUE(name->IsNull());
    }

    gw::APIEventManager::_SDMInit();
    gw::APIEventManager* const early = Get<gw::APIEventManager>();
    GleamworkSDM::Init();
    EXPECT_EQ(Get<gw::APIEventManager>(), early);
    EXPECT_NE(Get<gw::WindowEventManager>(), nullptr);
    EXPECT_STREQ(GWFS::strGfxDeviceInfo.ToChar(), "GfxDeviceInfo");
}

TEST(Start, StringsAreTheInternedTexts)
{
    EXPECT_FALSE(GWFS::str.IsNull());
    EXPECT_EQ(GWFS::str.GetLength(), 0u);
    EXPECT_EQ(GWFS::str, qs::FixedString::Create(""));
    EXPECT_EQ(GWFS::strColor, qs::FixedString::Create("Color"));
    EXPECT_EQ(GWFS::strcolor, qs::FixedString::Create("color"));
    EXPECT_NE(GWFS::strColor, GWFS::strcolor);
    EXPECT_EQ(GWFS::strglobal_LightPropertyMatrix, qs::FixedString::Create("global_LightPropertyMatrix"));

    const std::vector<const qs::FixedString*> names = AllNames();
    std::set<const char*> texts;
    for (const qs::FixedString* name : names) {
        texts.insert(name->ToChar());
    }
    EXPECT_EQ(names.size(), 105u);
    EXPECT_EQ(texts.size(), names.size());
}
