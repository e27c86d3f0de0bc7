// LUT tag bodies: layout checks, byte swapping and table access of "mft1", "mft2", "mAB ", "mBA ".
#include "icc/TKICCLutTags.h"

#include <cstdlib>
#include <cstring>

#include "foundation/TKError.h"
#include "icc/TKICCNumberTags.h"
#include "io/TKStreamTools.h"

namespace {

// Saturating arithmetic for sizes announced by untrusted headers: a saturated value is simply
// larger than any block.
constexpr uint64_t kHuge = uint64_t(1) << 62;

uint64_t SatMul(uint64_t a, uint64_t b) {
    if (a == 0 || b == 0) return 0;
    return a > kHuge / b ? kHuge : a * b;
}

uint64_t SatAdd(uint64_t a, uint64_t b) { return a + b > kHuge ? kHuge : a + b; }

uint64_t SatPow(uint64_t base, uint64_t exponent) {
    uint64_t r = 1;
    for (uint64_t i = 0; i < exponent && r < kHuge; ++i) r = SatMul(r, base);
    return r;
}

uint64_t Pad4(uint64_t n) { return (n + 3) & ~uint64_t(3); }

}  // namespace

// --- "mft1" / "mft2" --------------------------------------------------------------------------
// Header: in, out, grid, pad, 3 x 3 s15Fixed16 at 4; "mft2" adds the entry counts at 40 and 42.
// Tables follow at 40 ("mft1", bytes) or 44 ("mft2", words): input curves, grid, output curves.

void TKICCLutTag::RequireLutType() const {
    if (fType != TKICCSig("mft1") && fType != TKICCSig("mft2")) TKThrow(InvalidICCTag);
}

namespace {

// A zeroed "mft" block of `size` bytes with its channel counts and an identity matrix.
std::vector<uint8_t> NewLutBlock(uint64_t size, int32_t in, int32_t out, int32_t grid) {
    if (size > 0x7FFFFFFF) TKThrow(MemFullErr);
    std::vector<uint8_t> block;
    try {
        block.assign(size_t(size), 0);
    } catch (const std::bad_alloc&) {
        TKThrow(MemFullErr);
    }
    block[0] = uint8_t(in);
    block[1] = uint8_t(out);
    block[2] = uint8_t(grid);
    for (int i = 0; i < 3; ++i) {
        int32_t one = 0x10000;
        std::memcpy(block.data() + 4 + 16 * i, &one, 4);
    }
    return block;
}

}  // namespace

void TKICCLutTag::SetupLut8(int32_t in, int32_t out, int32_t grid) {
    if (in < 1 || in > 15 || out < 1 || out > 15 || grid < 2 || grid > 255) TKThrow(ArgErr);
    fType = TKICCSig("mft1");
    uint64_t size = 40 + uint64_t(in + out) * 256 + SatMul(uint64_t(out), SatPow(uint64_t(grid), uint64_t(in)));
    SetHostBlock(NewLutBlock(size, in, out, grid));
}

void TKICCLutTag::SetupLut16(int32_t in, int32_t out, int32_t inEntries, int32_t outEntries, int32_t grid) {
    if (in < 1 || in > 15 || out < 1 || out > 15 || grid < 2 || grid > 255 || inEntries < 2 ||
        inEntries > 4096 || outEntries < 2 || outEntries > 4096)
        TKThrow(ArgErr);
    fType = TKICCSig("mft2");
    uint64_t words = uint64_t(in) * uint64_t(inEntries) + uint64_t(out) * uint64_t(outEntries) +
                     SatMul(uint64_t(out), SatPow(uint64_t(grid), uint64_t(in)));
    std::vector<uint8_t> block = NewLutBlock(SatAdd(44, SatMul(words, 2)), in, out, grid);
    uint16_t entries[2] = {uint16_t(inEntries), uint16_t(outEntries)};
    std::memcpy(block.data() + 40, entries, 4);
    SetHostBlock(std::move(block));
}

int32_t TKICCLutTag::GetInputChannels() {
    RequireLutType();
    RequireBlock(0, 4);
    return fData[0];
}

