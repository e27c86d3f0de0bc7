// The file-spec exports as a host calls them.
#include <cstring>
#include <string>

#include "io/TKFileSpec.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {
// A buffer with guard bytes, to see exactly what an export wrote.
struct Guarded {
    char bytes[64];
    Guarded() { std::memset(bytes, '#', sizeof bytes); }
};
}  // namespace

TEST(FileSpecExports, NewSpecIsEmptyAndFreeAcceptsNull) {
    TKFileSpec* spec = TKNewFileSpecRef();
    ASSERT_NE(spec, nullptr);
    Guarded out;
    TKFileSpec2FullName(spec, out.bytes, 10);
    EXPECT_STREQ(out.bytes, "");
    TKFreeFileSpecRef(spec);
    TKFreeFileSpecRef(nullptr);
}

TEST(FileSpecExports, NameRoundTripsInNormalForm) {
    TKFileSpec* spec = TKNewFileSpecRef();
    EXPECT_EQ(TKName2FileSpec(spec, "C:\\profiles\\\\ISO Coated.icc"), spec);
    Guarded full, name;
    TKFileSpec2FullName(spec, full.bytes, sizeof full.bytes);
    TKFileSpec2Name(spec, name.bytes, sizeof name.bytes);
    EXPECT_STREQ(full.bytes, "C:/profiles/ISO Coated.icc");
    EXPECT_STREQ(name.bytes, "ISO Coated.icc");
    EXPECT_EQ(spec->FileType(), TKString("prof").ToSignature());
    // UTF-8 passes unchanged.
    TKName2FileSpec(spec, "/tmp/Farbr\xC3\xA4ume.icc");
    TKFileSpec2Name(spec, name.bytes, sizeof name.bytes);
    EXPECT_STREQ(name.bytes, "Farbr\xC3\xA4ume.icc");
    // Null or empty names clear the path.
    TKName2FileSpec(spec, nullptr);
    TKFileSpec2FullName(spec, full.bytes, sizeof full.bytes);
    EXPECT_STREQ(full.bytes, "");
    TKFreeFileSpecRef(spec);
}

TEST(FileSpecExports, TruncationLeavesNoTerminator) {
    TKFileSpec* spec = TKNewFileSpecRef();
    TKName2FileSpec(spec, "/a/long.txt");
    Guarded out;
    TKFileSpec2Name(spec, out.bytes, 4);
    EXPECT_EQ(std::string(out.bytes, 5), "long#");
    Guarded exact;
    TKFileSpec2Name(spec, exact.bytes, 8);  // 8 characters fill 8 bytes: still no terminator
    EXPECT_EQ(std::string(exact.bytes, 9), "long.txt#");
    Guarded room;
    TKFileSpec2Name(spec, room.bytes, 9);
    EXPECT_EQ(std::string(room.bytes, 10), std::string("long.txt\0#", 10));
    Guarded full;
    TKFileSpec2FullName(spec, full.bytes, 3);
    EXPECT_EQ(std::string(full.bytes, 4), "/a/#");
    TKFreeFileSpecRef(spec);
}

TEST(FileSpecExports, BadArgumentsDoNothingHarmful) {
    EXPECT_EQ(TKName2FileSpec(nullptr, "x"), nullptr);
    Guarded out;
    TKFileSpec2Name(nullptr, out.bytes, sizeof out.bytes);  // a null spec writes ""
    EXPECT_STREQ(out.bytes, "");
    Guarded untouched;
    TKFileSpec2FullName(nullptr, untouched.bytes, 0);
    TKFileSpec2FullName(nullptr, untouched.bytes, -5);
    EXPECT_EQ(untouched.bytes[0], '#');
    TKFileSpec* spec = TKNewFileSpecRef();
    TKName2FileSpec(spec, "/x/y");
    TKFileSpec2Name(spec, nullptr, 10);
    TKFileSpec2FullName(spec, untouched.bytes, -1);
    EXPECT_EQ(untouched.bytes[0], '#');
    TKFreeFileSpecRef(spec);
}
