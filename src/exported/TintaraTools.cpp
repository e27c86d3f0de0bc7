// The file-spec exports: a host names files through bare TKFileSpec objects.
#include <cstring>
#include <new>

#include "exported/TKExport.h"
#include "io/TKFileSpec.h"
#include "tintara.h"

namespace {

// Copies `text` into the host's buffer. A text that fills the buffer is cut to `size` bytes and
// has no terminator, as hosts of this interface expect.
void CopyOut(const TKString& text, char* buffer, int32_t size) {
    if (!buffer || size <= 0) return;
    const size_t length = size_t(text.Length());
    if (length < size_t(size)) {
        std::memcpy(buffer, text.CString(), length + 1);
    } else {
        std::memcpy(buffer, text.CString(), size_t(size));
    }
}

}  // namespace

TKFileSpec* TKNewFileSpecRef(void) {
    return TKGuardRef([]() -> TKFileSpec* { return new (std::nothrow) TKFileSpec(); });
}

void TKFreeFileSpecRef(TKFileSpec* spec) { delete spec; }

TKFileSpec* TKName2FileSpec(TKFileSpec* spec, const char* name) {
    if (!spec) return spec;
    // Host text is UTF-8 on this platform, so the conversion to the string form is the identity.
    spec->SetPath(name && name[0] ? TKString(name) : TKString());
    return spec;
}

void TKFileSpec2Name(TKFileSpec* spec, char* buffer, int32_t size) {
    CopyOut(spec ? spec->Name() : TKString(), buffer, size);
}

void TKFileSpec2FullName(TKFileSpec* spec, char* buffer, int32_t size) {
    CopyOut(spec ? spec->FullName() : TKString(), buffer, size);
}
