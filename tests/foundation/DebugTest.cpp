// Debug channels: the table, the on/off rules, formatting limits, line prefixes and routing.
#include <unistd.h>

#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/TKDebug.h"
#include "foundation/TestDebugCapture.h"
#include "support/TestSupport.h"

namespace {

// Every test writes into a captured default log with plain lines.
class DebugChannels : public ::testing::Test {
protected:
    ScopedDebugCapture capture;
    std::shared_ptr<TestCaptureSink>& sink = capture.sink;
};

}  // namespace

TEST_F(DebugChannels, AlwaysOnWritesAlwaysOffAndOutsideDoNot) {
    DebugPrintf(2, "two %d", 2);
    DebugPrintf(99, "ninety-nine");
    DebugPrintf(-1, "minus one");
    DebugPrintf(kDebugTest2, "off by default");
    EXPECT_EQ(sink->All(), "");
    DebugPrintf(1, "one %d", 1);
    EXPECT_EQ(sink->All(), "one 1\n");
}

TEST_F(DebugChannels, RowOutsideTheTableRaisesItsIndex) {
    int32_t count = DebugChannelCount();
    EXPECT_TKERROR(DebugChannel(count), count);
    EXPECT_TKERROR(DebugChannel(-1), -1);
    EXPECT_TKERROR(SetChannelEnabled(count + 5, true), count + 5);
    EXPECT_FALSE(ChannelEnabled(count));
}

TEST_F(DebugChannels, AddChannelGrowsTheTable) {
    int32_t before = DebugChannelCount();
    int32_t added = AddChannel("Plug-in tracing", true);
    EXPECT_EQ(added, before);
    EXPECT_EQ(DebugChannelCount(), before + 1);
    EXPECT_STREQ(DebugChannel(added).name.CString(), "Plug-in tracing");
    EXPECT_TRUE(ChannelEnabled(added));
    EXPECT_TRUE(DebugChannel(added).prefix);
    SetChannelPrefix(added, false);
    DebugPrintf(added, "from the new channel");
    EXPECT_EQ(sink->All(), "from the new channel\n");
    SetChannelEnabled(added, false);
}

TEST_F(DebugChannels, NewlinesLengthsAndRawWrites) {
    DebugPrintf(1, "no newline");
    DebugPrintf(1, "has newline\n");
    DebugPrintf(1, "%s", "");
    std::string exact(4093, 'a');
    DebugPrintf(1, "%s", exact.c_str());
    std::string longer(5000, 'b');
    DebugPrintf(1, "%s", longer.c_str());
    DebugWrite(1, "100% raw");  // no formatting, no newline
    DebugWrite(kDebugTest2, "off");
    DebugWrite(1, nullptr);
    // 4093 characters and the newline fill the 4094-character block exactly.
    EXPECT_EQ(sink->Writes(), (std::vector<std::string>{"no newline\n", "has newline\n", "\n", exact + "\n",
                                                        std::string(4093, 'b') + "\n", "100% raw"}));
}

TEST_F(DebugChannels, PrefixesEveryLineWithProcessAndChannel) {
    SetChannelPrefix(kDebugError, true);
    DebugWrite(kDebugError, "first\nsecond\n");
    char expected[64];
    std::snprintf(expected, sizeof expected, "%06d: [#003]", int(getpid()));
    EXPECT_EQ(sink->All(), std::string(expected) + "first\n" + expected + "second\n");
}

TEST_F(DebugChannels, DateAndTextPrefixComeFirst) {
    SetDebugOutputWithDate(true);
    SetDebugOutputPrefix("host> ");
    EXPECT_TRUE(DebugOutputWithDate());
    EXPECT_STREQ(DebugOutputPrefix().CString(), "host> ");
    DebugPrintf(1, "dated");
    std::regex line(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d host> dated\n)");
    EXPECT_TRUE(std::regex_match(sink->All(), line)) << sink->All();
}

TEST_F(DebugChannels, ChannelOwnOutputTakesItsTextAlone) {
    auto own = std::make_shared<TestCaptureSink>();
    SetChannelEnabled(kDebugCache, true);
    SetChannelOutput(kDebugCache, own);
    EXPECT_TRUE(DebugChannel(kDebugCache).ownOutput);
    DebugPrintf(kDebugCache, "cache hit");
    DebugPrintf(kDebugGeneral, "general");
    EXPECT_EQ(own->All(), "cache hit\n");
    EXPECT_EQ(sink->All(), "general\n");
}

TEST_F(DebugChannels, NoFileOutputAndNoLogMeanSilence) {
    SetChannelOutputToFile(kDebugGeneral, false);
    DebugPrintf(kDebugGeneral, "debugger only");
    EXPECT_EQ(sink->All(), "");
    SetChannelOutputToFile(kDebugGeneral, true);
    SetDefaultDebugSink(nullptr);
    DebugPrintf(kDebugGeneral, "nowhere");  // no log initialised: dropped without harm
    EXPECT_EQ(sink->All(), "");
}

namespace {
class FailingSink : public TKDebugSink {
public:
    void Write(const char*, size_t) noexcept override {
        ++calls;
        // A failing file layer raises; the error itself is logged, which must not loop.
        try {
            TKThrow(FileWriteFailed);
        } catch (const TKError&) {
        }
    }
    int calls = 0;
};
}  // namespace

TEST_F(DebugChannels, FailingSinkDoesNotRecurse) {
    auto failing = std::make_shared<FailingSink>();
    SetDefaultDebugSink(failing);
    DebugPrintf(1, "into a broken log");
    EXPECT_EQ(failing->calls, 1);
}

TEST_F(DebugChannels, ErrorsAreLoggedOnChannelThree) {
    try {
        throw TKError(FormatErr, "bad header", "/src/TKMatrix.cpp", 12);
    } catch (const TKError&) {
    }
    EXPECT_EQ(sink->All(), "Error: 19 \"bad header\", file \"Matrix.cpp\", line 12\n");
}

TEST_F(DebugChannels, CancelIsLoggedOnlyOnTestChannel) {
    try {
        TKThrow(Cancel);
    } catch (const TKError&) {
    }
    EXPECT_EQ(sink->All(), "");
    SetChannelEnabled(kDebugTest1, true);
    try {
        throw TKError(Cancel, nullptr, "TKProgress.cpp", 7);
    } catch (const TKError&) {
    }
    EXPECT_EQ(sink->All(), "Error: 56 \"\", file \"Progress.cpp\", line 7\n");
}

TEST_F(DebugChannels, LinesFromManyThreadsStayWhole) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) DebugPrintf(1, "thread %d line %d", t, i);
        });
    for (auto& thread : threads) thread.join();
    std::vector<std::string> writes = sink->Writes();
    ASSERT_EQ(writes.size(), 800u);
    std::regex line(R"(thread \d line \d+\n)");
    for (const std::string& w : writes) ASSERT_TRUE(std::regex_match(w, line)) << w;
}
