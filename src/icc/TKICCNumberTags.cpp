// Numeric tags: XYZ values, adaptation matrices and curves, with their fixed-point encodings.
#include "icc/TKICCNumberTags.h"

#include <cstring>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "io/TKStreamTools.h"

namespace {

// The D50 white of the connection space in unit scale.
constexpr double kD50[3] = {0.9642, 1.0, 0.8249};

// A host-order block of s15Fixed16 values.
std::vector<uint8_t> FixedBlock(const double* values, size_t count) {
    std::vector<uint8_t> block(count * 4);
    for (size_t i = 0; i < count; ++i) {
        int32_t v = TKDoubleToS15Fixed16(values[i]);
        std::memcpy(block.data() + 4 * i, &v, 4);
    }
    return block;
}

}  // namespace

// --- "XYZ " -----------------------------------------------------------------------------------

TKVector TKICCXYZTag::GetXYZ() {
    if (fData.empty()) return TKVector({kD50[0], kD50[1], kD50[2]}, TKXYZSpace);
    if (fData.size() < 12) TKThrow(InvalidICCTag);
    TKVector xyz(3, TKXYZSpace);
    for (int i = 0; i < 3; ++i) xyz[i] = TKS15Fixed16ToDouble(int32_t(HostU32(4 * i)));
    return xyz;
}

void TKICCXYZTag::SetXYZ(const TKVector& colour) {
    if (colour.GetDim() < 3) TKThrow(DimMismatch);
    TKVector xyz = colour;
    if (colour.GetType() != 0 && colour.GetType() != int32_t(TKXYZSpace)) {
        // Other colour types convert to XYZ with Y = 100 for white; the tag stores Y = 1.
        xyz = ConvertColor(TKXYZSpace, colour);
        xyz.Multiply(0.01);
    }
    double values[3] = {xyz[0], xyz[1], xyz[2]};
    SetHostBlock(FixedBlock(values, 3));
}

void TKICCXYZTag::SwapBytes() {
    SwapU32s(0, fData.size() / 4);
    FlipOrder();
}

void TKICCXYZTag::Dump(TKStream& stream) { TKWriteFormat(&stream, "%s\n", GetSummary().CString()); }

void TKICCXYZTag::SetFromText(const TKString& text) {
    TKVector values;
    values.FromString(text.CString());
    if (values.GetDim() != 3) TKThrow(DimMismatch);
    values.SetType(TKXYZSpace);
    SetXYZ(values);
}

TKString TKICCXYZTag::GetSummary() {
    TKVector xyz = GetXYZ();
    if (fSignature != TKICCSig("lumi")) xyz.Multiply(100.0);
    return TKString("XYZ = ") + xyz.ToString("%.4f ");
}

// --- "sf32" chromatic adaptation ---------------------------------------------------------------

TKMatrix TKChromaticAdaptationTag::GetMatrix() {
    if (fData.empty()) return TKMatrix::Identity(3);
    if (fData.size() < 36) TKThrow(InvalidICCTag);
    TKMatrix matrix(3, 3);
    for (int i = 0; i < 9; ++i) matrix(i / 3, i % 3) = TKS15Fixed16ToDouble(int32_t(HostU32(4 * i)));
    return matrix;
}

void TKChromaticAdaptationTag::SetMatrix(const TKMatrix& matrix) {
    if (matrix.GetHeight() != 3 || matrix.GetWidth() != 3) TKThrow(DimMismatch);
    SetHostBlock(FixedBlock(matrix.Values(), 9));
}

void TKChromaticAdaptationTag::SwapBytes() {
    SwapU32s(0, fData.size() / 4);
    FlipOrder();
}

void TKChromaticAdaptationTag::Dump(TKStream& stream) {
    TKMatrix m = GetMatrix();
    for (int r = 0; r < 3; ++r) TKWriteFormat(&stream, "%.6f %.6f %.6f\n", m(r, 0), m(r, 1), m(r, 2));
}

TKString TKChromaticAdaptationTag::GetSummary() {
    TKMatrix m = GetMatrix();
    return TKString::Format("%.4f %.4f %.4f / %.4f %.4f %.4f / %.4f %.4f %.4f", m(0, 0), m(0, 1), m(0, 2),
                            m(1, 0), m(1, 1), m(1, 2), m(2, 0), m(2, 1), m(2, 2));
}

// --- "curv" -----------------------------------------------------------------------------------

uint32_t TKICCCurveTag::GetCount() {
    if (fData.empty()) TKThrow(MissingICCTagData);
    if (fData.size() < 4) TKThrow(InvalidICCTag);
    uint64_t count = HostU32(0);
    if (4 + 2 * count > fData.size()) TKThrow(InvalidICCTag);
    return uint32_t(count);
}

