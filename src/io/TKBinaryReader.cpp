// Checked binary reading: short data raises EOFReached.
#include "io/TKBinaryReader.h"

#include <algorithm>
#include <cstring>

#include "io/TKStreamTools.h"

float TKBinaryReader::F32() {
    const uint32_t bits = U32();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

double TKBinaryReader::F64() {
    const uint64_t bits = U64();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void TKBinaryReader::Bytes(void* destination, size_t count) {
    if (ReadBlock(fStream, count, destination, false) != count) TKThrow(EOFReached);
}

void TKBinaryReader::RequireAvailable(uint64_t count) {
    const int64_t left = Remaining();
    if (left >= 0 && count > uint64_t(left)) TKThrow(EOFReached);
}

std::vector<uint8_t> TKBinaryReader::Block(uint64_t count) {
    RequireAvailable(count);
    if (count > SIZE_MAX / 2) TKThrow(MemFullErr);
    std::vector<uint8_t> block;
    // A stream that cannot tell its length gets no trust: the block grows with what arrives.
    const size_t kStep = 1 << 20;
    while (block.size() < count) {
        const size_t take = size_t(std::min<uint64_t>(kStep, count - block.size()));
        const size_t at = block.size();
        block.resize(at + take);
        Bytes(block.data() + at, take);
    }
    return block;
}

void TKBinaryReader::Skip(uint64_t count) {
    RequireAvailable(count);
    uint8_t scratch[4096];
    while (count > 0) {
        const size_t take = size_t(std::min<uint64_t>(sizeof scratch, count));
        Bytes(scratch, take);
        count -= take;
    }
}

void TKBinaryWriter::F32(float v) {
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    U32(bits);
}

void TKBinaryWriter::F64(double v) {
    uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    U64(bits);
}

void TKBinaryWriter::Zeros(size_t count) {
    static const uint8_t kZeros[256] = {};
    while (count > 0) {
        const size_t take = std::min(count, sizeof kZeros);
        fStream.Write(kZeros, take);
        count -= take;
    }
}
