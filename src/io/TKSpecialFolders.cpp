// Special folders on a POSIX desktop, after the XDG base directory conventions.
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>

#include "io/TKFileSpec.h"

namespace {

const char* const kFolderNames[] = {
    "",                    "ICCFolder",         "ICCSystemFolder",           "ICCUserFolder",
    "ICCCustomFolder",     "PreferencesFolder", "DocumentsFolder",           "TemporaryFolder",
    "CustomFolder",        "DebuggingFolder",   "ApplicationDataFolder",     "",
    "TrashFolder",         "ResourceFolder",    "ApplicationResourceFolder", "ApplicationFolder",
    "ExecutableFolder",    "ApplicationsFolder", "InternalPreferencesFolder", "GlobalPreferencesFolder",
    "WinWindowsFolder",    "WinSystem32Folder", "WinTempFolder",
};

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value && value[0] == '/' ? std::string(value) : std::string();
}

std::string Home() { return Env("HOME"); }

// An XDG base directory: the variable when it holds an absolute path, else the default below $HOME.
std::string XdgDir(const char* variable, const char* underHome) {
    std::string dir = Env(variable);
    if (dir.empty() && !Home().empty()) dir = Home() + "/" + underHome;
    return dir;
}

std::string ExecutableFolder() {
    char path[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) return std::string();
    std::string exe(path, size_t(n));
    const size_t slash = exe.rfind('/');
    return slash == std::string::npos || slash == 0 ? std::string() : exe.substr(0, slash);
}

std::string TrimSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

}  // namespace

TKString TKFileSpec::SpecialFolderName(int32_t folder) {
    if (folder < 1 || folder > kWinTempFolder) return TKString();
    return kFolderNames[folder];
}

TKString TKFileSpec::SpecialFolderPath(int32_t folder) {
    std::string path;
    switch (folder) {
        case kICCFolder:
        case kICCSystemFolder: path = "/usr/share/color/icc"; break;
        case kICCUserFolder: path = XdgDir("XDG_DATA_HOME", ".local/share"); if (!path.empty()) path += "/icc"; break;
        case kPreferencesFolder:
        case kInternalPreferencesFolder: path = XdgDir("XDG_CONFIG_HOME", ".config"); break;
        case kDocumentsFolder: if (!Home().empty()) path = Home() + "/Documents"; break;
        case kTemporaryFolder: path = Env("TMPDIR"); if (path.empty()) path = "/tmp"; break;
        case kDebuggingFolder: path = XdgDir("XDG_STATE_HOME", ".local/state"); break;
        case kApplicationDataFolder: path = XdgDir("XDG_DATA_HOME", ".local/share"); break;
        case kTrashFolder: path = XdgDir("XDG_DATA_HOME", ".local/share"); if (!path.empty()) path += "/Trash"; break;
        case kApplicationFolder:
        case kExecutableFolder: path = ExecutableFolder(); break;
        case kApplicationsFolder: path = "/usr/bin"; break;
        case kGlobalPreferencesFolder: path = "/etc/xdg"; break;
        // The custom folders have no platform location, and the Windows ones no equivalent here.
        default: break;
    }
    path = TrimSlashes(path);
    return TKString(path.c_str());
}
