// Files on disk: opening rules, lazy opening, reading, writing, seeking, temporary files,
// file-system helpers and magic-byte detection.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "io/TKBuffer.h"
#include "io/TKFile.h"
#include "io/TKFileKinds.h"
#include "io/TKFileSystem.h"
#include "io/TKIterateDir.h"
#include "io/TKBinaryReader.h"
#include "io/TKXStream.h"
#include "support/TestSupport.h"

namespace {

// Each test works in a fresh folder below the temporary folder, removed afterwards.
class FileTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = std::string(TKFileSpec::SpecialFolderPath(kTemporaryFolder).CString()) + "/tkfileXXXXXX";
        ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
        fDir = pattern;
    }
    void TearDown() override { ASSERT_EQ(std::system(("rm -rf '" + fDir + "'").c_str()), 0); }
    TKFileSpec Spec(const std::string& name) const { return TKFileSpec((fDir + "/" + name).c_str()); }
    void Make(const std::string& name, const std::string& content) {
        TKFile file(Spec(name), TKFile::kWrite);
        file.Open(TKFile::kWrite);  // writing nothing would not open, and so not create, the file
        file.WriteString(content.c_str());
    }
    std::string fDir;
};

}  // namespace

TEST_F(FileTest, MissingFilesEmptyPathsAndFoldersOpenQuietlyOrLoudly) {
    TKFile file(Spec("missing.txt"));
    file.Open(TKFile::kRead, false, false);
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.OpenMode(), TKFile::kClosed);
    EXPECT_EQ(TKERROR_MESSAGE(file.Open(TKFile::kRead, false, true), FileNotOpen),
              "FileNotOpen (for reading, errno=2): " + fDir + "/missing.txt");
    TKFile nowhere(TKFileSpec((fDir + "/no/such/dir/x").c_str()));
    EXPECT_EQ(TKERROR_MESSAGE(nowhere.Open(TKFile::kWrite, false, true), FileNotOpen).rfind(
                  "FileNotOpen (for writing, errno=2): ", 0), 0u);
    TKFile empty;
    empty.Open(TKFile::kRead, false, false);
    EXPECT_FALSE(empty.IsOpen());
    EXPECT_EQ(TKERROR_MESSAGE(empty.Open(TKFile::kRead, false, true), FileInvalidDesc), "FileNameEmpty");
    TKFile folder(TKFileSpec(fDir.c_str()));
    EXPECT_TKERROR(folder.Open(TKFile::kRead, false, true), FileNotOpen);
    EXPECT_TKERROR(empty.Open(7, false, true), ArgErr);
}

TEST_F(FileTest, ReadWriteModeCreatesAMissingFile) {
    TKFile file(Spec("new.bin"));
    file.Open(TKFile::kReadWrite, false, true);
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(file.OpenMode(), TKFile::kReadWrite);
    EXPECT_TRUE(FileExists(Spec("new.bin")));
    file.Write("hello", 5);
    file.Seek(0, kSeekStart);
    char back[5];
    size_t got = 0;
    file.Read(back, 5, &got);
    EXPECT_EQ(got, 5u);
    EXPECT_EQ(std::memcmp(back, "hello", 5), 0);
    // An open file stays as it is.
    file.Open(TKFile::kRead, false, true);
    EXPECT_EQ(file.OpenMode(), TKFile::kReadWrite);
}

TEST_F(FileTest, FilesOpenOnFirstUseInTheirConstructionMode) {
    {
        TKFile out(Spec("lazy.txt"), TKFile::kWrite);
        EXPECT_FALSE(out.IsOpen());
        out.WriteString("0123456789");
        EXPECT_EQ(out.OpenMode(), TKFile::kWrite);
        char b;
        EXPECT_TKERROR(out.Read(&b, 1), FileReadFailed);  // write-only descriptor
    }
    TKFile in(Spec("lazy.txt"));
    char text[4] = {};
    size_t got = 0;
    in.Read(text, 3, &got);
    EXPECT_STREQ(text, "012");
    EXPECT_EQ(in.Length(), 10);
    EXPECT_EQ(in.Tell(), 3);  // Length leaves the position where it was
    in.Seek(4, kSeekEnd);
    EXPECT_EQ(in.Tell(), 6);
    in.Seek(-2, kSeekCurrent);
    EXPECT_EQ(in.Tell(), 4);
    EXPECT_TKERROR(in.Seek(-100, kSeekCurrent), FileSeekFailed);
    EXPECT_TKERROR(in.Seek(0, 9), ArgErr);
    EXPECT_TKERROR(in.Write("x", 1), FileWriteFailed);  // open for reading only
    EXPECT_TRUE(in.CanSeek());
    EXPECT_STREQ(in.GetName().CString(), (fDir + "/lazy.txt").c_str());
}

TEST_F(FileTest, ClosedFilesWithoutAModeRefuseEverything) {
    TKFile file(Spec("x"), TKFile::kClosed);
    uint8_t b;
    EXPECT_TKERROR(file.Read(&b, 1), FileNotOpen);
    EXPECT_TKERROR(file.Length(), FileNotOpen);
    EXPECT_TKERROR(file.Seek(0, kSeekStart), FileSeekFailed);
    EXPECT_TKERROR(file.Tell(), FilePosFailed);
    EXPECT_FALSE(file.CanSeek());
}

