// The carried-over tags by field.
#include "Metadata.h"

#include <cstring>
#include <string>

namespace host {

std::vector<uint8_t> MetadataOf(const ImageShape& shape, MetadataField field) {
    switch (field) {
        case MetadataField::Description: return std::vector<uint8_t>(shape.description.begin(), shape.description.end());
        case MetadataField::Xmp: return shape.xmp;
        case MetadataField::Iptc: return shape.iptc;
        case MetadataField::Photoshop: return shape.photoshop;
    }
    return {};
}

void SetMetadata(ImageShape& shape, MetadataField field, const uint8_t* data, size_t size) {
    switch (field) {
        case MetadataField::Description:
            shape.description = size ? std::string(reinterpret_cast<const char*>(data), size) : std::string();
            break;
        case MetadataField::Xmp: shape.xmp.assign(data, data + size); break;
        case MetadataField::Iptc: shape.iptc.assign(data, data + size); break;
        case MetadataField::Photoshop: shape.photoshop.assign(data, data + size); break;
    }
}

const MetadataCarrier* FindCarrier(const MetadataCarrier* carriers, size_t count, int code, const void* named,
                                   size_t size) {
    for (size_t i = 0; i < count; ++i) {
        const MetadataCarrier& c = carriers[i];
        if (c.code == code && size >= c.keyLength && (c.keyLength == 0 || std::memcmp(named, c.key, c.keyLength) == 0))
            return &c;
    }
    return nullptr;
}

}  // namespace host
