// The tags a job carries over untouched (a description, XMP, IPTC, Photoshop's resources), by
// field, with each format's table of where it keeps them: readers and writers of every format
// walk their table instead of a branch per tag.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Image.h"

namespace host {

enum class MetadataField { Description, Xmp, Iptc, Photoshop };

// Where a format keeps one field: its tag or marker code, and the key or header that names it
// there (`keyLength` bytes, the terminating zero counted when the key must match whole).
struct MetadataCarrier {
    int code;
    const char* key;
    size_t keyLength;
    MetadataField field;
};

// The field's bytes (a description's text without a terminator), empty when absent.
std::vector<uint8_t> MetadataOf(const ImageShape& shape, MetadataField field);
void SetMetadata(ImageShape& shape, MetadataField field, const uint8_t* data, size_t size);

// The carrier of `code` whose key begins the `size` bytes at `named`, or null.
const MetadataCarrier* FindCarrier(const MetadataCarrier* carriers, size_t count, int code, const void* named,
                                   size_t size);

template <size_t N>
const MetadataCarrier* FindCarrier(const MetadataCarrier (&carriers)[N], int code, const void* named, size_t size) {
    return FindCarrier(carriers, N, code, named, size);
}

}  // namespace host