TEST_F(FileTest, ShortWritesRaiseWithCounts) {
    TKFile full(TKFileSpec("/dev/full"), TKFile::kWrite);
    EXPECT_EQ(TKERROR_MESSAGE(full.Write("abc", 3), FileWriteFailed), "FileWriteFailed (0/3, errno=28): /dev/full");
}

TEST_F(FileTest, ReadStringAndReadDataStopAtTheEnd) {
    Make("s.txt", "abcdef");
    TKFile in(Spec("s.txt"));
    TKString text;
    EXPECT_EQ(in.ReadString(text, 2), 2);
    EXPECT_STREQ(text.CString(), "ab");
    std::vector<uint8_t> block;
    // A length far beyond the file allocates only what is there.
    EXPECT_EQ(in.ReadData(block, int64_t(1) << 50), 4);
    EXPECT_EQ(block.size(), 4u);
    in.Seek(0, kSeekStart);
    EXPECT_EQ(in.ReadString(text, -1), 6);
    EXPECT_STREQ(text.CString(), "abcdef");
    EXPECT_EQ(in.ReadData(block, -1), 0);
}

TEST_F(FileTest, TempFilesAreUniqueLimitedAndDeletedUnlessKept) {
    TKFileSpec kept;
    {
        TKTempFile a("my:profile");
        TKTempFile b("my:profile");
        const std::string name = a.GetFileSpec().Name().CString();
        EXPECT_EQ(name.rfind("_TKTMPF_my_profile_" + std::to_string(getpid()) + "_", 0), 0u) << name;
        EXPECT_EQ(name.substr(name.size() - 4), ".tmp");
        EXPECT_NE(a.GetFileSpec().FullName(), b.GetFileSpec().FullName());
        EXPECT_TRUE(a.IsOpen());
        a.WriteString("data");
        a.Seek(0, kSeekStart);
        EXPECT_STREQ(ReadWholeStream(a).CString(), "data");
        kept = b.GetFileSpec();
        b.SetKeep(true);
        EXPECT_TRUE(FileExists(a.GetFileSpec()));
        a.SetFileSpec(a.GetFileSpec());  // still deletes by its spec
    }
    EXPECT_TRUE(FileExists(kept));
    DeleteFile(kept);
    TKTempFile limited("", 8);
    limited.Write("12345678", 8);
    EXPECT_TKERROR(limited.Write("9", 1), FileWriteFailed);
    EXPECT_EQ(limited.Length(), 8);
}

TEST_F(FileTest, FileRemoverDeletesWhenReleased) {
    Make("gone.txt", "x");
    auto* remover = new TKFileRemover(Spec("gone.txt"));
    EXPECT_TRUE(FileExists(Spec("gone.txt")));
    remover->Release();
    EXPECT_FALSE(FileExists(Spec("gone.txt")));
    TKRefPtr<TKFileRemover> missing(new TKFileRemover(Spec("never.txt")), true);  // silently
}

TEST_F(FileTest, DirectoriesCreatedRemovedAndChecked) {
    const TKFileSpec deep = Spec("p/q/r");
    EXPECT_THROW(CreateDirectory(deep), TKError);
    CreateDirectory(deep, true);
    CreateDirectory(deep, true);  // existing is fine
    EXPECT_TRUE(DirExists(deep));
    EXPECT_FALSE(DirExists(Spec("p/none")));
    EXPECT_EQ(TKERROR_MESSAGE(DirExists(Spec("p/none"), true), SystemError),
              "System error: 2 DirExists: Can't get file attributes for \"" + fDir + "/p/none\", System error: ");
    Make("p/file", "x");
    EXPECT_FALSE(DirExists(Spec("p/file")));
    EXPECT_TKERROR(DirExists(Spec("p/file"), true), SystemError);
    EXPECT_TKERROR(RemoveDirectory(Spec("p")), SystemError);  // not empty
    RemoveDirectory(deep);
    EXPECT_FALSE(DirExists(deep));
}

TEST_F(FileTest, DeleteCopyAndMove) {
    EXPECT_EQ(TKERROR_MESSAGE(DeleteFile(Spec("none")), SystemError), "System error: 2 DeleteFile \"" + fDir + "/none\"");
    std::string big(200000, 'z');
    Make("src.bin", big);
    CopyFile(Spec("src.bin"), Spec("copy.bin"));
    TKFile copy(Spec("copy.bin"));
    EXPECT_EQ(copy.Length(), 200000);
    MoveFile(Spec("copy.bin"), Spec("moved.bin"));
    EXPECT_FALSE(FileExists(Spec("copy.bin")));
    EXPECT_TRUE(FileExists(Spec("moved.bin")));
    EXPECT_TKERROR(MoveFile(Spec("none"), Spec("x")), SystemError);
    EXPECT_TKERROR(CopyFile(Spec("none"), Spec("x")), SystemError);
}

