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

TEST_F(DebugLog, NamesTheFileAfterTheGivenNameAndCreatesAMissingFolder) {
    EXPECT_STREQ(InitLog(Folder(), "Press", 0, false).Name().CString(), "PressLog.txt");
    EXPECT_TRUE(fs::exists(folder / "PressLog.txt"));
    EXPECT_STREQ(InitLog(Folder() + "/a/b", "host.TXT", 0, false).Name().CString(), "host.TXT");
    EXPECT_TRUE(fs::exists(folder / "a" / "b" / "host.TXT"));
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

TEST_F(DebugLog, NoFolderAndNoNameOrAnUnusableFolderMeanNoFile) {
    TKFileSpec spec = InitLog("", "", 0, false);
    EXPECT_TRUE(spec.IsEmpty());
    EXPECT_TRUE(DebugLogFile().IsEmpty());
    EXPECT_EQ(DefaultDebugSink(), nullptr);
    DebugPrintf(kDebugAlwaysOn, "to nowhere");
    EXPECT_TRUE(fs::is_empty(folder));
    WriteFile(folder / "plain-file", "x");
    EXPECT_TRUE(InitLog(Folder() + "/plain-file", "", 0, false).IsEmpty());
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

TEST_F(DebugLog, ShrinkKeepsHalfFromTheFirstSeparatorOrCutsAtTheHalf) {
    fs::path path = folder / "big.txt";
    // {separators, limit, kept from}: the kept half starts at 3000 - limit / 2, then at the first
    // separator from there (2100); without one there, at the half itself.
    const struct {
        std::vector<size_t> separators;
        int32_t limit;
        size_t keptFrom;
    } cases[] = {{{500, 2100, 2500}, 2000, 2100}, {{100}, 1001, 2500}};
    for (const auto& c : cases) {
        const std::string text = MakeLog(3000, c.separators);
        WriteFile(path, text);
        EXPECT_TRUE(ShrinkLog(TKFileSpec(path.c_str()), c.limit));
        EXPECT_EQ(ReadFile(path), "LOG CONTINUED: maxSize = " + std::to_string(c.limit) + ", length = 3000\n" +
                                      text.substr(c.keptFrom));
    }
    EXPECT_FALSE(fs::exists(folder / "big.txt.shrink"));
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
