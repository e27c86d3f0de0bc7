// Helpers of the numeric tests.
#pragma once

#include <cstdint>

// A colour-type signature from four characters, first character in the top byte.
constexpr int32_t Sig(const char (&s)[5]) {
    return int32_t(uint32_t(uint8_t(s[0])) << 24 | uint32_t(uint8_t(s[1])) << 16 | uint32_t(uint8_t(s[2])) << 8 |
                   uint32_t(uint8_t(s[3])));
}
