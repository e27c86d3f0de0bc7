// Text forms of TKMatrix: the keyword block and the compact one-line form.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "numeric/TKMatrix.h"
#include "io/TKStream.h"
#include "numeric/TKNumberText.h"

namespace {
// Largest element count a text may announce; protects against absurd allocations.
constexpr int64_t kMaxTextElements = 1 << 24;
}  // namespace

TKString TKMatrix::ToText(const char* format) const {
    if (format && !TKIsDoubleFormat(format)) TKThrowMsg(ArgErr, "format must hold one floating-point conversion");
    if (!format) format = "%f";
    TKString text = TKString::Format("Width %2d\nHeight %2d\nBEGIN_DATA\n", fWidth, fHeight);
    for (int32_t r = 0; r < fHeight; ++r) {
        for (int32_t c = 0; c < fWidth; ++c) {
            TKAppendDouble(text, format, (*this)(r, c));
            text.Append('\t');
        }
        text.Append('\n');
    }
    text.Append("END_DATA\n");
    return text;
}

int32_t TKMatrix::FromText(const char* text, int32_t length, int32_t* consumed) {
    if (!text || length < 0) TKThrow(ArgErr);
    static const TKKeywordBlockForm kForm{{{"WIDTH", 0, kMaxTextElements, "bad matrix size"},
                                           {"HEIGHT", 0, kMaxTextElements, "bad matrix size"}},
                                          true,
                                          "unknown keyword in matrix text",
                                          "number expected in matrix data",
                                          "matrix text has too many values",
                                          "matrix text ends inside its block"};
    int64_t size[2] = {-1, -1};  // width, height
    const int64_t& width = size[0];
    const int64_t& height = size[1];
    return TKReadKeywordBlock(
        text, length, consumed, kForm, size,
        [&](std::vector<double>& values) {
            if (width < 0 || height < 0 || width * height > kMaxTextElements)
                TKThrowMsg(FormatErr, "matrix text needs a sensible width and height before its data");
            values.reserve(size_t(width * height));
            return width * height;
        },
        [&](std::vector<double>& values) {
            if (int64_t(values.size()) != width * height) TKThrowMsg(FormatErr, "matrix text has the wrong count");
            SetSize(0, 0);
            SetSize(int32_t(height), int32_t(width));
            if (!values.empty()) std::copy(values.begin(), values.end(), MutableValues());
        });
}

TKString TKMatrix::ToCompactString() const {
    TKString text = TKString::Format("%d %d %ld ", fHeight, fWidth, static_cast<long>(fType));
    for (int32_t r = 0; r < fHeight; ++r)
        for (int32_t c = 0; c < fWidth; ++c) TKAppendDouble(text, "%f ", (*this)(r, c));
    return text;
}

void TKMatrix::FromCompactString(const char* text) {
    if (!text) TKThrow(ArgErr);
    const char* p = text;
    char* end = nullptr;
    long long header[3];
    for (long long& field : header) {
        field = std::strtoll(p, &end, 10);
        if (end == p) TKThrowMsg(FormatErr, "matrix size expected");
        p = end;
    }
    if (header[0] < 0 || header[1] < 0 || header[0] > kMaxTextElements || header[1] > kMaxTextElements ||
        header[0] * header[1] > kMaxTextElements || header[2] < INT32_MIN ||
        header[2] > UINT32_MAX)
        TKThrowMsg(FormatErr, "bad matrix size or type");
    std::vector<double> values(size_t(header[0] * header[1]));
    for (double& value : values) {
        value = std::strtod(p, &end);
        if (end == p) TKThrowMsg(FormatErr, "matrix text has too few values");
        p = end;
    }
    SetSize(0, 0);
    SetSize(int32_t(header[0]), int32_t(header[1]));
    if (!values.empty()) std::copy(values.begin(), values.end(), MutableValues());
    fType = static_cast<int32_t>(static_cast<uint32_t>(header[2]));
}

int32_t TKMatrix::Read(TKStream& stream) {
    TKString text = TKReadTextBlock(stream, "END_DATA");
    return FromText(text.CString(), text.Length());
}

void TKMatrix::Write(TKStream& stream, const char* format) const {
    TKString text = ToText(format);
    stream.Write(text.CString(), size_t(text.Length()));
}
