// The log file: where InitLog puts it, its header, the size limit, and writers in several
// threads and processes. Every test works in a fresh temporary folder.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/TKDebug.h"
#include "foundation/TestDebugCapture.h"
#include "io/TKDebugLog.h"
#include "io/TKGlobalData.h"
#include "support/TestSupport.h"

namespace fs = std::filesystem;

namespace {

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const fs::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
}

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::stringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// A temporary folder, the default log put back and plain lines on the channels used here.
class DebugLog : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "tintara-log-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override { fs::remove_all(folder); }
    TKString Folder() const { return folder.c_str(); }

    ScopedDebugCapture settings{false};  // InitLog installs the log; the old one comes back after
    fs::path folder;
};

}  // namespace

TEST_F(DebugLog, CreatesTheDefaultFileWithAHeader) {
    TKFileSpec spec = InitLog(Folder(), "", 0, false);
    EXPECT_EQ(std::string(spec.FullName().CString()), (folder / "TKDebugLog.txt").string());
    EXPECT_EQ(DebugLogFile().FullName(), spec.FullName());
    EXPECT_STREQ(TKGlobalData::GetString("DebugFile").CString(), spec.FullName().CString());
    std::vector<std::string> lines = Lines(ReadFile(folder / "TKDebugLog.txt"));
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], kTKDebugSeparator);
    EXPECT_TRUE(std::regex_match(lines[1], std::regex(R"(.+, \d+\.\d+\.\d+, build \d+, \d{4}-\d\d-\d\d \d\d:\d\d:\d\d)")))
        << lines[1];
    EXPECT_EQ(lines[2].rfind("System: Linux ", 0), 0u) << lines[2];
    EXPECT_EQ(lines[3], "Platform: 20003");
    EXPECT_TRUE(std::regex_match(lines[4], std::regex(R"(System-Version: [0-9a-f]+)"))) << lines[4];
}

TEST_F(DebugLog, ChannelTextIsAppended) {
    InitLog(Folder(), "", 0, false);
    DebugPrintf(kDebugAlwaysOn, "first %d", 1);
    DebugPrintf(kDebugAlwaysOff, "never");
    const int line = __LINE__ + 2;
    try {
        TKThrowMsg(FormatErr, "broken");
    } catch (const TKError&) {
    }
    std::vector<std::string> lines = Lines(ReadFile(folder / "TKDebugLog.txt"));
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[5], "first 1");
    EXPECT_EQ(lines[6], "Error: 19 \"broken\", file \"DebugLogTest.cpp\", line " + std::to_string(line));
}

TEST_F(DebugLog, NamesTheFileAfterTheGivenName) {
    EXPECT_STREQ(InitLog(Folder(), "Press", 0, false).Name().CString(), "PressLog.txt");
    EXPECT_TRUE(fs::exists(folder / "PressLog.txt"));
    EXPECT_STREQ(InitLog(Folder(), "host.TXT", 0, false).Name().CString(), "host.TXT");
}

TEST_F(DebugLog, CreatesAMissingFolder) {
    TKString nested = Folder() + "/a/b";
    TKFileSpec spec = InitLog(nested, "", 0, false);
    EXPECT_TRUE(fs::exists(folder / "a" / "b" / "TKDebugLog.txt"));
    EXPECT_FALSE(spec.IsEmpty());
}

TEST_F(DebugLog, DefaultFolderIsTheDebuggingFolder) {
    // The debugging folder follows XDG_STATE_HOME; pointed into the temporary folder here.
    const char* saved = std::getenv("XDG_STATE_HOME");
    std::string savedValue = saved ? saved : "";
    setenv("XDG_STATE_HOME", folder.c_str(), 1);
    TKFileSpec spec = InitLog("", "Engine", 0, false);
    if (saved) setenv("XDG_STATE_HOME", savedValue.c_str(), 1);
    else unsetenv("XDG_STATE_HOME");
    EXPECT_EQ(std::string(spec.FullName().CString()), (folder / "EngineLog.txt").string());
}

TEST_F(DebugLog, OnceKeepsTheFirstLog) {
    TKFileSpec first = InitLog(Folder(), "First", 0, false);
    TKFileSpec second = InitLog(Folder(), "Second", 0, true);
    EXPECT_EQ(second.FullName(), first.FullName());
    EXPECT_FALSE(fs::exists(folder / "SecondLog.txt"));
    TKFileSpec third = InitLog(Folder(), "Third", 0, false);
    EXPECT_TRUE(fs::exists(folder / "ThirdLog.txt"));
    EXPECT_EQ(DebugLogFile().FullName(), third.FullName());
}