int32_t TKICCLutTag::GetOutputChannels() {
    RequireLutType();
    RequireBlock(0, 4);
    return fData[1];
}

int32_t TKICCLutTag::GetGridPoints() {
    RequireLutType();
    RequireBlock(0, 4);
    return fData[2];
}

int32_t TKICCLutTag::GetInputEntries() {
    RequireLutType();
    return IsLut8() ? 256 : HostU16(40);
}

int32_t TKICCLutTag::GetOutputEntries() {
    RequireLutType();
    return IsLut8() ? 256 : HostU16(42);
}

uint64_t TKICCLutTag::GridNodes() { return SatPow(uint64_t(GetGridPoints()), uint64_t(GetInputChannels())); }

uint64_t TKICCLutTag::GetExpectedSize() {
    uint64_t in = uint64_t(GetInputChannels());
    uint64_t out = uint64_t(GetOutputChannels());
    uint64_t grid = SatMul(out, GridNodes());
    if (IsLut8()) return SatAdd((in + out) * 256 + 40, grid);
    uint64_t curves = in * uint64_t(GetInputEntries()) + out * uint64_t(GetOutputEntries());
    return SatAdd(44, SatMul(2, SatAdd(curves, grid)));
}

void TKICCLutTag::RequireComplete() {
    if (GetExpectedSize() > fData.size()) TKThrow(InvalidICCTag);
}

TKMatrix TKICCLutTag::GetMatrix() {
    RequireLutType();
    RequireBlock(0, 40);
    TKMatrix matrix(3, 3);
    for (int i = 0; i < 9; ++i) matrix(i / 3, i % 3) = TKS15Fixed16ToDouble(int32_t(HostU32(4 + 4 * i)));
    return matrix;
}

void TKICCLutTag::SetMatrix(const TKMatrix& matrix) {
    if (matrix.GetHeight() != 3 || matrix.GetWidth() != 3) TKThrow(DimMismatch);
    if (fData.empty()) TKThrow(PtrInvalid);
    RequireLutType();
    RequireBlock(0, 40);
    HostData();
    for (int i = 0; i < 9; ++i) PutHostU32(4 + 4 * i, uint32_t(TKDoubleToS15Fixed16(matrix(i / 3, i % 3))));
}

uint64_t TKICCLutTag::TableStart(int part) {
    uint64_t in = uint64_t(GetInputChannels());
    uint64_t inCurves = in * uint64_t(GetInputEntries());
    if (part == 0) return 0;
    if (part == 1) return inCurves;
    return inCurves + uint64_t(GetOutputChannels()) * GridNodes();
}

uint16_t TKICCLutTag::Entry(uint64_t position) {
    RequireComplete();
    if (IsLut8()) return uint16_t(fData[40 + position] * 257u);
    return HostU16(44 + 2 * position);
}

void TKICCLutTag::SetEntry(uint64_t position, uint16_t value) {
    RequireComplete();
    if (IsLut8()) {
        fData[40 + position] = uint8_t((value + 128u) / 257u);
        return;
    }
    HostData();
    PutHostU16(44 + 2 * position, value);
}

uint16_t TKICCLutTag::GetInputCurvePoint(int32_t channel, int32_t index) {
    if (channel < 0 || channel >= GetInputChannels() || index < 0 || index >= GetInputEntries()) TKThrow(IndexError);
    return Entry(TableStart(0) + uint64_t(channel) * uint64_t(GetInputEntries()) + uint64_t(index));
}

void TKICCLutTag::SetInputCurvePoint(int32_t channel, int32_t index, uint16_t value) {
    if (channel < 0 || channel >= GetInputChannels() || index < 0 || index >= GetInputEntries()) TKThrow(IndexError);
    SetEntry(TableStart(0) + uint64_t(channel) * uint64_t(GetInputEntries()) + uint64_t(index), value);
}

uint16_t TKICCLutTag::GetOutputCurvePoint(int32_t channel, int32_t index) {
    if (channel < 0 || channel >= GetOutputChannels() || index < 0 || index >= GetOutputEntries())
        TKThrow(IndexError);
    return Entry(TableStart(2) + uint64_t(channel) * uint64_t(GetOutputEntries()) + uint64_t(index));
}

