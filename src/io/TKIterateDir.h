// Walking folders: TKIterateDir hands each entry to a virtual Entry; TKIterateDirGetFiles
// collects them into a sorted array. TKBackup keeps copies of files in a backup folder.
#pragma once

#include <cstdint>

#include "foundation/TKArray.h"
#include "foundation/TKSort.h"
#include "io/TKFileInfo.h"

class TKIterateDir {
public:
    virtual ~TKIterateDir() = default;

    // "." and ".." are skipped unless told otherwise.
    void SetSkipDots(bool skip) { fSkipDots = skip; }
    // Descends into subfolders (not through symbolic links), at most 64 levels deep.
    void SetRecursive(bool recursive) { fRecursive = recursive; }
    // Only names that match the wildcard pattern ("*" and "?") are delivered; folders are still
    // descended into. Empty delivers all.
    void SetPattern(const TKString& pattern) { fPattern = pattern; }

    // Walks the folder in the order the file system gives. Returns the number of entries
    // delivered. A folder that cannot be opened raises SystemError.
    int32_t Iterate(const TKFileSpec& folder);

protected:
    // One entry; return false to stop the walk.
    virtual bool Entry(const TKFileInfo& info) = 0;

private:
    bool Walk(const TKString& folder, int32_t depth, int32_t* delivered);

    bool fSkipDots = true;
    bool fRecursive = false;
    TKString fPattern;
};

// Orders file infos: folders first, then by the chosen key, then by full path.
class TKSortFileInfoClass : public TKSortClass {
public:
    enum Key : int32_t { kByName = 0, kByModificationDate = 1, kBySize = 2 };
    TKSortFileInfoClass(TKArray<TKFileInfo>& files, int32_t key = kByName) : fFiles(files), fKey(key) {}
    int32_t Count() override { return fFiles.Count(); }
    int Compare(int32_t i, int32_t j) override;
    void Swap(int32_t i, int32_t j) override;

private:
    TKArray<TKFileInfo>& fFiles;
    int32_t fKey;
};

class TKIterateDirGetFiles : public TKIterateDir {
public:
    explicit TKIterateDirGetFiles(int32_t sortKey = TKSortFileInfoClass::kByName) : fSortKey(sortKey) {}
    // Leaves folders out of the result.
    void SetFilesOnly(bool filesOnly) { fFilesOnly = filesOnly; }
    // Iterates and sorts; the result replaces any earlier one.
    const TKArray<TKFileInfo>& GetFiles(const TKFileSpec& folder);
    const TKArray<TKFileInfo>& Files() const { return fFiles; }

protected:
    bool Entry(const TKFileInfo& info) override;

private:
    TKArray<TKFileInfo> fFiles;
    int32_t fSortKey;
    bool fFilesOnly = false;
};

// Copies files into a backup folder under names "_BAK_<base>_<mtime as %08x>_<n>.<ext>".
class TKBackup {
public:
    void SetFolder(const TKFileSpec& folder) { fFolder = folder; }
    const TKFileSpec& Folder() const { return fFolder; }
    // Copies the file and returns the file spec of the copy. GeneralErr without a backup folder.
    TKFileSpec Backup(const TKFileSpec& file);

private:
    TKFileSpec fFolder;
};
