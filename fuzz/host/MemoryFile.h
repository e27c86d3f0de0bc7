// An in-memory file with a path, for host readers that open files by name.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace fuzz {

class MemoryFile {
public:
    MemoryFile() : fd_(memfd_create("fuzz-input", 0)) {
        if (fd_ < 0) std::abort();
    }
    ~MemoryFile() { close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Replaces the content by the bytes; returns the path that opens it.
    std::string Hold(const uint8_t* data, size_t size) {
        if (ftruncate(fd_, 0) != 0 || pwrite(fd_, data, size, 0) != ssize_t(size)) std::abort();
        return "/proc/self/fd/" + std::to_string(fd_);
    }

private:
    int fd_;
};

}  // namespace fuzz
