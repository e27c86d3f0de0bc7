// "psid": parsing after every new block, rebuilding after every change, swapping of the
// embedded "mluc" bodies by the rules of the mluc tag itself.
#include "icc/TKICCSequenceIdentifierTag.h"

#include <cstring>

#include "foundation/TKError.h"
#include "icc/TKICCProfileBasic.h"
#include "io/TKStreamTools.h"

namespace {

// One record's place in the block: offsets in the table count from the tag's start.
struct RecordPlace {
    uint64_t start;     // of the record in the block
    uint64_t bodySize;  // of the embedded mluc body
};

}  // namespace

TKICCSequenceIdentifierTag::TKICCSequenceIdentifierTag(uint32_t signature)
    : TKICCTag(TKICCSig("psid"), signature) {
    Rebuild();
}

void TKICCSequenceIdentifierTag::BlockChanged() {
    fEntries.clear();
    fParsed = false;
    if (fData.empty()) {
        fParsed = true;
        return;
    }
    try {
        uint64_t count = FieldU32(0);
        if (count > uint64_t(kMaxEntries)) return;
        std::vector<Entry> entries;
        for (uint64_t i = 0; i < count; ++i) {
            uint64_t offset = FieldU32(4 + 8 * i);
            uint64_t size = FieldU32(8 + 8 * i);
            if (offset < 8 || size < 24) return;
            RequireBlock(offset - 8, size);
            Entry entry;
            std::memcpy(entry.id.data(), fData.data() + offset - 8, 16);
            entry.description = TKMakeRef<TKICCMLUCTag>(TKICCSig("psid"));
            entry.description->SetData(fData.data() + offset - 8 + 24, uint32_t(size - 24), fByteOrder);
            entries.push_back(std::move(entry));
        }
        fEntries = std::move(entries);
        fParsed = true;
    } catch (const TKError&) {
        fEntries.clear();
    }
}

void TKICCSequenceIdentifierTag::RequireParsed() const {
    if (!fParsed) TKThrow(InvalidICCTag);
}

bool TKICCSequenceIdentifierTag::IsValid() const { return fParsed && TKICCTag::IsValid(); }

int32_t TKICCSequenceIdentifierTag::GetCount() const {
    RequireParsed();
    return int32_t(fEntries.size());
}

TKICCSequenceIdentifierTag::ProfileID TKICCSequenceIdentifierTag::GetID(int32_t index) const {
    RequireParsed();
    if (index < 0 || size_t(index) >= fEntries.size()) TKThrow(IndexError);
    return fEntries[size_t(index)].id;
}

TKRefPtr<TKICCMLUCTag> TKICCSequenceIdentifierTag::GetDescription(int32_t index) const {
    RequireParsed();
    if (index < 0 || size_t(index) >= fEntries.size()) TKThrow(IndexError);
    return fEntries[size_t(index)].description;
}

void TKICCSequenceIdentifierTag::Append(const ProfileID& id, TKRefPtr<TKICCMLUCTag> description) {
    RequireParsed();
    if (fEntries.size() >= size_t(kMaxEntries)) TKThrow(IndexError);
    fEntries.push_back(Entry{id, std::move(description)});
    Rebuild();
}

void TKICCSequenceIdentifierTag::AddEntry(const ProfileID& id, const TKString& description) {
    auto mluc = TKMakeRef<TKICCMLUCTag>(TKICCSig("psid"));
    mluc->SetText(description);
    Append(id, mluc);
}

void TKICCSequenceIdentifierTag::AddProfile(TKICCProfileBasic& profile) {
    ProfileID id{};
    profile.GetProfileID(id.data());
    auto mluc = TKMakeRef<TKICCMLUCTag>(TKICCSig("psid"));
    TKICCTag* desc = profile.GetTag(TKICCSig("desc"), false);
    if (desc && desc->GetType() == TKICCSig("mluc")) {
        uint32_t size = 0;
        const uint8_t* data = desc->GetData(&size, kBigEndian);
        mluc->SetData(data, size, kBigEndian);
    } else {
        mluc->SetText(profile.GetName());
    }
    Append(id, mluc);
}

void TKICCSequenceIdentifierTag::RemoveAll() {
    fEntries.clear();
    fParsed = true;
    Rebuild();
}

void TKICCSequenceIdentifierTag::Rebuild() {
    std::vector<uint8_t> block;
    auto putU32 = [&block](uint64_t at, uint32_t v) { TKStoreOrdered<uint32_t>(block.data() + at, v, kBigEndian); };
    uint64_t count = fEntries.size();
    block.resize(4 + 8 * count, 0);
    putU32(0, uint32_t(count));
    for (uint64_t i = 0; i < count; ++i) {
        uint32_t bodySize = 0;
        const uint8_t* body = fEntries[i].description->GetData(&bodySize, kBigEndian);
        uint64_t start = block.size();
        uint64_t padded = (uint64_t(bodySize) + 3) & ~uint64_t(3);
        block.resize(start + 24 + padded, 0);
        std::memcpy(block.data() + start, fEntries[i].id.data(), 16);
        TKStoreOrdered<uint32_t>(block.data() + start + 16, TKICCSig("mluc"), kBigEndian);
        if (bodySize) std::memcpy(block.data() + start + 24, body, bodySize);
        putU32(4 + 8 * i, uint32_t(start + 8));
        putU32(8 + 8 * i, uint32_t(24 + bodySize));
    }
    std::vector<Entry> keep = std::move(fEntries);
    SetData(block.data(), uint32_t(block.size()), kBigEndian);
    fEntries = std::move(keep);
}

void TKICCSequenceIdentifierTag::SwapBytes() {
    if (fData.size() >= 4) {
        // First every embedded body is swapped into a copy, so that a malformed one fails the
        // whole swap before anything in the block has changed.
        uint64_t count = FieldU32(0);
        RequireBlock(4, 8 * count);
        std::vector<RecordPlace> places;
        std::vector<std::vector<uint8_t>> swapped;
        for (uint64_t i = 0; i < count; ++i) {
            uint64_t offset = FieldU32(4 + 8 * i);
            uint64_t size = FieldU32(8 + 8 * i);
            if (offset < 8 || size < 24) TKThrow(InvalidICCTag);
            RequireBlock(offset - 8, size);
            RecordPlace place{offset - 8, size - 24};
            TKICCMLUCTag body;
            body.SetData(fData.data() + place.start + 24, uint32_t(place.bodySize), fByteOrder);
            uint32_t n = 0;
            const uint8_t* bytes = body.GetData(&n, fByteOrder == kBigEndian ? kLittleEndian : kBigEndian);
            swapped.emplace_back(bytes, bytes + n);
            places.push_back(place);
        }
        for (size_t i = 0; i < places.size(); ++i)
            std::memcpy(fData.data() + places[i].start + 24, swapped[i].data(), swapped[i].size());
        SwapU32s(0, 1 + 2 * count);
    }
    FlipOrder();
}

void TKICCSequenceIdentifierTag::Dump(TKStream& stream) {
    TKWriteFormat(&stream, "Number of profiles identifiers: %d\n", int(GetCount()));
    for (const Entry& entry : fEntries) {
        TKWriteText(&stream, "id: ");
        for (uint8_t b : entry.id) TKWriteFormat(&stream, "%02x", unsigned(b));
        TKWriteText(&stream, "\ndescription: ");
        entry.description->Dump(stream);
        TKWriteText(&stream, "\n");
    }
}
