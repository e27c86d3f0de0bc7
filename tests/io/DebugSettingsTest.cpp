// Debug settings from a data base: the echo on channel 1, line options, channel switches and
// files of single channels.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "foundation/TKDebug.h"
#include "foundation/TestDebugCapture.h"
#include "io/TKDataBase.h"
#include "io/TKDebugLog.h"
#include "io/TKDebugSettings.h"
#include "support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

class DebugSettings : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tintara-settings-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { fs::remove_all(folder); }

    ScopedDebugCapture capture;
    std::shared_ptr<TestCaptureSink>& sink = capture.sink;
    fs::path folder;
};

}  // namespace

TEST_F(DebugSettings, SwitchesChannelsAndLineOptionsAndEchoesTheBaseOnChannelOne) {
    SetChannelEnabled(kDebugEvents, true);
    auto base = TKMakeRef<TKDataBase>();
    base->Add("SetDebugChannel24", "1");
    base->Add("SetDebugChannel3", "false");
    base->Add("SetDebugChannel21", "TRUE");
    base->Add("SetDebugChannel25", "maybe");  // malformed: false
    base->Add("SetDebugChannel99", "1");      // past the standard channels: not read
    base->Add("SetDebugOutputPrefix", "srv ");
    InitDebugSettings(*base);
    EXPECT_TRUE(ChannelEnabled(kDebugThread));
    EXPECT_TRUE(ChannelEnabled(kDebugTest1));
    EXPECT_FALSE(ChannelEnabled(kDebugError));
    EXPECT_FALSE(ChannelEnabled(kDebugEvents));
    EXPECT_TRUE(ChannelEnabled(kDebugGeneral));  // no key: unchanged
    EXPECT_FALSE(DebugOutputWithDate());
    EXPECT_STREQ(DebugOutputPrefix().CString(), "srv ");
    EXPECT_EQ(sink->All(), std::string("TKInitDebugSettings:\n") + base->ToText().CString());
}

TEST_F(DebugSettings, EmptyBaseResetsOptionsAndSaysNothing) {
    SetDebugOutputWithDate(true);
    SetDebugOutputPrefix("old ");
    SetChannelEnabled(kDebugCache, true);
    auto base = TKMakeRef<TKDataBase>();
    InitDebugSettings(*base);
    EXPECT_EQ(sink->All(), "");
    EXPECT_FALSE(DebugOutputWithDate());
    EXPECT_STREQ(DebugOutputPrefix().CString(), "");
    EXPECT_TRUE(ChannelEnabled(kDebugCache));
}

TEST_F(DebugSettings, ChannelFileLiesBesideTheLog) {
    InitLog(folder.c_str(), "", 0, false);
    auto base = TKMakeRef<TKDataBase>();
    base->Add("SetDebugChannel23", "1");
    base->Add("SetDebugChannelOutputFile23", "cache.txt");
    std::string absolute = (folder / "monitor.txt").string();
    base->Add("SetDebugChannel14", "1");
    base->Add("SetDebugChannelOutputFile14", absolute.c_str());
    InitDebugSettings(*base);
    EXPECT_TRUE(DebugChannel(kDebugCache).ownOutput);
    DebugPrintf(kDebugCache, "cache line");
    DebugPrintf(kDebugMonitor, "monitor line");
    std::ifstream cache(folder / "cache.txt");
    std::string line;
    std::getline(cache, line);
    EXPECT_EQ(line, "cache line");
    std::ifstream monitor(absolute);
    std::getline(monitor, line);
    EXPECT_EQ(line, "monitor line");

    // An empty name returns the channel to the log.
    auto reset = TKMakeRef<TKDataBase>();
    reset->Add("SetDebugChannelOutputFile23", "");
    InitDebugSettings(*reset);
    EXPECT_FALSE(DebugChannel(kDebugCache).ownOutput);
}
