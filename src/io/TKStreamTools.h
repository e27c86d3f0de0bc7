// Free helpers over any stream: ordered integers, blocks, Pascal and UTF-16 strings, and text.
// Short reads: with `strict` they raise FormatErr; without it the missing bytes read as zero.
// For parsers of untrusted files that want every short read to fail, see TKBinaryReader.
#pragma once

#include <cstddef>
#include <cstdint>

#include "io/TKStream.h"

int8_t ReadInt8(TKStream& stream, bool strict);
int16_t ReadInt16(TKStream& stream, bool strict, int32_t byteOrder);
int32_t ReadInt32(TKStream& stream, bool strict, int32_t byteOrder);
int64_t ReadInt64(TKStream& stream, bool strict, int32_t byteOrder);

void WriteInt8(TKStream& stream, int8_t value);
void WriteInt16(TKStream& stream, int16_t value, int32_t byteOrder);
void WriteInt32(TKStream& stream, int32_t value, int32_t byteOrder);
void WriteInt64(TKStream& stream, int64_t value, int32_t byteOrder);

// Reads `count` bytes into `destination` (null skips them); returns the number read.
size_t ReadBlock(TKStream& stream, size_t count, void* destination, bool strict);

// A length byte, then that many bytes.
TKString ReadPascalString(TKStream& stream, bool strict);
// Raises ArgErr for a string longer than 255 bytes, which the length byte cannot hold.
void WritePascalString(TKStream& stream, const TKString& text);

// A 32-bit unit count, then that many UTF-16 units. Trailing zero units are dropped and any
// zero unit left becomes a blank.
TKString ReadUTF16String(TKStream& stream, bool strict, int32_t byteOrder);
// Writes the unit count and the units; `terminated` includes the final zero unit.
void WriteUTF16String(TKStream& stream, const TKString& text, bool terminated, int32_t byteOrder);

// Text output through Write, with no terminating zero. A null stream is ignored.
void TKWriteText(TKStream* stream, const TKString& text);
void TKWriteText(TKStream* stream, const char* text);
void TKWriteText(TKStream* stream, double value);  // "%7.2f"
void TKWriteText(TKStream* stream, int value);
void TKWriteText(TKStream* stream, long value);
void TKWriteText(TKStream* stream, long long value);
void TKWriteText(TKStream* stream, unsigned value);
void TKWriteText(TKStream* stream, unsigned long value);
void TKWriteText(TKStream* stream, unsigned long long value);
// printf-like; the formatted text is cut at 4094 characters.
void TKWriteFormat(TKStream* stream, const char* format, ...) __attribute__((format(printf, 2, 3)));
