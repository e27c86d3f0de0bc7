// Fuzz target: the host's image readers (TIFF, PNG, JPEG by content, band by band) with their
// size limits, on untrusted bytes. A Failure is a
// valid outcome; a crash, an overrun, a leak or an allocation past the limit is not.
#include <cstddef>
#include <cstdint>

#include "HostSupport.h"
#include "Image.h"
#include "MemoryFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static fuzz::MemoryFile file;
    const std::string path = file.Hold(data, size);
    try {
        // The limit keeps the fuzzer's memory low; the checks against the file size come first.
        host::Image image = host::ReadImage(path, uint64_t(64) << 20);
        if (image.planes.empty() || image.TotalBytes() > (uint64_t(64) << 20)) __builtin_trap();
    } catch (const host::Failure&) {
    }
    return 0;
}
