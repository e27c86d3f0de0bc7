// Folder walks, file attributes, sorting of file infos and backups.
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <string>
#include <vector>

#include "io/TKFile.h"
#include "io/TKFileSystem.h"
#include "io/TKIterateDir.h"
#include "support/TestSupport.h"

namespace {

class IterateDirTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = std::string(TKFileSpec::SpecialFolderPath(kTemporaryFolder).CString()) + "/tkdirXXXXXX";
        ASSERT_NE(mkdtemp(&pattern[0]), nullptr);
        fDir = pattern;
        CreateDirectory(Spec("sub/deeper"), true);
        Make("b.icc", std::string(30, 'b'), 2000000000);
        Make("a.txt", std::string(10, 'a'), 1000000000);
        Make("c.csv", std::string(20, 'c'), 1500000000);
        Make("sub/d.icc", "d", 1000000000);
        Make("sub/deeper/e.icc", "e", 1000000000);
    }
    void TearDown() override { ASSERT_EQ(std::system(("rm -rf '" + fDir + "'").c_str()), 0); }
    TKFileSpec Spec(const std::string& name) const { return TKFileSpec((fDir + "/" + name).c_str()); }
    void Make(const std::string& name, const std::string& content, time_t mtime) {
        {
            TKFile file(Spec(name), TKFile::kWrite);
            file.WriteString(content.c_str());
        }
        struct utimbuf times = {mtime, mtime};
        ASSERT_EQ(utime((fDir + "/" + name).c_str(), &times), 0);
    }
    static std::vector<std::string> Names(const TKArray<TKFileInfo>& files) {
        std::vector<std::string> names;
        for (const TKFileInfo& info : files) names.push_back(info.Name().CString());
        return names;
    }
    std::string fDir;
};

// Counts entries and stops after a limit.
class CountingWalk : public TKIterateDir {
public:
    explicit CountingWalk(int32_t stopAfter) : fStopAfter(stopAfter) {}
    int32_t seen = 0;
    bool sawDots = false;

protected:
    bool Entry(const TKFileInfo& info) override {
        const std::string name = info.Name().CString();
        if (name == "." || name == "..") sawDots = true;
        return ++seen < fStopAfter;
    }

private:
    int32_t fStopAfter;
};

}  // namespace

TEST_F(IterateDirTest, FileInfoReadsAttributes) {
    TKFileInfo info(Spec("b.icc"));
    EXPECT_EQ(info.Size(), 30);
    EXPECT_FALSE(info.IsDirectory());
    // 2000000000 s after 1970 is 2033-05-18 03:33:20 UTC; compare through the local time.
    EXPECT_EQ(info.ModificationDate().ToTime(), 2000000000);
    EXPECT_GE(info.ModificationDate().year, 2033);
    EXPECT_GT(info.CreationDate().year, 2000);
    TKFileInfo folder(Spec("sub"));
    EXPECT_TRUE(folder.IsDirectory());
    TKFileInfo missing(Spec("none"));
    EXPECT_FALSE(missing.Update());
    EXPECT_EQ(missing.Size(), 0);
}

TEST_F(IterateDirTest, DateRecordsOfAKnownTime) {
    setenv("TZ", "UTC", 1);
    tzset();
    const TKDateRecord date = TKDateRecord::FromTime(2000000000);
    unsetenv("TZ");
    tzset();
    EXPECT_EQ(date.year, 2033);
    EXPECT_EQ(date.month, 5);
    EXPECT_EQ(date.day, 18);
    EXPECT_EQ(date.hour, 3);
    EXPECT_EQ(date.minute, 33);
    EXPECT_EQ(date.second, 20);
    EXPECT_EQ(date.weekDay, 3);  // a Wednesday
    EXPECT_EQ(date.yearDay, 137);
}

TEST_F(IterateDirTest, GetFilesSortsFoldersFirstThenByNameSizeOrDate) {
    TKIterateDirGetFiles walk;
    EXPECT_EQ(Names(walk.GetFiles(TKFileSpec((fDir + "/").c_str()))),
              (std::vector<std::string>{"sub", "a.txt", "b.icc", "c.csv"}));
    walk.SetFilesOnly(true);
    EXPECT_EQ(Names(walk.GetFiles(Spec(""))), (std::vector<std::string>{"a.txt", "b.icc", "c.csv"}));
    EXPECT_STREQ(walk.Files()[0].FullName().CString(), (fDir + "/a.txt").c_str());
    for (int32_t order : {TKSortFileInfoClass::kBySize, TKSortFileInfoClass::kByModificationDate}) {
        TKIterateDirGetFiles sorted(order);
        sorted.SetFilesOnly(true);
        EXPECT_EQ(Names(sorted.GetFiles(Spec(""))), (std::vector<std::string>{"a.txt", "c.csv", "b.icc"})) << order;
    }
}

TEST_F(IterateDirTest, RecursiveWalkWithAPattern) {
    TKIterateDirGetFiles walk;
    walk.SetRecursive(true);
    walk.SetPattern("*.icc");
    EXPECT_EQ(Names(walk.GetFiles(Spec(""))), (std::vector<std::string>{"b.icc", "d.icc", "e.icc"}));
}

TEST_F(IterateDirTest, DotsOnRequestAndEarlyStop) {
    CountingWalk all(1000);
    EXPECT_EQ(all.Iterate(Spec("")), 4);
    EXPECT_FALSE(all.sawDots);
    CountingWalk dots(1000);
    dots.SetSkipDots(false);
    EXPECT_EQ(dots.Iterate(Spec("")), 6);
    EXPECT_TRUE(dots.sawDots);
    CountingWalk stop(2);
    EXPECT_EQ(stop.Iterate(Spec("")), 2);
    EXPECT_TKERROR(all.Iterate(Spec("none")), SystemError);
}

TEST_F(IterateDirTest, BackupCopiesUnderNumberedNames) {
    TKBackup backup;
    EXPECT_EQ(TKERROR_MESSAGE(backup.Backup(Spec("a.txt")), GeneralErr), "No backup folder specified.");
    backup.SetFolder(Spec("sub"));
    const TKFileSpec first = backup.Backup(Spec("b.icc"));
    const TKFileSpec second = backup.Backup(Spec("b.icc"));
    // 2000000000 is 0x77359400.
    EXPECT_STREQ(first.Name().CString(), "_BAK_b_77359400_1.icc");
    EXPECT_STREQ(second.Name().CString(), "_BAK_b_77359400_2.icc");
    EXPECT_EQ(TKFileInfo(second).Size(), 30);
}
