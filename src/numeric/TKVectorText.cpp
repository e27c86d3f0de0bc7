// Text forms of TKVector: the one-line form of ToString/FromString and the keyword block.
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "io/TKStream.h"
#include "numeric/TKNumberText.h"
#include "numeric/TKVector.h"

namespace {
// Largest dimension a text block may announce; protects against absurd allocations.
constexpr int64_t kMaxTextDim = 1 << 20;

const char* CheckedFormat(const char* format, const char* fallback) {
    if (!format) return fallback;
    if (!TKIsDoubleFormat(format)) TKThrowMsg(ArgErr, "format must hold one floating-point conversion");
    return format;
}

bool IsTrailingSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
}  // namespace

TKString TKVector::ToString(const char* format, int separator) const {
    format = CheckedFormat(format, "%f ");
    TKString text;
    for (int32_t i = 0; i < GetDim(); ++i) {
        if (i > 0 && separator) text.Append(static_cast<char>(separator));
        TKAppendDouble(text, format, Values()[i]);
    }
    int32_t length = text.Length();
    while (length > 0 && IsTrailingSpace(text.At(length - 1))) --length;
    return length == text.Length() ? text : text.Left(length);
}

void TKVector::FromString(const char* text) {
    if (!text) TKThrow(ArgErr);
    std::vector<double> values;
    const char* p = text;
    for (;;) {
        while (*p && (std::isspace(static_cast<unsigned char>(*p)) || *p == ',' || *p == ';')) ++p;
        if (!*p) break;
        char* end = nullptr;
        double value = std::strtod(p, &end);
        if (end == p) TKThrowMsg(FormatErr, "number expected");
        values.push_back(value);
        p = end;
    }
    SetFromArray(static_cast<int32_t>(values.size()), values.data());
}

TKString TKVector::ToText(const char* format) const {
    format = CheckedFormat(format, "%f");
    TKString text = TKString::Format("DIM %2d\nTYPE %ld\nBEGIN_DATA\n", GetDim(), static_cast<long>(fType));
    for (int32_t i = 0; i < GetDim(); ++i) {
        TKAppendDouble(text, format, Values()[i]);
        text.Append('\t');
    }
    text.Append("\nEND_DATA\n");
    return text;
}

int32_t TKVector::FromText(const char* text, int32_t length, int32_t* consumed) {
    if (!text || length < 0) TKThrow(ArgErr);
    static const TKKeywordBlockForm kForm{{{"DIM", 0, kMaxTextDim, "bad vector dimension"},
                                           {"TYPE", INT32_MIN, UINT32_MAX, "bad vector type"}},
                                          false,
                                          "unknown keyword in vector text",
                                          "number expected in vector data",
                                          "vector text too long",
                                          "vector text ends inside its block"};
    int64_t keys[2] = {-1, fType};  // dimension, type
    const int64_t& dim = keys[0];
    return TKReadKeywordBlock(
        text, length, consumed, kForm, keys,
        [&](std::vector<double>& values) {
            // A known dimension is applied before the values come.
            if (dim > 0) values.reserve(static_cast<size_t>(dim));
            return kMaxTextDim;
        },
        [&](std::vector<double>& values) {
            if (dim >= 0 && static_cast<int64_t>(values.size()) != dim)
                TKThrowMsg(FormatErr, "vector text has the wrong count");
            SetFromArray(static_cast<int32_t>(values.size()), values.data());
            fType = static_cast<int32_t>(static_cast<uint32_t>(keys[1]));
        });
}

int32_t TKVector::Read(TKStream& stream) {
    TKString text = TKReadTextBlock(stream, "END_DATA");
    return FromText(text.CString(), text.Length());
}

void TKVector::Write(TKStream& stream, const char* format) const {
    TKString text = ToText(format);
    stream.Write(text.CString(), size_t(text.Length()));
}
