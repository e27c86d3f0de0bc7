// TKICCProfileBasic: tag list, reading at three levels, writing with shared tag data, sorting,
// offsets, text tag adaptation and the profile ID.
#include "icc/TKICCProfileBasic.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "foundation/TKError.h"
#include "icc/TKICCColorantTags.h"
#include "icc/TKICCTextTags.h"
#include "icc/TKMD5.h"
#include "io/TKFile.h"
#include "io/TKFileSpec.h"
#include "io/TKStream.h"
#include "io/TKStreamTools.h"

namespace {

constexpr uint32_t kMaxTags = 1000;
// Tag bodies may share data, but all of them together may not claim more than this many
// times the bytes of the stream: a hostile table cannot make us allocate without limit.
constexpr uint64_t kMaxBodyFactor = 64;

uint32_t LoadU32(const uint8_t* p) { return TKLoadOrdered<uint32_t>(p, kBigEndian); }
uint16_t LoadU16(const uint8_t* p) { return TKLoadOrdered<uint16_t>(p, kBigEndian); }
void StoreU32(uint8_t* p, uint32_t v) { TKStoreOrdered<uint32_t>(p, v, kBigEndian); }
void StoreU16(uint8_t* p, uint16_t v) { TKStoreOrdered<uint16_t>(p, v, kBigEndian); }

// The place of a tag signature in the preferred order of a sorted profile.
int32_t SortRank(uint32_t signature) {
    static constexpr uint32_t kOrder[] = {
        TKICCSig("desc"), TKICCSig("cprt"), TKICCSig("wtpt"), TKICCSig("bkpt"), TKICCSig("kTRC"),
        TKICCSig("rXYZ"), TKICCSig("gXYZ"), TKICCSig("bXYZ"), TKICCSig("rTRC"), TKICCSig("gTRC"),
        TKICCSig("bTRC"), TKICCSig("A2B0"), TKICCSig("A2B1"), TKICCSig("A2B2"), TKICCSig("B2A0"),
        TKICCSig("B2A1"), TKICCSig("B2A2"), TKICCSig("gamt")};
    const uint32_t* end = std::end(kOrder);
    return int32_t(std::find(std::begin(kOrder), end, signature) - std::begin(kOrder));
}

TKString SigText(uint32_t signature) { return TKString::FromSignature(signature); }

// Value of a "Key:" line of the header text, from the first tab behind the key to the line end.
bool HeaderValue(const TKString& text, const char* key, TKString& value) {
    int32_t at = text.Find(key);
    if (at < 0) return false;
    int32_t tab = text.FindChar('\t', at + int32_t(std::strlen(key)));
    if (tab < 0) return false;
    int32_t end = text.FindChar('\n', tab);
    value = text.Mid(tab + 1, end < 0 ? -1 : end - tab - 1);
    value.Trim("\r");
    return !value.IsEmpty();
}

}  // namespace

// --- Header -----------------------------------------------------------------------------------

void TKICCHeader::ToBytes(uint8_t out[kBytes]) const {
    std::memset(out, 0, kBytes);
    StoreU32(out + 0, size);
    StoreU32(out + 4, cmm);
    StoreU32(out + 8, version);
    StoreU32(out + 12, deviceClass);
    StoreU32(out + 16, colorSpace);
    StoreU32(out + 20, pcs);
    for (int i = 0; i < 6; ++i) StoreU16(out + 24 + 2 * i, date[i]);
    StoreU32(out + 36, magic);
    StoreU32(out + 40, platform);
    StoreU32(out + 44, flags);
    StoreU32(out + 48, manufacturer);
    StoreU32(out + 52, model);
    StoreU32(out + 56, attributes[0]);
    StoreU32(out + 60, attributes[1]);
    StoreU32(out + 64, renderingIntent);
    for (int i = 0; i < 3; ++i) StoreU32(out + 68 + 4 * i, uint32_t(illuminant[i]));
    StoreU32(out + 80, creator);
    std::memcpy(out + 84, profileID, 16);
    std::memcpy(out + 100, reserved, 28);
}