void TKICCLutTag::SetOutputCurvePoint(int32_t channel, int32_t index, uint16_t value) {
    if (channel < 0 || channel >= GetOutputChannels() || index < 0 || index >= GetOutputEntries())
        TKThrow(IndexError);
    SetEntry(TableStart(2) + uint64_t(channel) * uint64_t(GetOutputEntries()) + uint64_t(index), value);
}

void TKICCLutTag::GetGridPoint(int64_t index, uint16_t* values) {
    if (index < 0 || uint64_t(index) >= GridNodes()) TKThrow(IndexError);
    uint64_t out = uint64_t(GetOutputChannels());
    for (uint64_t c = 0; c < out; ++c) values[c] = Entry(TableStart(1) + uint64_t(index) * out + c);
}

void TKICCLutTag::SetGridPoint(int64_t index, const uint16_t* values) {
    if (index < 0 || uint64_t(index) >= GridNodes()) TKThrow(IndexError);
    uint64_t out = uint64_t(GetOutputChannels());
    for (uint64_t c = 0; c < out; ++c) SetEntry(TableStart(1) + uint64_t(index) * out + c, values[c]);
}

void TKICCLutTag::SwapBytes() {
    RequireLutType();
    if (fData.size() < (IsLut8() ? 44u : 48u)) TKThrow(InvalidICCTag);
    SwapU32s(4, 9);
    if (!IsLut8()) SwapU16s(40, (fData.size() - 40) / 2);
    FlipOrder();
}

void TKICCLutTag::Dump(TKStream& stream) {
    RequireComplete();
    int32_t in = GetInputChannels();
    int32_t out = GetOutputChannels();
    int32_t inEntries = GetInputEntries();
    int32_t outEntries = GetOutputEntries();
    TKWriteFormat(&stream, "Input channels:     \t%d\n", int(in));
    TKWriteFormat(&stream, "Output channels:    \t%d\n", int(out));
    TKWriteFormat(&stream, "Input curve length: \t%d\n", int(inEntries));
    TKWriteFormat(&stream, "Output curve length:\t%d\n", int(outEntries));
    TKWriteFormat(&stream, "Grid size:          \t%d\n", int(GetGridPoints()));
    TKMatrix m = GetMatrix();
    TKWriteFormat(&stream, "Matrix:             \t%.4f %.4f %.4f\n", m(0, 0), m(0, 1), m(0, 2));
    for (int r = 1; r < 3; ++r) TKWriteFormat(&stream, "                    \t%.4f %.4f %.4f\n", m(r, 0), m(r, 1), m(r, 2));
    TKWriteText(&stream, "\nInputCurves:\n");
    for (int32_t c = 0; c < in; ++c) {
        for (int32_t i = 0; i < inEntries; ++i) TKWriteFormat(&stream, "\t%d", int(GetInputCurvePoint(c, i)));
        TKWriteText(&stream, "\n");
    }
    TKWriteText(&stream, "\nLUT:\n");
    std::vector<uint16_t> node(static_cast<size_t>(out));
    for (uint64_t n = 0, nodes = GridNodes(); n < nodes; ++n) {
        GetGridPoint(int64_t(n), node.data());
        for (uint16_t v : node) TKWriteFormat(&stream, "\t%d", int(v));
        TKWriteText(&stream, "\n");
    }
    TKWriteText(&stream, "\nOutputCurves:\n");
    for (int32_t c = 0; c < out; ++c) {
        for (int32_t i = 0; i < outEntries; ++i) TKWriteFormat(&stream, "\t%d", int(GetOutputCurvePoint(c, i)));
        TKWriteText(&stream, "\n");
    }
}

namespace {

// Reads the numbers of the dump text one after another, starting behind a key.
class DumpReader {
public:
    explicit DumpReader(const TKString& text) : fText(text.CString()) {}
    void Seek(const char* key) {
        const char* at = std::strstr(fText, key);
        if (!at) TKThrowMsg(FormatErr, key);
        fAt = at + std::strlen(key);
    }
    double Number() {
        char* end = nullptr;
        double v = std::strtod(fAt, &end);
        if (end == fAt) TKThrow(FormatErr);
        fAt = end;
        return v;
    }
    int32_t Integer(int32_t lo, int32_t hi) {
        double v = Number();
        if (!(v >= lo && v <= hi)) TKThrow(FormatErr);
        return int32_t(v);
    }

private:
    const char* fText;
    const char* fAt = nullptr;
};

}  // namespace

