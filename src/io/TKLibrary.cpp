// Dynamic libraries through the system loader, with an architecture check in front of it.
#include "io/TKLibrary.h"

#include <dlfcn.h>
#include <elf.h>

#include <cerrno>
#include <cstring>
#include <fstream>

namespace {

// The part of an ELF header that says for which processor a file was built.
struct ElfIdentity {
    bool valid = false;
    unsigned char elfClass = 0;
    unsigned char byteOrder = 0;
    uint16_t machine = 0;
};

ElfIdentity ReadIdentity(const char* path) {
    ElfIdentity identity;
    unsigned char header[20] = {};
    std::ifstream in(path, std::ios::binary);
    if (!in.read(reinterpret_cast<char*>(header), sizeof header)) return identity;
    if (std::memcmp(header, ELFMAG, SELFMAG) != 0) return identity;
    identity.valid = true;
    identity.elfClass = header[EI_CLASS];
    identity.byteOrder = header[EI_DATA];
    // e_machine follows e_ident and e_type, in the file's own byte order.
    identity.machine = identity.byteOrder == ELFDATA2MSB ? uint16_t(header[18] << 8 | header[19])
                                                         : uint16_t(header[19] << 8 | header[18]);
    return identity;
}

// The running program's own header: whatever it was built for, its libraries must match.
const ElfIdentity& ProcessIdentity() {
    static const ElfIdentity identity = ReadIdentity("/proc/self/exe");
    return identity;
}

[[noreturn]] void Refuse(int32_t osCode, const TKFileSpec& file, const TKString& reason) {
    TKString text = "Couldn't load library: " + file.FullName();
    if (!reason.IsEmpty()) text += " (" + reason + ")";
    TKError::ThrowSystemError(osCode, text.CString());
}

}  // namespace

TKString TKLibraryMismatch(const TKFileSpec& file) {
    const ElfIdentity candidate = ReadIdentity(file.FullName().CString());
    if (!candidate.valid) return "not a shared library";
    const ElfIdentity& own = ProcessIdentity();
    if (!own.valid) return TKString();  // nothing to compare with: the loader decides
    if (candidate.elfClass != own.elfClass)
        return TKString::Format("built for %d-bit, this process is %d-bit", candidate.elfClass == ELFCLASS64 ? 64 : 32,
                                own.elfClass == ELFCLASS64 ? 64 : 32);
    if (candidate.byteOrder != own.byteOrder) return "built for the other byte order";
    if (candidate.machine != own.machine)
        return TKString::Format("built for machine %u, this process runs on machine %u", unsigned(candidate.machine),
                                unsigned(own.machine));
    return TKString();
}

TKDlLibrary::~TKDlLibrary() { Unload(); }

void TKDlLibrary::Load(const TKFileSpec& file) {
    Unload();
    if (file.IsEmpty()) Refuse(0, file, "no file");
    if (!file.Exists()) Refuse(ENOENT, file, "no such file");
    const TKString mismatch = TKLibraryMismatch(file);
    if (!mismatch.IsEmpty()) Refuse(ENOEXEC, file, mismatch);
    // Symbols stay local: two plug-ins may define the same names, and the library's own
    // symbols are hidden from them anyway.
    void* handle = dlopen(file.FullName().CString(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        Refuse(ENOEXEC, file, why ? TKString(why) : TKString());
    }
    fHandle = handle;
    fFile = file;
}

void TKDlLibrary::Unload() {
    if (!fHandle) return;
    dlclose(fHandle);
    fHandle = nullptr;
}

void* TKDlLibrary::GetProc(const char* name) const {
    if (!fHandle || !name) return nullptr;
    return dlsym(fHandle, name);
}