void TKICCHeader::FromBytes(const uint8_t in[kBytes]) {
    size = LoadU32(in + 0);
    cmm = LoadU32(in + 4);
    version = LoadU32(in + 8);
    deviceClass = LoadU32(in + 12);
    colorSpace = LoadU32(in + 16);
    pcs = LoadU32(in + 20);
    for (int i = 0; i < 6; ++i) date[i] = LoadU16(in + 24 + 2 * i);
    magic = LoadU32(in + 36);
    platform = LoadU32(in + 40);
    flags = LoadU32(in + 44);
    manufacturer = LoadU32(in + 48);
    model = LoadU32(in + 52);
    attributes[0] = LoadU32(in + 56);
    attributes[1] = LoadU32(in + 60);
    renderingIntent = LoadU32(in + 64);
    for (int i = 0; i < 3; ++i) illuminant[i] = int32_t(LoadU32(in + 68 + 4 * i));
    creator = LoadU32(in + 80);
    std::memcpy(profileID, in + 84, 16);
    std::memcpy(reserved, in + 100, 28);
}

// --- Construction and the tag list ------------------------------------------------------------

TKICCProfileBasic::TKICCProfileBasic() { SetDateNow(); }

TKICCProfileBasic::TKICCProfileBasic(const TKICCProfileBasic& other)
    : TKObject(other), fHeader(other.fHeader), fTags(other.fTags) {}

TKICCProfileBasic& TKICCProfileBasic::operator=(const TKICCProfileBasic& other) {
    if (this != &other) {
        TKObject::operator=(other);
        fHeader = other.fHeader;
        fTags = other.fTags;
    }
    return *this;
}

TKICCProfileBasic::~TKICCProfileBasic() noexcept = default;

TKString TKICCProfileBasic::GetDescription() { return GetTagText(TKICCSig("desc")); }

void TKICCProfileBasic::AddTag(TKICCTag* tag, bool keepCallerReference) {
    if (!tag) return;
    TKRefPtr<TKICCTag> held(tag, keepCallerReference);
    RemoveTag(tag->GetSignature());
    fTags.push_back(std::move(held));
}

TKICCTag* TKICCProfileBasic::GetTag(uint32_t signature, bool validate) const {
    for (const auto& tag : fTags) {
        if (tag->GetSignature() != signature) continue;
        if (validate && !tag->IsValid()) return nullptr;
        return tag.Get();
    }
    return nullptr;
}

TKICCTag* TKICCProfileBasic::GetTagAt(int32_t index) const {
    if (index < 0 || size_t(index) >= fTags.size()) TKThrow(IndexError);
    return fTags[size_t(index)].Get();
}

TKString TKICCProfileBasic::GetTagText(uint32_t signature) const {
    TKICCTag* tag = GetTag(signature, true);
    if (!tag) return TKString();
    if (auto* text = TKCast<TKICCTextTag>(tag, "TKICCTextTag")) return text->GetText();
    if (auto* desc = TKCast<TKICCDescriptionTag>(tag, "TKICCDescriptionTag")) return desc->GetText();
    if (auto* mluc = TKCast<TKICCMLUCTag>(tag, "TKICCMLUCTag")) return mluc->GetText();
    if (auto* csed = TKCast<TKCSEDTag>(tag, "TKCSEDTag")) return csed->GetText();
    return TKString();
}

bool TKICCProfileBasic::SetTagText(uint32_t signature, const TKString& text) {
    TKICCTag* tag = GetTag(signature, false);
    if (!tag) return false;
    if (auto* t = TKCast<TKICCTextTag>(tag, "TKICCTextTag"))
        t->SetText(text);
    else if (auto* desc = TKCast<TKICCDescriptionTag>(tag, "TKICCDescriptionTag"))
        desc->SetText(text);
    else if (auto* mluc = TKCast<TKICCMLUCTag>(tag, "TKICCMLUCTag"))
        mluc->SetText(text);
    else
        return false;
    // Its size changed: the tag needs a new place when the profile is written.
    tag->SetOffset(0);
    return true;
}

void TKICCProfileBasic::RemoveAllTags() { fTags.clear(); }

void TKICCProfileBasic::RemoveTag(uint32_t signature) {
    for (auto it = fTags.begin(); it != fTags.end(); ++it) {
        if ((*it)->GetSignature() == signature) {
            fTags.erase(it);
            return;
        }
    }
}