TKVector TKICCCurveTag::GetCurve(double lo, double hi) {
    uint32_t count = GetCount();
    if (count == 0) return TKVector();
    if (count == 1) return TKVector({TKFixed8_8ToDouble(HostU16(4))});
    TKVector curve(static_cast<int32_t>(count));
    const uint8_t* data = HostData() + 4;
    for (uint32_t i = 0; i < count; ++i) {
        uint16_t u;
        std::memcpy(&u, data + 2 * i, 2);
        curve[int32_t(i)] = TKWordToRange(u, lo, hi);
    }
    return curve;
}

void TKICCCurveTag::SetCurve(const TKVector& curve, double lo, double hi) {
    uint32_t count = uint32_t(curve.GetDim());
    std::vector<uint8_t> block(4 + 2 * size_t(count));
    std::memcpy(block.data(), &count, 4);
    for (uint32_t i = 0; i < count; ++i) {
        uint16_t u = count == 1 ? TKDoubleToFixed8_8(curve[0]) : TKRangeToWord(curve[int32_t(i)], lo, hi);
        std::memcpy(block.data() + 4 + 2 * i, &u, 2);
    }
    SetHostBlock(std::move(block));
}

void TKICCCurveTag::SwapBytes() {
    if (fData.size() >= 4) {
        SwapU32s(0, 1);
        SwapU16s(4, (fData.size() - 4) / 2);
    }
    FlipOrder();
}

void TKICCCurveTag::Dump(TKStream& stream) {
    TKVector curve = GetCurve(0.0, 1.0);
    for (int32_t i = 0; i < curve.GetDim(); ++i) TKWriteFormat(&stream, "%d\t%.5f\n", int(i), curve[i]);
}

TKString TKICCCurveTag::GetSummary() {
    uint32_t count = GetCount();
    if (count == 0) return TKString("Identity");
    if (count == 1) return TKString::Format("Gamma %.4f", TKFixed8_8ToDouble(HostU16(4)));
    return TKString::Format("%u points", unsigned(count));
}

// --- "para" -----------------------------------------------------------------------------------

int32_t TKICCParametricCurveTag::ParameterCount(int32_t functionType) {
    static constexpr int32_t kCounts[5] = {1, 3, 4, 5, 7};
    return functionType >= 0 && functionType <= 4 ? kCounts[functionType] : -1;
}

TKVector TKICCParametricCurveTag::GetCurve(int32_t* functionType) {
    if (fData.empty()) TKThrow(MissingICCTagData);
    if (fData.size() < 4) TKThrow(InvalidICCTag);
    int32_t type = HostU16(0);
    if (type > 4) TKThrow(ArgErr);
    int32_t count = ParameterCount(type);
    if (fData.size() < 4 + 4 * size_t(count)) TKThrow(InvalidICCTag);
    TKVector parameters(count);
    for (int32_t i = 0; i < count; ++i) parameters[i] = TKS15Fixed16ToDouble(int32_t(HostU32(4 + 4 * i)));
    if (functionType) *functionType = type;
    return parameters;
}

void TKICCParametricCurveTag::SetCurve(int32_t functionType, const TKVector& parameters) {
    int32_t count = ParameterCount(functionType);
    if (count < 0) TKThrow(ArgErr);
    if (parameters.GetDim() < count) TKThrow(DimMismatch);
    std::vector<uint8_t> block(4 + 4 * size_t(count));
    uint16_t head[2] = {uint16_t(functionType), 0};
    std::memcpy(block.data(), head, 4);
    std::vector<uint8_t> values = FixedBlock(parameters.Values(), size_t(count));
    std::memcpy(block.data() + 4, values.data(), values.size());
    SetHostBlock(std::move(block));
}

void TKICCParametricCurveTag::SwapBytes() {
    if (fData.size() >= 4) {
        SwapU16s(0, 2);
        SwapU32s(4, (fData.size() - 4) / 4);
    }
    FlipOrder();
}

void TKICCParametricCurveTag::Dump(TKStream& stream) {
    int32_t type = 0;
    TKVector parameters = GetCurve(&type);
    TKWriteFormat(&stream, "Function type: %d\n", int(type));
    TKWriteText(&stream, "Parameters:");
    for (int32_t i = 0; i < parameters.GetDim(); ++i) TKWriteFormat(&stream, " %f", parameters[i]);
    TKWriteText(&stream, "\n");
}

TKString TKICCParametricCurveTag::GetSummary() {
    int32_t type = 0;
    TKVector parameters = GetCurve(&type);
    return TKString::Format("Type %d: ", int(type)) + parameters.ToString("%.4f ");
}