void TKICCLutTag::SetFromText(const TKString& text) {
    RequireLutType();
    DumpReader reader(text);
    auto header = [&reader](const char* key, int32_t lo, int32_t hi) {
        reader.Seek(key);
        return reader.Integer(lo, hi);
    };
    int32_t in = header("Input channels:", 1, 15);
    int32_t out = header("Output channels:", 1, 15);
    int32_t inEntries = header("Input curve length:", 2, 4096);
    int32_t outEntries = header("Output curve length:", 2, 4096);
    int32_t grid = header("Grid size:", 2, 255);
    if (IsLut8())
        SetupLut8(in, out, grid);
    else
        SetupLut16(in, out, inEntries, outEntries, grid);
    reader.Seek("Matrix:");
    TKMatrix matrix(3, 3);
    for (int i = 0; i < 9; ++i) matrix(i / 3, i % 3) = reader.Number();
    SetMatrix(matrix);
    reader.Seek("InputCurves:");
    for (int32_t c = 0; c < in; ++c)
        for (int32_t i = 0; i < GetInputEntries(); ++i) SetInputCurvePoint(c, i, uint16_t(reader.Integer(0, 0xFFFF)));
    reader.Seek("LUT:");
    std::vector<uint16_t> node(static_cast<size_t>(out));
    for (uint64_t n = 0, nodes = GridNodes(); n < nodes; ++n) {
        for (uint16_t& v : node) v = uint16_t(reader.Integer(0, 0xFFFF));
        SetGridPoint(int64_t(n), node.data());
    }
    reader.Seek("OutputCurves:");
    for (int32_t c = 0; c < out; ++c)
        for (int32_t i = 0; i < GetOutputEntries(); ++i) SetOutputCurvePoint(c, i, uint16_t(reader.Integer(0, 0xFFFF)));
}

TKString TKICCLutTag::GetSummary() {
    return TKString::Format("Input: %d, Output: %d, LUT: %d points", int(GetInputChannels()),
                            int(GetOutputChannels()), int(GetGridPoints()));
}

// --- "mAB " / "mBA " --------------------------------------------------------------------------
// Header: in, out, two pad bytes, offsets (from the tag's start) of B curves, matrix, M curves,
// CLUT and A curves. Embedded curve type signatures stay in file order in both byte orders.

int32_t TKICC4LutTag::GetInputChannels() {
    RequireBlock(0, 24);
    return fData[0];
}

int32_t TKICC4LutTag::GetOutputChannels() {
    RequireBlock(0, 24);
    return fData[1];
}

uint32_t TKICC4LutTag::GetStageOffset(CurveSet stage) {
    RequireBlock(0, 24);
    return FieldU32(4 + 4 * uint64_t(stage));
}

int32_t TKICC4LutTag::GetCurveCount(CurveSet set) {
    bool ab = fType == TKICCSig("mAB ");
    if (set == kACurves) return ab ? GetInputChannels() : GetOutputChannels();
    if (set == kBCurves || set == kMCurves) return ab ? GetOutputChannels() : GetInputChannels();
    TKThrow(ArgErr);
}

uint64_t TKICC4LutTag::CurveSize(uint64_t position) {
    RequireBlock(position, 12);
    uint32_t type = TKLoadOrdered<uint32_t>(fData.data() + position, kBigEndian);
    uint64_t size = 0;
    if (type == TKICCSig("curv")) {
        size = 12 + 2 * uint64_t(FieldU32(position + 8));
    } else if (type == TKICCSig("para")) {
        int32_t n = TKICCParametricCurveTag::ParameterCount(FieldU16(position + 8));
        if (n < 0) TKThrow(InvalidICCTag);
        size = 12 + 4 * uint64_t(n);
    } else {
        TKThrow(InvalidICCTag);
    }
    RequireBlock(position, size);
    return size;
}

