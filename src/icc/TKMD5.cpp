// MD5 per RFC 1321: 64-byte blocks, four rounds of 16 steps, little-endian words.
#include "icc/TKMD5.h"

#include <cmath>
#include <cstring>

namespace {

// Per-step shift amounts, four per round.
constexpr uint32_t kShift[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

// The sine table: floor(abs(sin(i + 1)) * 2^32).
struct SineTable {
    uint32_t k[64];
    SineTable() {
        for (int i = 0; i < 64; ++i) k[i] = uint32_t(std::floor(std::fabs(std::sin(double(i + 1))) * 4294967296.0));
    }
};

const SineTable& Sines() {
    static const SineTable table;
    return table;
}

constexpr uint32_t RotateLeft(uint32_t x, uint32_t n) { return (x << n) | (x >> (32 - n)); }

}  // namespace

TKMD5::TKMD5() { Reset(); }

void TKMD5::Reset() {
    fState[0] = 0x67452301;
    fState[1] = 0xefcdab89;
    fState[2] = 0x98badcfe;
    fState[3] = 0x10325476;
    fLength = 0;
}

void TKMD5::Transform(const uint8_t block[64]) {
    uint32_t x[16];
    for (int i = 0; i < 16; ++i)
        x[i] = uint32_t(block[4 * i]) | uint32_t(block[4 * i + 1]) << 8 | uint32_t(block[4 * i + 2]) << 16 |
               uint32_t(block[4 * i + 3]) << 24;
    const uint32_t* k = Sines().k;
    uint32_t a = fState[0], b = fState[1], c = fState[2], d = fState[3];
    for (int i = 0; i < 64; ++i) {
        uint32_t f;
        int g;
        int round = i / 16;
        if (round == 0) {
            f = (b & c) | (~b & d);
            g = i;
        } else if (round == 1) {
            f = (d & b) | (~d & c);
            g = (5 * i + 1) % 16;
        } else if (round == 2) {
            f = b ^ c ^ d;
            g = (3 * i + 5) % 16;
        } else {
            f = c ^ (b | ~d);
            g = (7 * i) % 16;
        }
        uint32_t next = b + RotateLeft(a + f + k[i] + x[g], kShift[round][i % 4]);
        a = d;
        d = c;
        c = b;
        b = next;
    }
    fState[0] += a;
    fState[1] += b;
    fState[2] += c;
    fState[3] += d;
}

void TKMD5::Update(const void* data, size_t length) {
    const uint8_t* p = static_cast<const uint8_t*>(data);
    size_t used = size_t(fLength % 64);
    fLength += length;
    if (used) {
        size_t take = 64 - used < length ? 64 - used : length;
        std::memcpy(fBuffer + used, p, take);
        p += take;
        length -= take;
        if (used + take < 64) return;
        Transform(fBuffer);
    }
    for (; length >= 64; p += 64, length -= 64) Transform(p);
    if (length) std::memcpy(fBuffer, p, length);
}

TKMD5::Digest TKMD5::Final() {
    uint64_t bits = fLength * 8;
    static const uint8_t kPad[64] = {0x80};
    size_t used = size_t(fLength % 64);
    Update(kPad, used < 56 ? 56 - used : 120 - used);
    uint8_t lengthBytes[8];
    for (int i = 0; i < 8; ++i) lengthBytes[i] = uint8_t(bits >> (8 * i));
    Update(lengthBytes, 8);
    Digest digest;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) digest[size_t(4 * i + j)] = uint8_t(fState[i] >> (8 * j));
    Reset();
    return digest;
}

TKMD5::Digest TKMD5::Of(const void* data, size_t length) {
    TKMD5 md5;
    md5.Update(data, length);
    return md5.Final();
}
