// Names from templates and macros.
#include <regex>
#include <string>

#include "io/TKFileKinds.h"
#include "io/TKFileSpecBuilder.h"
#include "support/TestSupport.h"

TEST(FileSpecBuilder, ExpandsMacrosAndAppendsTheTypesExtension) {
    TKFileSpecBuilder builder(TKFileSpec("/jobs/x.icc"));
    builder.SetTemplate("proof_$[JOB]_$[JOB]_$[DATE]");
    builder.SetMacro("JOB", "4711");
    const std::string name = builder.BuildName().CString();
    EXPECT_TRUE(std::regex_match(name, std::regex("proof_4711_4711_20[0-9]{2}-[01][0-9]-[0-3][0-9]\\.icc"))) << name;
    builder.Build();
    EXPECT_STREQ(builder.Folder().CString(), "/jobs/");
    EXPECT_EQ(builder.Kind(), kFileKindICC);
}

TEST(FileSpecBuilder, DateTimeMacros) {
    TKFileSpecBuilder builder;
    builder.SetTemplate("$[DATETIME]|$[DATETIME_ISO]");
    const std::string name = builder.BuildName().CString();
    EXPECT_TRUE(std::regex_match(name, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2}_[0-9]{2}-[0-9]{2}-[0-9]{2}\\|"
                                                  "[0-9]{8}T[0-9]{6}")))
        << name;
}

TEST(FileSpecBuilder, KeepsAnExtensionAlreadyThereAndExplicitNames) {
    TKFileSpecBuilder builder(TKFileSpec("/out/a.TXT"));
    builder.SetTemplate("Report.Txt");
    EXPECT_STREQ(builder.BuildName().CString(), "Report.Txt");
    builder.SetTemplate("Report.");
    EXPECT_STREQ(builder.BuildName().CString(), "Report..txt");
    builder.SetExplicitName("given");
    EXPECT_STREQ(builder.BuildName().CString(), "given.txt");
    // A type without an extension adds none.
    TKFileSpecBuilder bare(TKFileSpec("/out/noext"));
    bare.SetTemplate("n");
    EXPECT_STREQ(bare.BuildName().CString(), "n");
    // A spec without a type of its own takes the type of the name it gets.
    TKFileSpecBuilder untyped;
    untyped.SetTemplate("proof.icc");
    untyped.Build();
    EXPECT_EQ(untyped.Kind(), kFileKindICC);
}

TEST(FileSpecBuilder, MacroValuesCannotAddFolders) {
    TKFileSpecBuilder builder(TKFileSpec("/safe/x.csv"));
    builder.SetTemplate("$[NAME]");
    builder.SetMacro("NAME", "../../etc/passwd");
    builder.Build();
    EXPECT_STREQ(builder.FullName().CString(), "/safe/.._.._etc_passwd.csv");
    EXPECT_TKERROR(builder.SetMacro("", "x"), ArgErr);
    EXPECT_TKERROR(builder.Macro(nullptr), ArgErr);
}

TEST(FileSpecBuilder, CopiesHaveTheirOwnMacros) {
    TKFileSpecBuilder a;
    a.SetMacro("K", "1");
    TKFileSpecBuilder b(a);
    b.SetMacro("K", "2");
    EXPECT_STREQ(a.Macro("K").CString(), "1");
    EXPECT_STREQ(b.Macro("K").CString(), "2");
    a = b;
    EXPECT_STREQ(a.Macro("K").CString(), "2");
    TKFileSpec* base = new TKFileSpecBuilder(a);  // destroyed through the base
    delete base;
}
