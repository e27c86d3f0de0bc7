// File specs: the path normal form, name parts, kinds and special folders.
#include "io/TKFileKinds.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {
uint32_t Sig(const char* s) { return TKString(s).ToSignature(); }
}  // namespace

TEST(FileSpec, SetPathNormalisesSeparatorsAndDerivesTheType) {
    TKFileSpec spec;
    spec.SetPath("C:\\a\\\\b.icc");
    EXPECT_STREQ(spec.FullName().CString(), "C:/a/b.icc");
    EXPECT_EQ(spec.FileType(), Sig("prof"));
    EXPECT_EQ(spec.Creator(), Sig("sync"));
    EXPECT_EQ(spec.Kind(), kFileKindICC);
    spec.SetPath("//server/x//y");
    EXPECT_STREQ(spec.FullName().CString(), "//server/x/y");
    spec.SetPath("\\\\\\server\\x");
    EXPECT_STREQ(spec.FullName().CString(), "//server/x");
    spec.SetPath("a///b////c.TXT");
    EXPECT_STREQ(spec.FullName().CString(), "a/b/c.TXT");
    EXPECT_EQ(spec.FileType(), Sig("TEXT"));
    EXPECT_EQ(spec.Creator(), Sig("ttxt"));
}

TEST(FileSpec, UnknownOrMissingExtensionsGiveTheLastRow) {
    TKFileSpec spec("/x/readme");
    EXPECT_EQ(spec.FileType(), Sig("****"));
    EXPECT_EQ(spec.Creator(), Sig("****"));
    spec.SetPath("/x/data.xyz");
    EXPECT_EQ(spec.Kind(), kFileKindUnknown);
    EXPECT_EQ(TKFileSpec().FileType(), 0u);  // unset
}

TEST(FileSpec, NameFolderExtensionAndBaseName) {
    TKFileSpec spec("/p/q/a.b.icc");
    EXPECT_STREQ(spec.Name().CString(), "a.b.icc");
    EXPECT_STREQ(spec.Folder().CString(), "/p/q/");
    EXPECT_STREQ(spec.Extension().CString(), "icc");
    EXPECT_STREQ(spec.BaseName().CString(), "a.b");
    spec.SetPath("a.xyz");
    EXPECT_STREQ(spec.BaseName().CString(), "a.xyz");
    EXPECT_STREQ(spec.Extension().CString(), "xyz");
    EXPECT_STREQ(spec.Folder().CString(), "");
    spec.SetPath("/home/.profile");
    EXPECT_STREQ(spec.Extension().CString(), "");  // a leading dot opens no extension
    EXPECT_STREQ(spec.BaseName().CString(), ".profile");
    spec.SetPath("/dir/");
    EXPECT_STREQ(spec.Name().CString(), "");
}

TEST(FileSpec, SetNameAndSetExtensionKeepTheFolder) {
    TKFileSpec spec("/p/old.txt");
    spec.SetName("new.icm");
    EXPECT_STREQ(spec.FullName().CString(), "/p/new.icm");
    EXPECT_EQ(spec.FileType(), Sig("prof"));
    spec.SetExtension("csv");
    EXPECT_STREQ(spec.FullName().CString(), "/p/new.csv");
    EXPECT_EQ(spec.Kind(), kFileKindCSV);
    spec.SetExtension("");
    EXPECT_STREQ(spec.FullName().CString(), "/p/new");
    // A dot that opens no known extension belongs to the name.
    spec.SetPath("/p/Profile v2.1");
    spec.SetExtension("icc");
    EXPECT_STREQ(spec.FullName().CString(), "/p/Profile v2.1.icc");
}

TEST(FileSpec, WindowsPathOfLongPathsGetsTheExtendedPrefix) {
    TKFileSpec spec("C:/dir/file.icc");
    EXPECT_STREQ(spec.WindowsPath().CString(), "C:\\dir\\file.icc");
    EXPECT_STREQ(spec.SystemPath().CString(), "C:/dir/file.icc");
    std::string longPath = "C:/" + std::string(296, 'd') + ".icc";  // 303 characters
    spec.SetPath(longPath.c_str());
    const TKString windows = spec.WindowsPath();
    EXPECT_STREQ(windows.Left(4).CString(), "\\\\?\\");
    EXPECT_EQ(windows.Length(), 307);
    std::string justBelow = "C:/" + std::string(252, 'n');  // 255 characters, name of 252
    spec.SetPath(justBelow.c_str());
    EXPECT_EQ(spec.WindowsPath().Find("\\\\?\\"), -1);
}

TEST(FileSpec, IsAbsolute) {
    EXPECT_TRUE(TKFileSpec::IsAbsolute("/usr"));
    EXPECT_TRUE(TKFileSpec::IsAbsolute("\\x"));
    EXPECT_TRUE(TKFileSpec::IsAbsolute("c:/x"));
    EXPECT_TRUE(TKFileSpec::IsAbsolute("a:/x"));
    EXPECT_TRUE(TKFileSpec::IsAbsolute("Z:\\x"));
    EXPECT_FALSE(TKFileSpec::IsAbsolute("C:x"));
    EXPECT_FALSE(TKFileSpec::IsAbsolute("1:/x"));
    EXPECT_FALSE(TKFileSpec::IsAbsolute("rel/x"));
    EXPECT_FALSE(TKFileSpec::IsAbsolute(""));
    EXPECT_FALSE(TKFileSpec::IsAbsolute(nullptr));
}

TEST(FileSpec, SanitizeName) {
    EXPECT_STREQ(TKFileSpec::SanitizeName(" \t a<b*c?d\"e/f\\g:h|i\tj \r\n").CString(), "a_b_c_d_e_f_g_h_i_j");
    EXPECT_STREQ(TKFileSpec::SanitizeName("  \n").CString(), "");
    EXPECT_STREQ(TKFileSpec::SanitizeName("ok name.icc").CString(), "ok name.icc");
}

TEST(FileKinds, LookupsTakeTheFirstFittingRow) {
    EXPECT_EQ(TKFileKindForExtension("JPG").type, Sig("JPEG"));  // not the JFIF row below it
    EXPECT_EQ(TKFileKindForType(Sig("JFIF")).kind, kFileKindJPEG);
    EXPECT_EQ(TKFileKindForExtension("cie").creator, Sig("TkTl"));
    EXPECT_EQ(TKFileKindForExtension("dylib").type, Sig("DYLB"));
    EXPECT_EQ(TKFileKindForExtension("j2c").kind, kFileKindJPEG2000);
    EXPECT_EQ(TKFileKindForExtension("ttx").kind, kFileKindTTX);
    EXPECT_EQ(TKFileKindForExtension("").kind, kFileKindUnknown);
    EXPECT_EQ(TKFileKindForExtension(nullptr).kind, kFileKindUnknown);
    EXPECT_EQ(TKFileKindForKind(kFileKindBinary).type, Sig("BINA"));
    EXPECT_STREQ(TKFileKindForKind(kFileKindLink).extension, "link");
    EXPECT_EQ(TKFileKindForKind(99).type, Sig("****"));
    EXPECT_EQ(TKFileKindForType(Sig("****")).kind, 0);  // found only as the fallback
    // Every extension row answers a lookup of its own extension with its kind.
    for (int32_t i = 0; i < TKFileKindRowCount() - 1; ++i) {
        const TKFileKindRow& row = TKFileKindRowAt(i);
        if (row.extension[0]) {
            EXPECT_EQ(TKFileKindForExtension(row.extension).kind, row.kind) << row.extension;
        }
    }
}
