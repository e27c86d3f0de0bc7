// Streams behind the diagnostics: channel output, duplicated output, concatenated input.
#include <memory>
#include <mutex>
#include <string>

#include "foundation/TKDebug.h"
#include "io/TKBuffer.h"
#include "io/TKDebugStreams.h"
#include "support/TestSupport.h"

namespace {
class CollectSink : public TKDebugSink {
public:
    void Write(const char* text, size_t length) noexcept override { text_.append(text, length); }
    std::string text_;
};
}  // namespace

TEST(DebugStreams, DebugOutputStreamWritesToItsChannel) {
    auto sink = std::make_shared<CollectSink>();
    SetChannelOutput(kDebugTest2, sink);
    SetChannelPrefix(kDebugTest2, false);
    SetChannelEnabled(kDebugTest2, true);
    {
        TKDebugOutputStream out(kDebugTest2);
        const char bytes[] = {'a', 'b', 0, 'c', '\n'};
        out.Write(bytes, sizeof bytes);
        EXPECT_EQ(out.Tell(), 5);
        uint8_t b;
        EXPECT_TKERROR(out.Read(&b, 1), UndefProc);
    }
    SetChannelEnabled(kDebugTest2, false);
    TKDebugOutputStream off(kDebugTest2);
    off.Write("unseen\n", 7);
    SetChannelOutput(kDebugTest2, nullptr);
    SetChannelPrefix(kDebugTest2, true);
    EXPECT_EQ(sink->text_.find("unseen"), std::string::npos);
    EXPECT_NE(sink->text_.find("ab"), std::string::npos);
    EXPECT_NE(sink->text_.find("c\n"), std::string::npos);
}

TEST(DebugStreams, DupStreamWritesBoth) {
    TKBuffer a, b;
    TKDupStream dup(&a, &b);
    dup.Write("xyz", 3);
    EXPECT_STREQ(a.ToString().CString(), "xyz");
    EXPECT_STREQ(b.ToString().CString(), "xyz");
    TKDupStream half(nullptr, &a);
    half.Write("!", 1);
    EXPECT_STREQ(a.ToString().CString(), "xyz!");
    auto* owned = new TKBuffer;
    TKDupStream holder(owned, nullptr, true);  // takes the count; no leak at the end
    holder.Write("q", 1);
    EXPECT_EQ(owned->Size(), 1u);
}

TEST(DebugStreams, ConcatStreamReadsOneAfterAnother) {
    TKBuffer first("abc", 3), empty(nullptr, 0), second("defgh", 5);
    TKConcatStream all;
    all.Add(&first);
    all.Add(&empty);
    all.Add(&second);
    EXPECT_TKERROR(all.Add(nullptr), ArgErr);
    EXPECT_EQ(all.Count(), 3);
    EXPECT_STREQ(ReadWholeStream(all).CString(), "abcdefgh");
    EXPECT_EQ(all.Tell(), 8);
    size_t got = 9;
    all.Read(nullptr, 4, &got);
    EXPECT_EQ(got, 0u);
}