TEST_F(FileTest, MakeUniqueCountsUp) {
    Make("a.icc", "");
    Make("a_001.icc", "");
    TKFileSpec spec = Spec("a.icc");
    spec.MakeUnique();
    EXPECT_STREQ(spec.Name().CString(), "a_002.icc");
    TKFileSpec fresh = Spec("b.icc");
    fresh.MakeUnique();
    EXPECT_STREQ(fresh.Name().CString(), "b.icc");
    Make("notes", "");
    TKFileSpec bare = Spec("notes");
    bare.MakeUnique();
    EXPECT_STREQ(bare.Name().CString(), "notes_001");
}

TEST_F(FileTest, FixICCExtensionMovesTheFile) {
    Make("Profileicc", "x");
    TKFileSpec spec = Spec("Profileicc");
    spec.FixICCExtension();
    EXPECT_STREQ(spec.Name().CString(), "Profile.icc");
    EXPECT_EQ(spec.Kind(), kFileKindICC);
    EXPECT_TRUE(FileExists(spec));
    EXPECT_FALSE(FileExists(Spec("Profileicc")));
    TKFileSpec fine = Spec("Other.ICC");
    fine.FixICCExtension();
    EXPECT_STREQ(fine.Name().CString(), "Other.ICC");
    TKFileSpec virtualName = Spec("NoFileICC");  // no file: only the name changes
    virtualName.FixICCExtension();
    EXPECT_STREQ(virtualName.Name().CString(), "NoFile.ICC");
}

TEST(DetectFileKind, RecognisesMagicBytes) {
    struct Case {
        const char* bytes;
        size_t size;
        int32_t kind;
    } cases[] = {
        {"%PDF-1.4", 8, kFileKindPDF},       {"8BPS\0\1", 6, kFileKindPSD},
        {"<html>", 6, kFileKindHTML},        {"<?xml ", 6, kFileKindXML},
        {"GIF89a", 6, kFileKindGIF},         {"MM\0*\0\0", 6, kFileKindTIFF},
        {"II*\0\0\0", 6, kFileKindTIFF},     {"\x89PNG\r\n", 6, kFileKindPNG},
        {"\xFF\xD8\xFF\xE0", 4, kFileKindJPEG}, {"abc", 3, kFileKindUnknown},
        {"", 0, kFileKindUnknown},
    };
    for (const Case& c : cases) {
        TKBuffer buffer(c.bytes, uint32_t(c.size));
        EXPECT_EQ(DetectFileKind(buffer), c.kind) << c.bytes;
    }
}

TEST(DetectFileKind, FindsTheProfileSignatureAndRestoresThePosition) {
    // Gray.icc from Debian's icc-profiles-free, a real 420-byte version 2 profile.
    TKFile profile(TKFileSpec(TestDataPath("io/Gray.icc").c_str()));
    profile.Seek(100, kSeekStart);
    EXPECT_EQ(DetectFileKind(profile), kFileKindICC);
    EXPECT_EQ(profile.Tell(), 100);
    // A header that is too short, or has a small first word, is no profile.
    std::vector<uint8_t> header(40, 0);
    std::memcpy(&header[36], "acsp", 4);
    header[3] = 100;
    TKBuffer small(header.data(), 40);
    EXPECT_EQ(DetectFileKind(small), kFileKindUnknown);
    header[3] = 101;
    TKBuffer big(header.data(), 40);
    EXPECT_EQ(DetectFileKind(big), kFileKindICC);
    TKBuffer cut(header.data(), 38);
    EXPECT_EQ(DetectFileKind(cut), kFileKindUnknown);
    TKStreamImplemented unreadable;
    EXPECT_EQ(DetectFileKind(unreadable), kFileKindUnknown);
}

TEST(FileThroughFilters, ProfileHeaderThroughABufferedBigEndianReader) {
    // Header fields of Debian's Gray.icc as a hex dump of the file shows them.
    TKFile file(TKFileSpec(TestDataPath("io/Gray.icc").c_str()));
    TKBufferFilter buffered(&file, false, 64);
    TKBinaryReader reader(buffered, kBigEndian);
    EXPECT_EQ(reader.Remaining(), 420);
    EXPECT_EQ(reader.U32(), 420u);          // profile size
    EXPECT_EQ(reader.U32(), 0x4F797261u);   // preferred CMM 'Oyra'
    EXPECT_EQ(reader.U32(), 0x02300000u);   // version 2.3
    EXPECT_EQ(reader.U32(), 0x6D6E7472u);   // 'mntr'
    EXPECT_EQ(reader.U32(), 0x47524159u);   // 'GRAY'
    EXPECT_EQ(reader.U32(), 0x58595A20u);   // 'XYZ '
    EXPECT_EQ(reader.U16(), 2007);          // creation year
    reader.SeekTo(36);
    EXPECT_EQ(reader.U32(), 0x61637370u);   // 'acsp'
    reader.SeekTo(416);
    reader.U32();
    EXPECT_TKERROR(reader.U8(), EOFReached);
    EXPECT_TKERROR(reader.Block(1), EOFReached);
}
