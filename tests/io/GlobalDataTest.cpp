// TKGlobalData: built-in values, typed getters with default and add flag, the settings file,
// saving, and access from several threads.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "io/TKGlobalData.h"
#include "support/TestSupport.h"

namespace {

// Points the settings folder at a scratch folder before anything reads it, so that the tests
// never read or write the user's own settings.
std::string ScratchFolder() {
    static const std::string folder = [] {
        char pattern[] = "/tmp/tintara-prefs-XXXXXX";
        const char* made = ::mkdtemp(pattern);
        return std::string(made ? made : "/tmp");
    }();
    return folder;
}
const bool kFolderSet = (::setenv(TKGlobalData::kFolderVariable, ScratchFolder().c_str(), 0), true);

std::string WriteFile(const std::string& name, const std::string& text) {
    const std::string path = ScratchFolder() + "/" + name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

}  // namespace

TEST(GlobalData, DefaultAndAddFlag) {
    EXPECT_EQ(TKGlobalData::GetInt("TestNoSuchKey", 42), 42);
    EXPECT_FALSE(TKGlobalData::Exists("TestNoSuchKey"));
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("TestAddedDouble", 2.5, true), 2.5);
    EXPECT_TRUE(TKGlobalData::Exists("TestAddedDouble"));
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("TestAddedDouble", 7.0), 2.5);
    EXPECT_STREQ(TKGlobalData::GetString("TestAddedText", "abc", true).CString(), "abc");
    EXPECT_STREQ(TKGlobalData::GetString("TestAddedText", "other").CString(), "abc");
    EXPECT_TRUE(TKGlobalData::GetBool("TestAddedBool", true, true));
    EXPECT_TRUE(TKGlobalData::GetBool("TestAddedBool", false));
}

TEST(GlobalData, SettingLeavesTheBuiltInCopy) {
    const double before = TKGlobalData::GetDouble(kTKGlobalInvColorDefaultRho);
    TKGlobalData::SetDouble(kTKGlobalInvColorDefaultRho, 0.25);
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble(kTKGlobalInvColorDefaultRho), 0.25);
    EXPECT_DOUBLE_EQ(TKGlobalData::BuiltIn().GetDouble(kTKGlobalInvColorDefaultRho), 0.7);
    TKGlobalData::SetDouble(kTKGlobalInvColorDefaultRho, before);
}

TEST(GlobalData, CustomIntentBlocksTakeValuesByPath) {
    TKGlobalData::SetInt("CustomIntent3/mode", 1);
    TKGlobalData::SetDouble("CustomIntent3/factor", 0.75);
    EXPECT_EQ(TKGlobalData::GetInt("CustomIntent3/mode", -1), 1);
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("CustomIntent3/factor", -1), 0.75);
    auto copy = TKGlobalData::Snapshot();
    EXPECT_DOUBLE_EQ(copy->GetDouble("CustomIntent3/factor", -1), 0.75);
    copy->SetDouble("CustomIntent3/factor", 0.1);  // a snapshot is private
    EXPECT_DOUBLE_EQ(TKGlobalData::GetDouble("CustomIntent3/factor", -1), 0.75);
}

TEST(GlobalDataFile, FileValuesReplaceBuiltInOnes) {
    const std::string path = WriteFile("override.txt",
                                       "gSeparationDefaultFactor = 0.5\n"
                                       "OOGLimit = 3\n"
                                       "CustomIntent1 =\n{\nmode = 1\nfactor = 0.8\n}\n");
    auto base = TKGlobalData::Build(TKFileSpec(TKString(path.c_str())));
    EXPECT_DOUBLE_EQ(base->GetDouble("gSeparationDefaultFactor", -1), 0.5);
    EXPECT_DOUBLE_EQ(base->GetDouble("gInvColorDefaultRho", -1), 0.7);  // not in the file
    EXPECT_DOUBLE_EQ(base->GetDouble("OOGLimit", -1), 3.0);
    EXPECT_EQ(base->GetInt("CustomIntent1/mode", -1), 1);
    EXPECT_DOUBLE_EQ(base->GetDouble("CustomIntent1/factor", -1), 0.8);
    // One entry per key: the file's value replaced the built-in one instead of shadowing it.
    int32_t count = 0;
    for (int32_t i = 0; i < base->Count(); ++i) count += base->Key(i) == "gSeparationDefaultFactor";
    EXPECT_EQ(count, 1);
    std::remove(path.c_str());
}

TEST(GlobalDataFile, MissingFileGivesBuiltIns) {
    auto base = TKGlobalData::Build(TKFileSpec(TKString((ScratchFolder() + "/absent.txt").c_str())));
    EXPECT_DOUBLE_EQ(base->GetDouble("gSeparationDefaultFactor", -1), 0.9);
    EXPECT_EQ(base->GetInt("gInvColorFlags", -1), 1);
}

TEST(GlobalDataFile, MalformedFileIsSkipped) {
    const std::string path = WriteFile("broken.txt", "gInvColorFlags = \"7\" stray\n{ { {\n");
    auto base = TKGlobalData::Build(TKFileSpec(TKString(path.c_str())));
    EXPECT_EQ(base->GetInt("gInvColorFlags", -1), 1);
    std::remove(path.c_str());
}

TEST(GlobalDataFile, SaveWritesWhatBuildReads) {
    TKGlobalData::SetString("TestSavedKey", "saved value");
    TKGlobalData::Save();
    const TKFileSpec file = TKGlobalData::FileSpec();
    ASSERT_TRUE(file.Exists());
    auto base = TKGlobalData::Build(file);
    EXPECT_STREQ(base->GetString("TestSavedKey").CString(), "saved value");
    EXPECT_DOUBLE_EQ(base->GetDouble("gSeparationDefaultFactor", -1),
                     TKGlobalData::GetDouble("gSeparationDefaultFactor"));
    std::remove(file.FullName().CString());
}

TEST(GlobalDataThreads, ReadersAndWritersAtOnce) {
    for (int t = 0; t < 4; ++t) TKGlobalData::SetInt(TKString::Format("TestThread%d", t).CString(), -1);
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &wrong] {
            const TKString key = TKString::Format("TestThread%d", t);
            for (int i = 0; i < 2000; ++i) {
                TKGlobalData::SetInt(key.CString(), i);
                if (TKGlobalData::GetInt(key.CString(), -2) != i) ++wrong[size_t(t)];
                if (TKGlobalData::GetDouble(kTKGlobalSeparationDefaultFactor, -1) <= 0) ++wrong[size_t(t)];
            }
        });
    }
    for (auto& thread : threads) thread.join();
    for (int t = 0; t < 4; ++t) EXPECT_EQ(wrong[size_t(t)], 0) << "thread " << t;
}
