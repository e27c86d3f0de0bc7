// Checked readers and writers of ordered binary values. Any read that cannot be completed raises
// EOFReached (8), and sizes taken from a file are compared with the bytes really left before
// anything is allocated, so truncated or hostile files fail cleanly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "io/TKStream.h"

class TKBinaryReader {
public:
    // The stream is borrowed and must outlive the reader.
    TKBinaryReader(TKStream& stream, TKByteOrder order) : fStream(stream), fOrder(order) {}

    TKByteOrder Order() const { return fOrder; }
    void SetOrder(TKByteOrder order) { fOrder = order; }
    TKStream& Stream() const { return fStream; }

    uint8_t U8() { return Get<uint8_t>(); }
    int8_t S8() { return Get<int8_t>(); }
    uint16_t U16() { return Get<uint16_t>(); }
    int16_t S16() { return Get<int16_t>(); }
    uint32_t U32() { return Get<uint32_t>(); }
    int32_t S32() { return Get<int32_t>(); }
    uint64_t U64() { return Get<uint64_t>(); }
    int64_t S64() { return Get<int64_t>(); }
    float F32();
    double F64();
    // Fixed-point numbers as the ICC format stores them.
    double S15Fixed16() { return S32() / 65536.0; }
    double U16Fixed16() { return U32() / 65536.0; }
    double U8Fixed8() { return U16() / 256.0; }

    // Any integer type in the reader's order.
    template <class T>
    T Get() {
        static_assert(std::is_integral<T>::value, "integers only");
        uint8_t bytes[sizeof(T)];
        Bytes(bytes, sizeof(T));
        using U = std::make_unsigned_t<T>;
        return static_cast<T>(TKLoadOrdered<U>(bytes, fOrder));
    }
    // `count` integers in the reader's order; the room must be there.
    template <class T>
    void Values(T* destination, size_t count) {
        static_assert(std::is_integral<T>::value, "integers only");
        RequireAvailable(uint64_t(count) * sizeof(T));
        Bytes(destination, count * sizeof(T));
        if (fOrder != TKHostByteOrder() && sizeof(T) > 1)
            for (size_t i = 0; i < count; ++i) destination[i] = TKSwapBytes(destination[i]);
    }
    // As Values, into a new vector; the count is checked before the allocation.
    template <class T>
    std::vector<T> ValueArray(uint64_t count) {
        RequireAvailable(count * sizeof(T));
        std::vector<T> values(static_cast<size_t>(count));
        Values(values.data(), values.size());
        return values;
    }

    // Exactly `count` bytes (null skips them).
    void Bytes(void* destination, size_t count);
    // A block of `count` bytes, checked against what is left before allocating.
    std::vector<uint8_t> Block(uint64_t count);
    void Skip(uint64_t count);

    int64_t Position() { return fStream.Tell(); }
    void SeekTo(int64_t position) { fStream.Seek(position, kSeekStart); }
    // Bytes left, or -1 when the stream cannot tell.
    int64_t Remaining() { return TKStreamRemaining(fStream); }
    // Raises EOFReached unless `count` bytes are left (streams that cannot tell are trusted
    // here and checked on reading).
    void RequireAvailable(uint64_t count);

private:
    TKStream& fStream;
    TKByteOrder fOrder;
};

class TKBinaryWriter {
public:
    TKBinaryWriter(TKStream& stream, TKByteOrder order) : fStream(stream), fOrder(order) {}

    TKByteOrder Order() const { return fOrder; }
    void SetOrder(TKByteOrder order) { fOrder = order; }
    TKStream& Stream() const { return fStream; }

    void U8(uint8_t v) { Put(v); }
    void S8(int8_t v) { Put(v); }
    void U16(uint16_t v) { Put(v); }
    void S16(int16_t v) { Put(v); }
    void U32(uint32_t v) { Put(v); }
    void S32(int32_t v) { Put(v); }
    void U64(uint64_t v) { Put(v); }
    void S64(int64_t v) { Put(v); }
    void F32(float v);
    void F64(double v);

    template <class T>
    void Put(T value) {
        static_assert(std::is_integral<T>::value, "integers only");
        uint8_t bytes[sizeof(T)];
        using U = std::make_unsigned_t<T>;
        TKStoreOrdered<U>(bytes, static_cast<U>(value), fOrder);
        fStream.Write(bytes, sizeof(T));
    }
    template <class T>
    void Values(const T* values, size_t count) {
        for (size_t i = 0; i < count; ++i) Put(values[i]);
    }
    void Bytes(const void* source, size_t count) { fStream.Write(source, count); }
    void Zeros(size_t count);

private:
    TKStream& fStream;
    TKByteOrder fOrder;
};