uint64_t TKICC4LutTag::CurvePosition(CurveSet set, int32_t index, uint64_t* size) {
    uint64_t offset = GetStageOffset(set);
    if (offset == 0) TKThrow(MissingICCTagData);
    if (offset < 8) TKThrow(InvalidICCTag);
    if (index < 0 || index >= GetCurveCount(set)) TKThrow(IndexError);
    uint64_t position = offset - 8;
    for (int32_t i = 0; i < index; ++i) position += Pad4(CurveSize(position));
    *size = CurveSize(position);
    return position;
}

TKRefPtr<TKICCTag> TKICC4LutTag::GetCurve(CurveSet set, int32_t index) {
    uint64_t size = 0;
    uint64_t position = CurvePosition(set, index, &size);
    uint32_t type = TKLoadOrdered<uint32_t>(fData.data() + position, kBigEndian);
    TKRefPtr<TKICCTag> curve = TKICCTag::Create(type, 0);
    curve->SetData(fData.data() + position + 8, uint32_t(size - 8), fByteOrder);
    return curve;
}

TKMatrix TKICC4LutTag::GetMatrix() {
    uint64_t offset = GetStageOffset(kMatrix);
    if (offset == 0) return TKMatrix();
    if (offset < 8) TKThrow(InvalidICCTag);
    uint64_t position = offset - 8;
    RequireBlock(position, 48);
    TKMatrix matrix(3, 4);
    for (int i = 0; i < 9; ++i) matrix(i / 3, i % 3) = TKS15Fixed16ToDouble(int32_t(FieldU32(position + 4 * i)));
    for (int r = 0; r < 3; ++r) matrix(r, 3) = TKS15Fixed16ToDouble(int32_t(FieldU32(position + 36 + 4 * r)));
    return matrix;
}

int32_t TKICC4LutTag::GetGridPoints(int32_t channel) {
    uint64_t offset = GetStageOffset(kCLUT);
    if (offset < 8 || channel < 0 || channel >= 16) return 0;
    RequireBlock(offset - 8, 20);
    return fData[offset - 8 + uint64_t(channel)];
}

int32_t TKICC4LutTag::GetPrecision() {
    uint64_t offset = GetStageOffset(kCLUT);
    if (offset < 8) return 0;
    RequireBlock(offset - 8, 20);
    return fData[offset - 8 + 16];
}

uint64_t TKICC4LutTag::CLUTNodes() {
    int32_t in = GetInputChannels();
    if (in > 16) TKThrow(InvalidICCTag);
    uint64_t nodes = 1;
    for (int32_t i = 0; i < in; ++i) nodes = SatMul(nodes, uint64_t(GetGridPoints(i)));
    return nodes;
}

uint64_t TKICC4LutTag::GetCLUTEntries() {
    if (GetStageOffset(kCLUT) == 0) return 0;
    return SatMul(CLUTNodes(), uint64_t(GetOutputChannels()));
}

uint16_t TKICC4LutTag::GetCLUTEntry(uint64_t index) {
    uint64_t entries = GetCLUTEntries();
    if (index >= entries) TKThrow(IndexError);
    uint64_t position = GetStageOffset(kCLUT) - 8 + 20;
    int32_t precision = GetPrecision();
    if (precision == 1) {
        RequireBlock(position, entries);
        return uint16_t(fData[position + index] * 257u);
    }
    if (precision != 2) TKThrow(InvalidICCTag);
    RequireBlock(position, 2 * entries);
    return FieldU16(position + 2 * index);
}

