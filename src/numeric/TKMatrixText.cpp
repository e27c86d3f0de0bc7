// Text forms of TKMatrix: the keyword block and the compact one-line form.
#include <cstdio>
#include <cstdlib>
#include <strings.h>
#include <vector>

#include "numeric/TKMatrix.h"
#include "io/TKStream.h"
#include "numeric/TKNumberText.h"

namespace {
// Largest element count a text may announce; protects against absurd allocations.
constexpr int64_t kMaxTextElements = 1 << 24;

bool KeyIs(const char* token, const char* key) { return strcasecmp(token, key) == 0; }
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
    enum class State { Keyword, Width, Height, Data } state = State::Keyword;
    TKTextTokenReader reader(text, length);
    char token[TKTextTokenReader::kMaxToken + 1];
    int64_t width = -1, height = -1;
    std::vector<double> values;
    bool sawToken = false;
    while (reader.Next(token)) {
        sawToken = true;
        int64_t number = 0;
        switch (state) {
        case State::Keyword:
            if (KeyIs(token, "WIDTH")) state = State::Width;
            else if (KeyIs(token, "HEIGHT")) state = State::Height;
            else if (KeyIs(token, "BEGIN_DATA")) {
                if (width < 0 || height < 0 || width * height > kMaxTextElements)
                    TKThrowMsg(FormatErr, "matrix text needs a sensible width and height before its data");
                values.reserve(size_t(width * height));
                state = State::Data;
            } else TKThrowMsg(FormatErr, "unknown keyword in matrix text");
            break;
        case State::Width:
        case State::Height:
            if (!TKParseInt(token, &number) || number < 0 || number > kMaxTextElements)
                TKThrowMsg(FormatErr, "bad matrix size");
            (state == State::Width ? width : height) = number;
            state = State::Keyword;
            break;
        case State::Data: {
            if (KeyIs(token, "END_DATA")) {
                if (int64_t(values.size()) != width * height) TKThrowMsg(FormatErr, "matrix text has the wrong count");
                SetSize(0, 0);
                SetSize(int32_t(height), int32_t(width));
                if (!values.empty()) std::copy(values.begin(), values.end(), MutableValues());
                if (consumed) *consumed = reader.Position();
                return 0;
            }
            double value = 0.0;
            if (!TKParseDouble(token, &value)) TKThrowMsg(FormatErr, "number expected in matrix data");
            if (int64_t(values.size()) >= width * height) TKThrowMsg(FormatErr, "matrix text has too many values");
            values.push_back(value);
            break;
        }
        }
    }
    if (consumed) *consumed = reader.Position();
    if (!sawToken) return EOFReached;
    TKThrowMsg(FormatErr, "matrix text ends inside its block");
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
