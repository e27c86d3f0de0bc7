// TKMD5: the MD5 message digest (RFC 1321), used for ICC profile IDs.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

class TKMD5 {
public:
    using Digest = std::array<uint8_t, 16>;

    TKMD5();
    void Update(const void* data, size_t length);
    // Ends the message and returns its digest; the object starts over afterwards.
    Digest Final();
    static Digest Of(const void* data, size_t length);

private:
    void Reset();
    void Transform(const uint8_t block[64]);

    uint32_t fState[4];
    uint64_t fLength = 0;  // bytes so far
    uint8_t fBuffer[64];
};