void TKICCProfileBasic::RemoveTags(const std::vector<uint32_t>& signatures, bool inList) {
    for (size_t i = fTags.size(); i-- > 0;) {
        bool listed = std::find(signatures.begin(), signatures.end(), fTags[i]->GetSignature()) != signatures.end();
        if (listed == inList) fTags.erase(fTags.begin() + std::ptrdiff_t(i));
    }
}

void TKICCProfileBasic::ReplaceTagAt(size_t index, TKRefPtr<TKICCTag> tag) { fTags[index] = std::move(tag); }

// --- Reading ----------------------------------------------------------------------------------

uint32_t TKICCProfileBasic::TranslateOldSpace(uint32_t space) {
    // "MCH1".."MCH9", then "MCH@" and "MCHA".."MCHE" for 10 to 15 channels: the characters
    // between "9" and "@" are skipped, as old files have them.
    if ((space & 0xFFFFFF00u) != (TKICCSig("MCH1") & 0xFFFFFF00u)) return space;
    char c = char(space & 0xFF);
    int channels = 0;
    if (c >= '1' && c <= '9')
        channels = c - '0';
    else if (c >= '@' && c <= 'E')
        channels = 10 + (c - '@');
    else
        return space;
    char digit = char(channels < 10 ? '0' + channels : 'A' + channels - 10);
    return (uint32_t(uint8_t(digit)) << 24) | (TKICCSig("1CLR") & 0x00FFFFFFu);
}

void TKICCProfileBasic::Read(TKStream& stream, int32_t level) {
    int64_t base = stream.Tell();
    RemoveAllTags();
    uint8_t bytes[TKICCHeader::kBytes];
    size_t got = ReadBlock(stream, sizeof bytes, bytes, false);
    TKString streamName = stream.GetName();
    if (got < sizeof bytes || LoadU32(bytes + 36) != TKICCSig("acsp")) TKThrowMsg(FormatErr, streamName.CString());
    fHeader.FromBytes(bytes);
    SetName(streamName + TKString::Format("\tPos:%ld", long(base)));
    fHeader.colorSpace = TranslateOldSpace(fHeader.colorSpace);
    fHeader.pcs = TranslateOldSpace(fHeader.pcs);
    if (level <= 0) return;

    uint32_t count = uint32_t(ReadInt32(stream, true, kBigEndian));
    if (count > kMaxTags) TKThrowMsg(FormatErr, streamName.CString());
    // What really is there, for the checks of every size and offset from the table.
    int64_t remaining = TKStreamRemaining(stream);
    int64_t end = remaining >= 0 ? stream.Tell() + remaining : -1;
    if (end >= 0 && int64_t(count) * 12 > remaining) TKThrowMsg(FormatErr, streamName.CString());
    std::vector<uint8_t> table(size_t(count) * 12);
    ReadBlock(stream, table.size(), table.data(), true);
    int64_t behindTable = stream.Tell();

    uint64_t claimed = 0;
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t signature = LoadU32(&table[12 * i]);
        uint32_t offset = LoadU32(&table[12 * i + 4]);
        uint32_t size = LoadU32(&table[12 * i + 8]);
        claimed += size;
        if (end >= 0) {
            // The type is read at the offset from the stream's start, the body at base + offset.
            uint64_t reach = uint64_t(offset) + std::max<uint64_t>(size, 4);
            bool outside = reach > uint64_t(end) || (level >= 2 && uint64_t(base) + offset + size > uint64_t(end));
            if (outside || claimed > kMaxBodyFactor * uint64_t(end) + 4096)
                TKThrowMsg(FormatErr, (TKString("Tag ") + SigText(signature) + " outside " + streamName).CString());
        }
        stream.Seek(offset, kSeekStart);
        uint32_t type = uint32_t(ReadInt32(stream, true, kBigEndian));
        AddTag(NewTableTag(type, signature, offset, size).Get(), false);
    }
    stream.Seek(behindTable, kSeekStart);
    if (level < 2) return;
    for (size_t i = 0; i < fTags.size(); ++i) {
        TKICCTag* tag = fTags[i].Get();
        stream.Seek(base + tag->GetOffset(), kSeekStart);
        ReadTag(tag, stream);
        // The class was chosen by the type at the offset from the stream's start; when the body
        // behind `base` names another type, the tag is made again for that type, so that no
        // object carries a type its class cannot interpret.
        TKRefPtr<TKICCTag> fitting = NewTableTag(tag->GetType(), tag->GetSignature(), tag->GetOffset(), tag->GetSize());
        if (TKClassNameIs(fitting->ClassName(), tag->ClassName())) continue;
        stream.Seek(base + tag->GetOffset(), kSeekStart);
        ReadTag(fitting.Get(), stream);
        ReplaceTagAt(i, fitting);
    }
}

