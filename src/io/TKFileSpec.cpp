// File specs: path normal form, name parts and kinds.
#include "io/TKFileSpec.h"

#include <strings.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "foundation/TKError.h"
#include "io/TKFileKinds.h"
#include "io/TKFileSystem.h"

namespace {

std::string Str(const TKString& s) { return std::string(s.CString(), size_t(s.Length())); }
TKString Tk(const std::string& s) {
    if (s.size() > size_t(INT32_MAX)) TKThrow(MemFullErr);
    return TKString(s.data(), int32_t(s.size()));
}

// Position just after the last "/" (0 when there is none).
size_t NameStart(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? 0 : slash + 1;
}

// The dot before the extension of a name, or npos; a dot at position 0 opens no extension.
size_t ExtensionDot(const std::string& name) {
    const size_t dot = name.rfind('.');
    return dot == std::string::npos || dot == 0 ? std::string::npos : dot;
}

bool KnownExtension(const std::string& extension) {
    return !extension.empty() && TKFileKindForExtension(extension.c_str()).kind != kFileKindUnknown;
}

}  // namespace

TKFileSpec::TKFileSpec(int32_t folder, const TKString& name) {
    const TKString base = SpecialFolderPath(folder);
    if (base.IsEmpty()) return;
    if (name.IsEmpty()) SetPath(base);
    else SetPath(base + "/" + name);
}

TKFileSpec::~TKFileSpec() = default;

void TKFileSpec::SetPath(const TKString& path) {
    std::string p = Str(path);
    for (char& c : p)
        if (c == '\\') c = '/';
    // Collapse runs of slashes; a network path keeps its leading "//".
    std::string out;
    out.reserve(p.size());
    size_t i = 0;
    if (p.compare(0, 2, "//") == 0) {
        out = "//";
        i = 2;
        while (i < p.size() && p[i] == '/') ++i;
    }
    for (; i < p.size(); ++i) {
        if (p[i] == '/' && !out.empty() && out.back() == '/') continue;
        out += p[i];
    }
    fPath = Tk(out);
    SetTypeFromExtension();
}

TKString TKFileSpec::Name() const {
    const std::string p = Str(fPath);
    return Tk(p.substr(NameStart(p)));
}

TKString TKFileSpec::Folder() const {
    const std::string p = Str(fPath);
    return Tk(p.substr(0, NameStart(p)));
}

TKString TKFileSpec::Extension() const {
    const std::string name = Str(Name());
    const size_t dot = ExtensionDot(name);
    return dot == std::string::npos ? TKString() : Tk(name.substr(dot + 1));
}

TKString TKFileSpec::BaseName() const {
    const std::string name = Str(Name());
    const size_t dot = ExtensionDot(name);
    if (dot != std::string::npos && KnownExtension(name.substr(dot + 1))) return Tk(name.substr(0, dot));
    return Tk(name);
}

void TKFileSpec::SetName(const TKString& name) { SetPath(Folder() + name); }

void TKFileSpec::SetExtension(const TKString& extension) {
    TKString name = BaseName();
    if (!extension.IsEmpty()) name = name + "." + extension;
    SetName(name);
}

TKString TKFileSpec::SystemPath() const { return fPath; }

TKString TKFileSpec::WindowsPath() const {
    std::string p = Str(fPath);
    for (char& c : p)
        if (c == '/') c = '\\';
    // Beyond these lengths the Windows file calls take only the extended-length form.
    if (p.size() >= 260 || size_t(Name().Length()) >= 256) p = "\\\\?\\" + p;
    return Tk(p);
}

void TKFileSpec::SetTypeFromExtension() {
    const TKString extension = Extension();
    const TKFileKindRow& row = TKFileKindForExtension(extension.CString());
    fType = row.type;
    fCreator = row.creator;
}

int32_t TKFileSpec::Kind() const { return TKFileKindForType(fType).kind; }

bool TKFileSpec::Exists() const {
    if (fPath.IsEmpty()) return false;
    struct stat info;
    return ::stat(fPath.CString(), &info) == 0;
}

void TKFileSpec::MakeUnique() {
    if (!Exists()) return;
    const std::string folder = Str(Folder());
    const std::string base = Str(BaseName());
    const std::string name = Str(Name());
    const std::string extension = base.size() < name.size() ? name.substr(base.size() + 1) : std::string();
    // The bound only stops a runaway loop on a folder that answers "exists" to everything.
    for (int32_t counter = 1; counter < 1000000; ++counter) {
        char suffix[32];
        std::snprintf(suffix, sizeof suffix, "_%03d", counter);
        std::string candidate = folder + base + suffix;
        if (!extension.empty()) candidate += "." + extension;
        SetPath(Tk(candidate));
        if (!Exists()) return;
    }
    TKThrow(FileAccessErr);
}

void TKFileSpec::FixICCExtension() {
    const std::string name = Str(Name());
    if (name.size() < 4 || strcasecmp(name.c_str() + name.size() - 3, "icc") != 0) return;
    if (name[name.size() - 4] == '.') return;
    const TKFileSpec old = *this;
    SetName(Tk(name.substr(0, name.size() - 3) + "." + name.substr(name.size() - 3)));
    if (old.Exists()) MoveFile(old, *this);
}

bool TKFileSpec::IsAbsolute(const char* path) {
    if (!path) return false;
    if (path[0] == '/' || path[0] == '\\') return true;
    const bool letter = (path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z');
    return letter && path[1] == ':' && (path[2] == '/' || path[2] == '\\');
}

TKString TKFileSpec::SanitizeName(const TKString& name) {
    std::string s = Str(name);
    const char* blank = " \n\r\t";
    const size_t first = s.find_first_not_of(blank);
    if (first == std::string::npos) return TKString();
    s = s.substr(first, s.find_last_not_of(blank) - first + 1);
    for (char& c : s)
        if (std::string("<*?\"/\\:|\t\n\r").find(c) != std::string::npos) c = '_';
    return Tk(s);
}
