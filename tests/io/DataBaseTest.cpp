// TKDataBase: paths, typed values, the two text forms, comments, _DBInfo and sorting.
#include <random>
#include <string>
#include <utility>

#include "io/TKDataBase.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

TKRefPtr<TKDataBase> Parse(const char* text) {
    auto base = TKMakeRef<TKDataBase>();
    base->FromText(TKString(text));
    return base;
}

// Restores the process-wide text form after a test that switches it.
struct AngleScope {
    explicit AngleScope(bool angle) : fOld(TKDataBase::SetAngleFormat(angle)) {}
    ~AngleScope() { TKDataBase::SetAngleFormat(fOld); }
    bool fOld;
};

}  // namespace

TEST(DataBaseText, ValuesCommentsAndPaths) {
    const struct {
        const char* text;
        const char* key;
        const char* value;  // nullptr: no such entry
    } cases[] = {
        {"a = 1 2 3\n", "a", "1 2 3"},  // the value is the rest of the line
        {"b = x # not a comment\n", "b", "x # not a comment"},
        {"a = \"1 2\"", "a", "1 2"},
        {"a = \n{\nb = 1\n}\n", "a/b", "1"},
        {"a = \n{\nb = 1\n}\n", "/a/b", "1"},
        {"a = \n{\nb = 1\n}\n", "a/c", nullptr},
        {"a = \n{\nb = 1\n}\n", "a/b/c", nullptr},
        {"# x = 1\n#{\ny = 2\nstill skipped #} z = 3\nw = 4\n", "x", nullptr},
        {"# x = 1\n#{\ny = 2\nstill skipped #} z = 3\nw = 4\n", "y", nullptr},
        {"# x = 1\n#{\ny = 2\nstill skipped #} z = 3\nw = 4\n", "z", "3"},
        {"# x = 1\n#{\ny = 2\nstill skipped #} z = 3\nw = 4\n", "w", "4"},
    };
    for (const auto& c : cases) {
        auto base = Parse(c.text);
        EXPECT_EQ(base->Exists(c.key), c.value != nullptr) << c.text << c.key;
        if (c.value) {
            EXPECT_STREQ(base->GetString(c.key, "?").CString(), c.value) << c.text;
        }
    }
    int32_t index = 5;
    EXPECT_EQ(Parse("a = 1\n")->Find("q/b", &index), nullptr);
    EXPECT_EQ(index, -1);
    const char text[] = "a = 1\n\0b = 2\n";  // a zero byte ends the text
    auto base = TKMakeRef<TKDataBase>();
    base->FromText(text, sizeof text - 1);
    EXPECT_EQ(base->Count(), 1);
}

TEST(DataBaseText, MalformedTextsNameTheirFault) {
    std::string deep;
    for (int i = 0; i < 5000; ++i) deep += "a = \n{\n";
    const struct {
        std::string text;
        int32_t code;
        const char* message;  // nullptr: any
    } cases[] = {
        {"a = \"1 2\" 3", FormatErr, "Missing \"=\" after \"3\""},
        {"a=1\n", FormatErr, "Missing \"=\" after \"a=1\""},  // "=" must stand apart
        {"a = 1\n{\n{\n}\n}\n", IndexError, nullptr},         // a block without an entry
        {"<\"a\" = \"1\"\nb = 2", FormatErr, nullptr},          // no closing bracket
        {deep, FormatErr, nullptr},
    };
    for (const auto& c : cases) {
        auto base = TKMakeRef<TKDataBase>();
        const std::string message = TKERROR_MESSAGE(base->FromText(TKString(c.text.c_str())), c.code);
        if (c.message) {
            EXPECT_EQ(message, c.message);
        }
    }
    auto base = TKMakeRef<TKDataBase>();
    EXPECT_TKERROR(base->FromText(TKString("a = \"1 2\" 3")), FormatErr);
    EXPECT_STREQ(base->GetString("a", "").CString(), "1 2");  // what came before the fault stays
}

TEST(DataBaseText, EmptyValuesAndQuotedKeys) {
    auto base = Parse("a =\nb = \"\"\n\"c d\" = \"x \\\" y\"\nlast =");
    EXPECT_TRUE(base->Exists("a"));
    EXPECT_STREQ(base->GetString("a", "z").CString(), "");
    EXPECT_STREQ(base->GetString("b", "z").CString(), "");
    EXPECT_STREQ(base->GetString("c d", "").CString(), "x \" y");
    EXPECT_STREQ(base->GetString("last", "z").CString(), "");
}

TEST(DataBaseText, PlainWriterQuotesOnlyWhereNeeded) {
    auto base = TKMakeRef<TKDataBase>();
    base->SetString("k", "v w");
    base->SetString("key with blank", "plain");
    base->SetString("e", "");
    base->SetString("n/m", "1");
    base->SetLineEnd("\n");
    EXPECT_STREQ(base->ToText().CString(),
                 "k = \"v w\"\n"
                 "\"key with blank\" = plain\n"
                 "e = \n"
                 "n = \n{\n\tm = 1\n}\n");
}

