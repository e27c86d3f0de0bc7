// Folder walks over opendir/readdir, sorting of file infos, and backups.
#include "io/TKIterateDir.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <string>

#include "io/TKFileSystem.h"

namespace {
constexpr int32_t kMaxDepth = 64;

struct DirCloser {
    void operator()(DIR* dir) const { ::closedir(dir); }
};
}  // namespace

int32_t TKIterateDir::Iterate(const TKFileSpec& folder) {
    int32_t delivered = 0;
    TKString path = folder.SystemPath();
    // The folder's own trailing "/" is dropped so entries get single separators.
    while (path.Length() > 1 && path.At(path.Length() - 1) == '/') path = path.Left(path.Length() - 1);
    Walk(path, 0, &delivered);
    return delivered;
}

bool TKIterateDir::Walk(const TKString& folder, int32_t depth, int32_t* delivered) {
    std::unique_ptr<DIR, DirCloser> dir(::opendir(folder.CString()));
    if (!dir) {
        if (depth > 0) return true;  // an unreadable subfolder does not end the whole walk
        TKError::ThrowSystemError(errno, (std::string("IterateDir \"") + folder.CString() + "\"").c_str());
    }
    const TKString prefix = folder == "/" ? TKString("/") : folder + "/";
    while (struct dirent* entry = ::readdir(dir.get())) {
        const char* name = entry->d_name;
        const bool dot = std::string(name) == "." || std::string(name) == "..";
        if (dot && fSkipDots) continue;
        const TKFileInfo info(TKFileSpec(prefix + name));
        if (fPattern.IsEmpty() || TKString::Match(fPattern.CString(), name)) {
            ++*delivered;
            if (!Entry(info)) return false;
        }
        if (fRecursive && !dot && info.IsDirectory() && depth < kMaxDepth) {
            struct stat link;
            const bool symlink = ::lstat(info.SystemPath().CString(), &link) == 0 && S_ISLNK(link.st_mode);
            if (!symlink && !Walk(info.FullName(), depth + 1, delivered)) return false;
        }
    }
    return true;
}

int TKSortFileInfoClass::Compare(int32_t i, int32_t j) {
    const TKArray<TKFileInfo>& files = fFiles;
    const TKFileInfo& a = files[i];
    const TKFileInfo& b = files[j];
    if (a.IsDirectory() != b.IsDirectory()) return a.IsDirectory() ? -1 : 1;
    if (fKey == kByModificationDate) {
        const std::time_t ta = a.ModificationDate().ToTime(), tb = b.ModificationDate().ToTime();
        if (ta != tb) return ta < tb ? -1 : 1;
    } else if (fKey == kBySize) {
        if (a.Size() != b.Size()) return a.Size() < b.Size() ? -1 : 1;
    } else {
        const int byName = a.Name().Compare(b.Name());
        if (byName != 0) return byName;
    }
    return a.FullName().Compare(b.FullName());
}

void TKSortFileInfoClass::Swap(int32_t i, int32_t j) {
    if (i < 0 || j < 0 || i >= fFiles.Count() || j >= fFiles.Count()) TKThrow(IndexError);
    TKFileInfo keep = fFiles[i];
    fFiles[i] = fFiles[j];
    fFiles[j] = keep;
}

const TKArray<TKFileInfo>& TKIterateDirGetFiles::GetFiles(const TKFileSpec& folder) {
    fFiles.Clear();
    Iterate(folder);
    TKSortFileInfoClass sorter(fFiles, fSortKey);
    Sort(sorter);
    return fFiles;
}

bool TKIterateDirGetFiles::Entry(const TKFileInfo& info) {
    if (!(fFilesOnly && info.IsDirectory())) fFiles.Add(info);
    return true;
}

TKFileSpec TKBackup::Backup(const TKFileSpec& file) {
    if (fFolder.IsEmpty()) TKThrowMsg(GeneralErr, "No backup folder specified.");
    const TKFileInfo info(file);
    const unsigned stamp = unsigned(info.ModificationDate().ToTime());
    TKString folder = fFolder.FullName();
    if (folder.At(folder.Length() - 1) != '/') folder += "/";
    const TKString extension = info.Name().Length() > info.BaseName().Length() ? info.Extension() : TKString();
    for (int32_t n = 1; n < 100000; ++n) {
        TKFileSpec copy(folder + "_BAK_" + info.BaseName() + TKString::Format("_%08x_%d", stamp, int(n)));
        if (!extension.IsEmpty()) copy.SetPath(copy.FullName() + "." + extension);
        if (copy.Exists()) continue;
        CopyFile(file, copy);
        return copy;
    }
    TKThrow(FileAccessErr);
}
