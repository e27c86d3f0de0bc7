// File-system helpers over POSIX calls.
#include "io/TKFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "io/TKFile.h"
#include "io/TKStream.h"

namespace {

[[noreturn]] void Fail(int error, const std::string& text) { TKError::ThrowSystemError(error, text.c_str()); }

std::string Quoted(const char* operation, const TKFileSpec& spec) {
    return std::string(operation) + spec.SystemPath().CString() + "\"";
}

}  // namespace

void CreateDirectory(const TKFileSpec& folder, bool parents) {
    const std::string path = folder.SystemPath().CString();
    if (path.empty()) Fail(ENOENT, Quoted("CreateDirectory \"", folder));
    if (parents) {
        // Every prefix ending before a "/" is a parent; the root and existing ones are skipped.
        for (size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
            const std::string parent = path.substr(0, slash);
            if (::mkdir(parent.c_str(), 0777) != 0 && errno != EEXIST)
                Fail(errno, Quoted("CreateDirectory \"", TKFileSpec(parent.c_str())));
        }
    }
    if (::mkdir(path.c_str(), 0777) != 0) {
        const int error = errno;
        struct stat info;
        if (error == EEXIST && ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) return;
        Fail(error, Quoted("CreateDirectory \"", folder));
    }
}

void RemoveDirectory(const TKFileSpec& folder) {
    if (::rmdir(folder.SystemPath().CString()) != 0) Fail(errno, Quoted("RemoveDirectory \"", folder));
}

void DeleteFile(const TKFileSpec& file) {
    if (::unlink(file.SystemPath().CString()) != 0) Fail(errno, Quoted("DeleteFile \"", file));
}

void CopyFile(const TKFileSpec& source, const TKFileSpec& destination) {
    try {
        TKFile in(source, TKFile::kRead);
        in.Open(TKFile::kRead, false, true);
        TKFile out(destination, TKFile::kWrite);
        out.Open(TKFile::kWrite, false, true);
        CopyStream(in, out, 0, 65536);
        out.Close();
    } catch (const TKError& e) {
        Fail(e.code() == FileNotOpen ? ENOENT : EIO,
             std::string("CopyFile \"") + source.SystemPath().CString() + "\" \"" +
                 destination.SystemPath().CString() + "\"");
    }
}

void MoveFile(const TKFileSpec& source, const TKFileSpec& destination) {
    if (::rename(source.SystemPath().CString(), destination.SystemPath().CString()) == 0) return;
    const int error = errno;
    if (error == EXDEV) {
        CopyFile(source, destination);
        DeleteFile(source);
        return;
    }
    Fail(error, std::string("MoveFile ") + source.SystemPath().CString() + " " + destination.SystemPath().CString());
}

bool DirExists(const TKFileSpec& folder, bool mustExist) {
    struct stat info;
    if (::stat(folder.SystemPath().CString(), &info) != 0) {
        if (!mustExist) return false;
        Fail(errno, Quoted("DirExists: Can't get file attributes for \"", folder) + ", System error: ");
    }
    if (S_ISDIR(info.st_mode)) return true;
    if (mustExist) Fail(ENOTDIR, Quoted("DirExists: No directory: \"", folder) + ", System error: ");
    return false;
}

bool FileExists(const TKFileSpec& file) {
    struct stat info;
    return ::stat(file.SystemPath().CString(), &info) == 0 && S_ISREG(info.st_mode);
}