TEST(DataBaseText, RoundTripBothForms) {
    auto base = TKMakeRef<TKDataBase>();
    base->SetString("key with blank", "v");
    base->SetString("q", "say \"hi\"\\there");
    base->SetString("t", "tab\there");
    base->SetString("#hash", "1");
    base->SetString("", "empty key");
    base->SetString("deep/er/est", "x");
    auto info = TKMakeRef<TKDataBase>();
    info->SetString("Version", "3");
    base->SetInfoBase(info.Get(), false);
    for (bool angle : {false, true}) {
        AngleScope scope(angle);
        TKString text = base->ToText();
        SCOPED_TRACE(text.CString());
        auto back = Parse(text.CString());
        EXPECT_STREQ(back->ToText().CString(), text.CString()) << angle;
        EXPECT_STREQ(back->GetString("q", "").CString(), "say \"hi\"\\there");
        EXPECT_STREQ(back->GetString("t", "").CString(), "tab\there");
        EXPECT_STREQ(back->GetString("#hash", "").CString(), "1");
        EXPECT_STREQ(back->GetString("deep/er/est", "").CString(), "x");
        ASSERT_TRUE(back->GetInfoBase());
        EXPECT_EQ(back->GetInfoBase()->GetInt("Version", 0), 3);
        EXPECT_EQ(back->IndexOfKey("_DBInfo"), -1);
    }
}

TEST(DataBaseText, AngleFormLayout) {
    AngleScope scope(true);
    auto base = TKMakeRef<TKDataBase>();
    base->SetLineEnd("\n");
    base->SetString("a", "1");
    EXPECT_STREQ(base->ToText().CString(), "{\n\t<\"a\" = \"1\">\n}\n");
}

TEST(DataBaseText, AngleAndPlainEntriesMix) {
    auto mixed = Parse("<a = 1>\nb = 2\n<\"c\" = \"3\"> { x = y\n}");
    EXPECT_STREQ(mixed->GetString("a", "").CString(), "1");
    EXPECT_STREQ(mixed->GetString("b", "").CString(), "2");
    EXPECT_STREQ(mixed->GetString("c/x", "").CString(), "y");
}

TEST(DataBasePaths, EscapedSeparatorIsPartOfKey) {
    auto base = TKMakeRef<TKDataBase>();
    base->SetString("a\\/b", "1");
    EXPECT_EQ(base->Count(), 1);
    EXPECT_STREQ(base->Key(0).CString(), "a/b");
    EXPECT_STREQ(base->GetString("a\\/b", "").CString(), "1");
    EXPECT_FALSE(base->Exists("a/b"));
    base->SetString("c\\\\/d", "2");  // "c\" then "d"
    EXPECT_STREQ(base->GetString("c\\\\/d", "").CString(), "2");
    EXPECT_TRUE(base->GetSubBase("c\\\\"));
}

TEST(DataBasePaths, FirstDuplicateKeyWins) {
    auto base = Parse("a = 1\na = 2\n");
    EXPECT_EQ(base->Count(), 2);
    EXPECT_EQ(base->GetInt("a", 0), 1);
    base->SetInt("a", 7);
    EXPECT_STREQ(base->Value(0).CString(), "7");
    EXPECT_STREQ(base->Value(1).CString(), "2");
}

TEST(DataBaseTyped, Bools) {
    auto base = Parse("a = TRUE\nb = 1\nc = yes\nd = true\n");
    EXPECT_TRUE(base->GetBool("a", false));
    EXPECT_TRUE(base->GetBool("b", false));
    EXPECT_FALSE(base->GetBool("c", true));
    EXPECT_TRUE(base->GetBool("d", false));
    EXPECT_TRUE(base->GetBool("missing", true));
    base->SetBool("e", false);
    EXPECT_STREQ(base->GetString("e", "").CString(), "false");
}

TEST(DataBaseTyped, Doubles) {
    auto base = TKMakeRef<TKDataBase>();
    base->SetDouble("k", 1.5);
    EXPECT_STREQ(base->GetString("k", "").CString(), "1.5");
    base->SetDouble("k", 2);
    EXPECT_STREQ(base->GetString("k", "").CString(), "2");
    base->SetString("c", "0,25");
    EXPECT_DOUBLE_EQ(base->GetDouble("c", 0), 0.25);
    base->SetDouble("c", 0.25);  // same number: the text stays as it was
    EXPECT_STREQ(base->GetString("c", "").CString(), "0,25");
    base->SetDouble("n", -0.125);
    EXPECT_STREQ(base->GetString("n", "").CString(), "-0.125");
    base->SetString("t", "abc");
    EXPECT_EQ(base->GetDouble("t", 9), 0);
}