TEST_F(DebugLog, NoFolderAndNoNameMeansNoFile) {
    TKFileSpec spec = InitLog("", "", 0, false);
    EXPECT_TRUE(spec.IsEmpty());
    EXPECT_TRUE(DebugLogFile().IsEmpty());
    EXPECT_EQ(DefaultDebugSink(), nullptr);
    DebugPrintf(kDebugAlwaysOn, "to nowhere");
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST_F(DebugLog, UnusableFolderLeavesNoLog) {
    WriteFile(folder / "plain-file", "x");
    TKFileSpec spec = InitLog(Folder() + "/plain-file", "", 0, false);
    EXPECT_TRUE(spec.IsEmpty());
    DebugPrintf(kDebugAlwaysOn, "still no crash");
}

namespace {
// A log of `length` bytes: filler lines with a separator line starting at each of `at`.
std::string MakeLog(size_t length, const std::vector<size_t>& at) {
    std::string text(length, '.');
    for (size_t i = 79; i < length; i += 80) text[i] = '\n';
    for (size_t position : at) text.replace(position, 44, std::string(kTKDebugSeparator) + "\n");
    return text;
}
}  // namespace

TEST_F(DebugLog, ShrinkKeepsHalfFromTheFirstSeparator) {
    fs::path path = folder / "big.txt";
    std::string text = MakeLog(3000, {500, 2100, 2500});
    WriteFile(path, text);
    // The kept half starts at 3000 - 2000 / 2 = 2000; the first separator there is at 2100.
    EXPECT_TRUE(ShrinkLog(TKFileSpec(path.c_str()), 2000));
    EXPECT_EQ(ReadFile(path), "LOG CONTINUED: maxSize = 2000, length = 3000\n" + text.substr(2100));
    EXPECT_FALSE(fs::exists(folder / "big.txt.shrink"));
}

TEST_F(DebugLog, ShrinkWithoutSeparatorCutsAtTheHalf) {
    fs::path path = folder / "big.txt";
    std::string text = MakeLog(3000, {100});
    WriteFile(path, text);
    EXPECT_TRUE(ShrinkLog(TKFileSpec(path.c_str()), 1001));
    // 3000 - 1001 / 2 = 2500.
    EXPECT_EQ(ReadFile(path), "LOG CONTINUED: maxSize = 1001, length = 3000\n" + text.substr(2500));
}

TEST_F(DebugLog, ShrinkLeavesSmallLogsAndNoLimitAlone) {
    fs::path path = folder / "small.txt";
    WriteFile(path, MakeLog(1000, {}));
    EXPECT_FALSE(ShrinkLog(TKFileSpec(path.c_str()), 1000));
    EXPECT_FALSE(ShrinkLog(TKFileSpec(path.c_str()), 0));
    EXPECT_FALSE(ShrinkLog(TKFileSpec(path.c_str()), -5));
    EXPECT_FALSE(ShrinkLog(TKFileSpec((folder / "missing.txt").c_str()), 10));
    EXPECT_EQ(ReadFile(path).size(), 1000u);
}

TEST_F(DebugLog, InitLogShrinksAnOversizedLog) {
    std::string text = MakeLog(4000, {0, 3000});
    WriteFile(folder / "TKDebugLog.txt", text);
    InitLog(Folder(), "", 2000, false);
    std::string log = ReadFile(folder / "TKDebugLog.txt");
    std::string kept = "LOG CONTINUED: maxSize = 2000, length = 4000\n" + text.substr(3000);
    ASSERT_GT(log.size(), kept.size());
    EXPECT_EQ(log.substr(0, kept.size()), kept);
    EXPECT_EQ(log.substr(kept.size(), 44), std::string(kTKDebugSeparator) + "\n");  // the new header
}

TEST_F(DebugLog, ChannelFileTakesItsChannelAlone) {
    InitLog(Folder(), "", 0, false);
    fs::path own = folder / "cache.txt";
    SetChannelEnabled(kDebugCache, true);
    SetChannelPrefix(kDebugCache, false);
    SetChannelOutput(kDebugCache, std::make_shared<TKDebugFileSink>(TKFileSpec(own.c_str())));
    DebugPrintf(kDebugCache, "cache line");
    SetChannelOutput(kDebugCache, nullptr);
    EXPECT_EQ(ReadFile(own), "cache line\n");
    EXPECT_EQ(ReadFile(folder / "TKDebugLog.txt").find("cache line"), std::string::npos);
}

TEST_F(DebugLog, LinesFromThreadsStayWhole) {
    InitLog(Folder(), "", 0, false);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 50; ++i) DebugPrintf(kDebugAlwaysOn, "thread %d line %03d %s", t, i, "payload");
        });
    for (auto& thread : threads) thread.join();
    std::vector<std::string> lines = Lines(ReadFile(folder / "TKDebugLog.txt"));
    ASSERT_EQ(lines.size(), 5u + 200u);
    std::regex line(R"(thread \d line \d{3} payload)");
    for (size_t i = 5; i < lines.size(); ++i) EXPECT_TRUE(std::regex_match(lines[i], line)) << lines[i];
}

TEST_F(DebugLog, ProcessesShareOneLog) {
    InitLog(Folder(), "", 0, false);
    std::vector<pid_t> children;
    for (int p = 0; p < 3; ++p) {
        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0; i < 100; ++i) DebugPrintf(kDebugAlwaysOn, "process %d line %03d", p, i);
            _exit(0);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    std::vector<std::string> lines = Lines(ReadFile(folder / "TKDebugLog.txt"));
    ASSERT_EQ(lines.size(), 5u + 300u);
    std::regex line(R"(process \d line \d{3})");
    for (size_t i = 5; i < lines.size(); ++i) EXPECT_TRUE(std::regex_match(lines[i], line)) << lines[i];
}