TKRefPtr<TKICCTag> TKICCProfileBasic::NewTableTag(uint32_t type, uint32_t signature, uint32_t offset, uint32_t size) {
    TKRefPtr<TKICCTag> tag = TKICCTag::Create(type, signature);
    // The factory binds some signatures to a class whatever type they claim ("chad"): the
    // named-colour spaces go only to a tag that is one.
    if (auto* named = TKCast<TKNamedColor2TypeTag>(tag.Get(), "TKNamedColor2TypeTag"))
        named->SetSpaces(fHeader.colorSpace, fHeader.pcs);
    tag->SetOffset(offset);
    tag->SetSize(size);
    return tag;
}

void TKICCProfileBasic::ReadFile(const TKFileSpec& spec, int32_t level) {
    TKFile file(spec, TKFile::kRead);
    file.Open(TKFile::kRead);
    RemoveAllTags();
    Read(file, level);
    file.Close();
}

void TKICCProfileBasic::ReadTag(TKICCTag* tag, TKStream& stream) {
    if (tag) tag->Read(stream);
}

// --- Writing ----------------------------------------------------------------------------------

void TKICCProfileBasic::Write(TKStream& stream, int32_t versionFlags, bool sort, bool recalculate) {
    if (sort && !recalculate) TKThrow(UndefProc);
    AdaptTextTags(versionFlags);
    for (const auto& tag : fTags)
        if (tag->GetOffset() == 0) recalculate = true;
    if (sort) SortTags();
    if (recalculate) CalculateOffsets();

    uint64_t total = 132 + 12 * uint64_t(fTags.size());
    for (size_t i = 0; i < fTags.size(); ++i) {
        // Tags with the offset of an earlier tag share its data and take no room of their own.
        bool shared = false;
        for (size_t j = 0; j < i && !shared; ++j) shared = fTags[j]->GetOffset() == fTags[i]->GetOffset();
        if (!shared) total += fTags[i]->GetPaddedSize();
    }
    TKICCHeader header = fHeader;
    header.size = uint32_t(total);
    std::memset(header.profileID, 0, sizeof header.profileID);
    uint8_t bytes[TKICCHeader::kBytes];
    header.ToBytes(bytes);
    stream.Write(bytes, sizeof bytes);
    WriteInt32(stream, int32_t(fTags.size()), kBigEndian);
    for (const auto& tag : fTags) tag->WriteTableEntry(stream);

    // Bodies in ascending order of offset; equal offsets are written once.
    uint32_t last = 0;
    for (;;) {
        TKICCTag* next = nullptr;
        for (const auto& tag : fTags)
            if (tag->GetOffset() > last && (!next || tag->GetOffset() < next->GetOffset())) next = tag.Get();
        if (!next) break;
        WriteTag(next, stream);
        last = next->GetOffset();
    }
}

void TKICCProfileBasic::WriteTag(TKICCTag* tag, TKStream& stream) {
    if (tag) tag->Write(stream);
}

void TKICCProfileBasic::WriteFile(const TKFileSpec& spec, int32_t versionFlags, bool sort, bool recalculate) {
    {
        TKFile file(spec, TKFile::kWrite);
        file.Open(TKFile::kWrite);
        Write(file, versionFlags, sort, recalculate);
        file.Close();
    }
    if (fHeader.version >= 0x04000000) {
        uint8_t id[16];
        ComputeProfileID(spec, id, nullptr);
        TKFile file(spec, TKFile::kReadWrite);
        file.Open(TKFile::kReadWrite);
        file.Seek(84, kSeekStart);
        file.Write(id, sizeof id);
        file.Close();
        SetProfileID(id);
    }
    // Registering with a system colour service is left out: this platform has none.
}

void TKICCProfileBasic::CalculateOffsets() {
    uint64_t offset = 132 + 12 * uint64_t(fTags.size());
    for (const auto& tag : fTags) {
        tag->SetOffset(uint32_t(offset));
        offset += tag->GetPaddedSize();
    }
    fHeader.size = uint32_t(offset);
}