TEST(DataBaseTyped, IntsAndStrings) {
    auto base = TKMakeRef<TKDataBase>();
    base->SetInt("i", -42);
    base->SetLong("l", 1234567890L);
    EXPECT_EQ(base->GetInt("i", 0), -42);
    EXPECT_EQ(base->GetInt("l", 0), 1234567890);
    EXPECT_EQ(base->GetInt("none", 5), 5);
    EXPECT_STREQ(base->GetOrAddString("g", "d", false).CString(), "d");
    EXPECT_FALSE(base->Exists("g"));
    EXPECT_STREQ(base->GetOrAddString("g", "d", true).CString(), "d");
    EXPECT_STREQ(base->GetString("g", "").CString(), "d");
    EXPECT_EQ(base->IndexOfValue("d"), 2);
}

TEST(DataBaseEntries, IndexErrors) {
    auto base = Parse("a = 1\n");
    EXPECT_TKERROR(base->Key(1), IndexError);
    EXPECT_TKERROR(base->Value(-1), IndexError);
    EXPECT_TKERROR(base->SetValue(3, "x"), IndexError);
    EXPECT_TKERROR(base->Remove(1), IndexError);
    base->Remove(0);
    EXPECT_EQ(base->Count(), 0);
}

TEST(DataBaseEntries, CopiesShareUntilWritten) {
    auto base = Parse("a = 1\nb = \n{\nc = 2\n}\n");
    TKDataBase copy(*base);
    copy.SetString("a", "changed");
    copy.SetString("new", "x");
    EXPECT_STREQ(base->GetString("a", "").CString(), "1");
    EXPECT_FALSE(base->Exists("new"));
    // Nested bases stay shared between the copies.
    copy.SetString("b/c", "3");
    EXPECT_STREQ(base->GetString("b/c", "").CString(), "3");
}

TEST(DataBaseSort, ByIntegerKeysThenText) {
    auto base = Parse("10 = a\n9 = b\nx = c\n2 = d\n9 = a\n-1 = e\n");
    base->Sort();
    std::string keys;
    for (int32_t i = 0; i < base->Count(); ++i) keys += std::string(base->Key(i).CString()) + ",";
    EXPECT_EQ(keys, "-1,x,2,9,9,10,");
}

TEST(DataBaseSort, RandomKeysEndInOrder) {
    std::mt19937 random(7);
    auto base = TKMakeRef<TKDataBase>();
    for (int i = 0; i < 500; ++i) base->Add(TKString::Format("%d", int(random() % 200)), "");
    base->Sort();
    for (int32_t i = 1; i < base->Count(); ++i) EXPECT_LE(base->Key(i - 1).ToInt(), base->Key(i).ToInt());
    TKDataBase empty;
    empty.Sort();
    EXPECT_EQ(empty.Count(), 0);
}

TEST(DataBaseSort, BySubBaseValue) {
    auto base = Parse("a = \n{\nn = m\n}\nb = \n{\nn = c\n}\nplain = 1\nc = \n{\nn = x\n}\n");
    base->SortBySubKey("n");
    EXPECT_STREQ(base->Key(0).CString(), "plain");  // no sub base sorts first
    EXPECT_STREQ(base->Key(1).CString(), "b");
    EXPECT_STREQ(base->Key(2).CString(), "a");
    EXPECT_STREQ(base->Key(3).CString(), "c");
}

TEST(DataBaseFile, SaveAndLoad) {
    std::string path = ::testing::TempDir() + "TKDataBaseTest.txt";
    auto base = TKMakeRef<TKDataBase>();
    base->SetString("Debug/Channels", "3 6");
    base->SetDouble("gSeparationDefaultFactor", 0.9);
    base->Save(TKFileSpec(TKString(path.c_str())));
    auto back = TKMakeRef<TKDataBase>();
    back->Load(TKFileSpec(TKString(path.c_str())));
    EXPECT_STREQ(back->GetString("Debug/Channels", "").CString(), "3 6");
    EXPECT_DOUBLE_EQ(back->GetDouble("gSeparationDefaultFactor", 0), 0.9);
    std::remove(path.c_str());
    EXPECT_TKERROR(back->Load(TKFileSpec(TKString((path + ".missing").c_str()))), FileNotOpen);
}

TEST(DataBaseText, WriterAndReaderAgreeOnTheDepthLimit) {
    // A value under n nested bases; 200 levels is the limit of both sides, in both forms.
    auto nested = [](int levels) {
        std::string path;
        for (int i = 0; i < levels; ++i) path += "a/";
        auto base = TKMakeRef<TKDataBase>();
        base->SetString((path + "x").c_str(), "v");
        return std::make_pair(base, path + "x");
    };
    for (bool angle : {false, true}) {
        AngleScope scope(angle);
        SCOPED_TRACE(angle);
        auto [deepest, path] = nested(200);
        auto back = Parse(deepest->ToText().CString());
        EXPECT_STREQ(back->GetString(path.c_str(), "").CString(), "v");
        EXPECT_TKERROR(nested(201).first->ToText(), FormatErr);
    }
    std::string tooDeep = "a = 1\n";
    for (int i = 0; i < 201; ++i) tooDeep += "{\na = 1\n";
    EXPECT_TKERROR(Parse(tooDeep.c_str()), FormatErr);
}