std::vector<TKICC4LutTag::Swap> TKICC4LutTag::CollectSwaps() {
    if (fType != TKICCSig("mAB ") && fType != TKICCSig("mBA ")) TKThrow(InvalidICCTag);
    if (fData.size() < 24) TKThrow(InvalidICCTag);
    std::vector<Swap> swaps{{4, 5, 4}};
    for (CurveSet set : {kACurves, kBCurves, kMCurves}) {
        if (GetStageOffset(set) == 0) continue;
        for (int32_t i = 0, n = GetCurveCount(set); i < n; ++i) {
            uint64_t size = 0;
            uint64_t position = CurvePosition(set, i, &size);
            if (TKLoadOrdered<uint32_t>(fData.data() + position, kBigEndian) == TKICCSig("curv")) {
                swaps.push_back({position + 8, 1, 4});
                swaps.push_back({position + 12, (size - 12) / 2, 2});
            } else {
                swaps.push_back({position + 8, 2, 2});
                swaps.push_back({position + 12, (size - 12) / 4, 4});
            }
        }
    }
    if (uint64_t offset = GetStageOffset(kMatrix)) {
        if (offset < 8) TKThrow(InvalidICCTag);
        RequireBlock(offset - 8, 48);
        swaps.push_back({offset - 8, 12, 4});
    }
    if (uint64_t offset = GetStageOffset(kCLUT)) {
        if (offset < 8) TKThrow(InvalidICCTag);
        uint64_t entries = GetCLUTEntries();
        int32_t precision = GetPrecision();
        if (precision != 1 && precision != 2) TKThrow(InvalidICCTag);
        RequireBlock(offset - 8 + 20, SatMul(entries, uint64_t(precision)));
        if (precision == 2) swaps.push_back({offset - 8 + 20, entries, 2});
    }
    return swaps;
}

void TKICC4LutTag::SwapBytes() {
    // Every field is located and checked before the first byte moves, so a malformed body
    // fails without being left half swapped.
    std::vector<Swap> swaps = CollectSwaps();
    for (const Swap& s : swaps) {
        if (s.width == 4)
            SwapU32s(s.position, s.count);
        else
            SwapU16s(s.position, s.count);
    }
    FlipOrder();
}

void TKICC4LutTag::Dump(TKStream& stream) {
    CollectSwaps();  // validates the whole body
    int32_t in = GetInputChannels();
    TKWriteFormat(&stream, "Input channels: %d\n", int(in));
    TKWriteFormat(&stream, "Output channels: %d\n", int(GetOutputChannels()));
    for (int32_t i = 0; i < in && i < 16; ++i) TKWriteFormat(&stream, " %d", int(GetGridPoints(i)));
    TKWriteText(&stream, "\n");
    TKWriteFormat(&stream, "Precision: %d\n", int(GetPrecision()));
    static const struct {
        CurveSet set;
        const char* title;
        const char* item;
    } kSets[] = {{kACurves, "A curves:\n", "A curve %d\n"},
                 {kBCurves, "B curves:\n", "B curve %d\n"},
                 {kMCurves, "M curves:\n", "M curve %d\n"}};
    for (const auto& s : kSets) {
        TKWriteText(&stream, s.title);
        if (GetStageOffset(s.set) == 0) {
            TKWriteText(&stream, "None\n");
            continue;
        }
        for (int32_t i = 0, n = GetCurveCount(s.set); i < n; ++i) {
            TKWriteFormat(&stream, s.item, int(i));
            GetCurve(s.set, i)->Dump(stream);
        }
    }
    TKWriteText(&stream, "Matrix:\n");
    TKMatrix m = GetMatrix();
    if (m.IsEmpty()) TKWriteText(&stream, "None\n");
    for (int32_t i = 0; !m.IsEmpty() && i < 12; ++i)
        TKWriteFormat(&stream, "%d\t%f\n", int(i), i < 9 ? m(i / 3, i % 3) : m(i - 9, 3));
    TKWriteText(&stream, "LUT:\n");
    uint64_t entries = GetCLUTEntries();
    if (GetStageOffset(kCLUT) == 0) TKWriteText(&stream, "None\n");
    int32_t out = GetOutputChannels();
    for (uint64_t i = 0; i < entries; ++i)
        TKWriteFormat(&stream, (i + 1) % uint64_t(out) == 0 ? "\t%d\n" : "\t%d", int(GetCLUTEntry(i)));
}

TKString TKICC4LutTag::GetSummary() {
    return TKString::Format("Input: %d, Output: %d, LUT: %d points", int(GetInputChannels()),
                            int(GetOutputChannels()), int(GetStageOffset(kCLUT) ? GetGridPoints(0) : 0));
}