void TKICCProfileBasic::SortTags() {
    for (size_t i = 0; i + 1 < fTags.size(); ++i)
        for (size_t j = i + 1; j < fTags.size(); ++j)
            if (SortRank(fTags[j]->GetSignature()) < SortRank(fTags[i]->GetSignature())) std::swap(fTags[i], fTags[j]);
}

void TKICCProfileBasic::AdaptTextTags(int32_t versionFlags) {
    if (versionFlags & kICCWriteVersion2)
        fHeader.version = 0x02400000;
    else if (versionFlags & kICCWriteVersion4)
        fHeader.version = 0x04200000;
    bool v4 = fHeader.version >= 0x04000000;
    struct Rule {
        uint32_t signature;
        uint32_t oldType;  // the version 2 type
    };
    static constexpr Rule kRules[] = {{TKICCSig("desc"), TKICCSig("desc")}, {TKICCSig("cprt"), TKICCSig("text")}};
    for (const Rule& rule : kRules) {
        for (size_t i = 0; i < fTags.size(); ++i) {
            TKICCTag* tag = fTags[i].Get();
            if (tag->GetSignature() != rule.signature) continue;
            uint32_t wanted = v4 ? TKICCSig("mluc") : rule.oldType;
            uint32_t from = v4 ? rule.oldType : TKICCSig("mluc");
            if (tag->GetType() == from) {
                TKString text = GetTagText(rule.signature);
                TKRefPtr<TKICCTag> replacement = TKICCTag::Create(wanted, rule.signature);
                ReplaceTagAt(i, replacement);
                SetTagText(rule.signature, text);
            }
            break;
        }
    }
}

// --- Profile ID -------------------------------------------------------------------------------

void TKICCProfileBasic::GetProfileID(uint8_t id[16]) const { std::memcpy(id, fHeader.profileID, 16); }

void TKICCProfileBasic::SetProfileID(const uint8_t id[16]) { std::memcpy(fHeader.profileID, id, 16); }

void TKICCProfileBasic::ComputeProfileID(const TKFileSpec& spec, uint8_t* digestZeroed, uint8_t* digestWhole) {
    TKFile file(spec, TKFile::kRead);
    file.Open(TKFile::kRead);
    TKMD5 zeroed;
    TKMD5 whole;
    uint8_t chunk[1024];
    bool first = true;
    for (;;) {
        size_t got = 0;
        file.Read(chunk, sizeof chunk, &got);
        if (got == 0) break;
        whole.Update(chunk, got);
        if (first) {
            // Flags, rendering intent and the ID itself do not take part in the ID.
            auto clear = [&](size_t from, size_t count) {
                if (from < got) std::memset(chunk + from, 0, std::min(count, got - from));
            };
            clear(44, 4);
            clear(64, 4);
            clear(84, 16);
            first = false;
        }
        zeroed.Update(chunk, got);
        if (got < sizeof chunk) break;
    }
    file.Close();
    if (digestZeroed) {
        TKMD5::Digest d = zeroed.Final();
        std::memcpy(digestZeroed, d.data(), 16);
    }
    if (digestWhole) {
        TKMD5::Digest d = whole.Final();
        std::memcpy(digestWhole, d.data(), 16);
    }
}

// --- Date and header text ---------------------------------------------------------------------

TKString TKICCProfileBasic::GetDate() const {
    const uint16_t* d = fHeader.date;
    return TKString::Format("%04u-%02u-%02u %02u:%02u:%02u", unsigned(d[0]), unsigned(d[1]), unsigned(d[2]),
                            unsigned(d[3]), unsigned(d[4]), unsigned(d[5]));
}

