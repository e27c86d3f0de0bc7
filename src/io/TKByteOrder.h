// Byte orders of data on disk and in memory, and the swaps between them.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

// The order in which multi-byte values stand in a stream. ICC profiles are big-endian,
// link files little-endian.
enum TKByteOrder : int32_t { kBigEndian = 0, kLittleEndian = 1 };

constexpr TKByteOrder TKHostByteOrder() {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return kBigEndian;
#else
    return kLittleEndian;
#endif
}

// Reverses the bytes of an integer.
template <class T>
constexpr T TKSwapBytes(T value) {
    static_assert(std::is_integral<T>::value, "integers only");
    using U = std::make_unsigned_t<T>;
    U in = static_cast<U>(value);
    U out = 0;
    for (size_t i = 0; i < sizeof(T); ++i) {
        out = static_cast<U>((out << 8) | (in & 0xFFu));
        in = static_cast<U>(in >> 8);
    }
    return static_cast<T>(out);
}

// Converts between host order and `order`; the same call serves both directions.
template <class T>
constexpr T TKOrderBytes(T value, int32_t order) {
    return order == TKHostByteOrder() ? value : TKSwapBytes(value);
}

// Decodes an unsigned value of sizeof(T) bytes stored in `order` from raw bytes.
template <class T>
inline T TKLoadOrdered(const uint8_t* bytes, int32_t order) {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return TKOrderBytes(value, order);
}

// Encodes a value into raw bytes in `order`.
template <class T>
inline void TKStoreOrdered(uint8_t* bytes, T value, int32_t order) {
    value = TKOrderBytes(value, order);
    std::memcpy(bytes, &value, sizeof(T));
}