void TKICCProfileBasic::SetDate(const TKString& date) {
    unsigned v[6] = {fHeader.date[0], fHeader.date[1], fHeader.date[2], fHeader.date[3], fHeader.date[4], fHeader.date[5]};
    int n = std::sscanf(date.CString(), "%u-%u-%u %u:%u:%u", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
    for (int i = 0; i < n && i < 6; ++i) fHeader.date[i] = uint16_t(v[i]);
}

void TKICCProfileBasic::SetDateNow() {
    std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    uint16_t d[6] = {uint16_t(parts.tm_year + 1900), uint16_t(parts.tm_mon + 1), uint16_t(parts.tm_mday),
                     uint16_t(parts.tm_hour),        uint16_t(parts.tm_min),     uint16_t(parts.tm_sec)};
    std::memcpy(fHeader.date, d, sizeof d);
}

TKString TKICCProfileBasic::HeaderText() const {
    const TKICCHeader& h = fHeader;
    TKString text;
    text.AppendFormat("Size:            \t%d\n", int(h.size));
    text.AppendFormat("CMM:             \t%s\n", SigText(h.cmm).CString());
    text.AppendFormat("Version:         \t%08lx\n", (unsigned long)h.version);
    text.AppendFormat("Device Class:    \t%s\n", SigText(h.deviceClass).CString());
    text.AppendFormat("Color Space:     \t%s\n", SigText(h.colorSpace).CString());
    text.AppendFormat("PCS:             \t%s\n", SigText(h.pcs).CString());
    text.AppendFormat("Date:            \t%s\n", GetDate().CString());
    text.AppendFormat("Magic:           \t%s\n", SigText(h.magic).CString());
    text.AppendFormat("Platform:        \t%s\n", SigText(h.platform).CString());
    text.AppendFormat("Flags:           \t%08lx\n", (unsigned long)h.flags);
    text.AppendFormat("Manufacturer:    \t%08lx\n", (unsigned long)h.manufacturer);
    text.AppendFormat("Model:           \t%08lx\n", (unsigned long)h.model);
    text.AppendFormat("Attributes:      \t%08lx %08lx\n", (unsigned long)h.attributes[0], (unsigned long)h.attributes[1]);
    text.AppendFormat("RenderingIntent: \t%d\n", int(h.renderingIntent));
    text.AppendFormat("Illuminant:      \t%f %f %f\n", TKS15Fixed16ToDouble(h.illuminant[0]),
                      TKS15Fixed16ToDouble(h.illuminant[1]), TKS15Fixed16ToDouble(h.illuminant[2]));
    text.AppendFormat("Creator:         \t%s\n", SigText(h.creator).CString());
    text.Append("Profile ID:      \t");
    for (uint8_t b : h.profileID) text.AppendFormat("%02x", unsigned(b));
    text.Append("\n");
    return text;
}

void TKICCProfileBasic::DumpHeader(TKStream& stream) const { TKWriteText(&stream, HeaderText()); }

void TKICCProfileBasic::ParseHeader(const TKString& text) {
    TKICCHeader& h = fHeader;
    TKString value;
    struct SignatureField {
        const char* key;
        uint32_t* field;
    };
    const SignatureField signatures[] = {{"CMM:", &h.cmm},     {"Device Class:", &h.deviceClass},
                                         {"Color Space:", &h.colorSpace}, {"PCS:", &h.pcs},
                                         {"Creator:", &h.creator}, {"Magic:", &h.magic},
                                         {"Platform:", &h.platform}};
    for (const auto& f : signatures)
        if (HeaderValue(text, f.key, value)) *f.field = value.ToSignature();
    const SignatureField hex[] = {{"Manufacturer:", &h.manufacturer}, {"Model:", &h.model},
                                  {"Version:", &h.version},           {"Flags:", &h.flags}};
    for (const auto& f : hex) {
        unsigned long v = 0;
        if (HeaderValue(text, f.key, value) && std::sscanf(value.CString(), "%lx", &v) == 1) *f.field = uint32_t(v);
    }
    unsigned long a = 0, b = 0;
    if (HeaderValue(text, "Attributes:", value) && std::sscanf(value.CString(), "%lx%lx", &a, &b) == 2) {
        h.attributes[0] = uint32_t(a);
        h.attributes[1] = uint32_t(b);
    }
    int intent = 0;
    if (HeaderValue(text, "RenderingIntent:", value) && std::sscanf(value.CString(), "%d", &intent) == 1)
        h.renderingIntent = uint32_t(intent);
    if (HeaderValue(text, "Date:", value)) SetDate(value);
    double x = 0, y = 0, z = 0;
    if (HeaderValue(text, "Illuminant:", value) && std::sscanf(value.CString(), "%lf%lf%lf", &x, &y, &z) == 3) {
        h.illuminant[0] = TKDoubleToS15Fixed16(x);
        h.illuminant[1] = TKDoubleToS15Fixed16(y);
        h.illuminant[2] = TKDoubleToS15Fixed16(z);
    }
}
