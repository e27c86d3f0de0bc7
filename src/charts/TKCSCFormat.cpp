// The CSC gamut text, both ways.
#include "charts/TKCSCFormat.h"

#include <cstring>
#include <string>
#include <vector>

#include "charts/TKIT8Lexer.h"
#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "io/TKFile.h"

namespace {

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return text;
}

// The words of a ";"-separated line, trimmed; an empty last word (after a final ";") is dropped.
std::vector<std::string> Split(const std::string& line) {
    std::vector<std::string> words;
    size_t start = 0;
    for (;;) {
        const size_t end = std::min(line.find(';', start), line.size());
        std::string word = line.substr(start, end - start);
        const size_t first = word.find_first_not_of(" \t");
        word = first == std::string::npos ? std::string() : word.substr(first, word.find_last_not_of(" \t") - first + 1);
        if (end == line.size()) {
            if (!word.empty()) words.push_back(word);
            return words;
        }
        words.push_back(word);
        start = end + 1;
    }
}

// The device type named by the first channel names, and how many names it takes.
uint32_t DeviceTypeOf(const std::vector<std::string>& names, int32_t& count) {
    const std::string first = names.empty() ? std::string() : Lower(names.front());
    count = int32_t(names.size()) - 3;
    if (first == "cyan") {
        const bool black = names.size() > 3 && Lower(names[3]) == "black";
        if (count == 4 && black) return TKCMYKSpace;
        if (count == 3) return TKCMYSpace;
        return count > 0 ? GetDeviceType(count) : 0;
    }
    if (first == "red") return count == 3 ? TKRGBSpace : GetDeviceType(count);
    count = 0;
    return 0;
}

}  // namespace

// --- Writer ---------------------------------------------------------------------------------------

CSCFormatMatrixWriter::CSCFormatMatrixWriter(const TKMatrix& device, const TKMatrix& cie) : fDevice(device), fCIE(cie) {
    const uint32_t type = uint32_t(cie.GetType());
    if (type != TKLabSpace && type != TKXYZSpace) ConvertColors(fCIE, TKLabSpace, cie);
    if (!fDevice.IsEmpty() && fDevice.GetHeight() != fCIE.GetHeight())
        TKThrowMsg(DimMismatch, TKString::Format("%d device rows beside %d measured ones", fDevice.GetHeight(), fCIE.GetHeight()));
}

TKString CSCFormatMatrixWriter::WriteString() const {
    std::string out = "% CSC gammut file\n% Version: 2\n\n% ";
    const uint32_t deviceType = uint32_t(fDevice.GetType());
    for (int32_t c = 0; !fDevice.IsEmpty() && c < fDevice.GetWidth(); ++c) {
        out += GetChannelName(deviceType, c, 1).CString();
        out += ';';
    }
    out += fCIE.GetType() == int32_t(TKXYZSpace) ? "X;Y;Z\n" : "L;a;b\n";
    char number[64];
    for (int32_t r = 0; r < fCIE.GetHeight(); ++r) {
        for (const TKMatrix* m : {&fDevice, &fCIE}) {
            for (int32_t c = 0; !m->IsEmpty() && c < m->GetWidth(); ++c) {
                std::snprintf(number, sizeof number, "%.2f;", (*m)(r, c));
                out += number;
            }
        }
        out += '\n';
    }
    return TKString(out.c_str(), int32_t(out.size()));
}

void CSCFormatMatrixWriter::WriteStream(TKStream& stream) const {
    const TKString text = WriteString();
    stream.Write(text.CString(), size_t(text.Length()));
}

void CSCFormatMatrixWriter::WriteFile(const TKFileSpec& spec) const {
    TKFile file(spec, 2);
    WriteStream(file);
}

// --- Reader ---------------------------------------------------------------------------------------

void CSCFormatMatrixReader::ReadString(const TKString& text) {
    std::vector<std::string> names;
    std::vector<double> values;
    uint32_t deviceType = 0, cieType = 0;
    int32_t deviceCount = 0, width = 0, rows = 0;
    const char* p = text.CString();
    const char* end = p + text.Length();
    for (int32_t line = 1; p < end; ++line) {
        const char* stop = p;
        while (stop < end && *stop != '\n' && *stop != '\r') ++stop;
        const std::string content(p, size_t(stop - p));
        p = stop < end && *stop == '\r' && stop + 1 < end && stop[1] == '\n' ? stop + 2 : stop + 1;
        if (content.find_first_not_of(" \t") == std::string::npos) continue;
        if (content[0] == '%') {
            // Comments; the last one with ";" before the rows names the channels.
            if (rows == 0 && content.find(';') != std::string::npos) names = Split(content.substr(1));
            continue;
        }
        if (width == 0) {
            if (names.size() < 3) TKIT8Lexer::Fail(FormatErr, line, "values before the channel names");
            deviceType = DeviceTypeOf(names, deviceCount);
            const std::string cie = Lower(names[size_t(deviceCount)]);
            cieType = cie == "x" ? TKXYZSpace : TKLabSpace;
            if (int32_t(names.size()) != deviceCount + 3)
                TKIT8Lexer::Fail(FormatErr, line, "%d channel names are no device and CIE set", int32_t(names.size()));
            width = int32_t(names.size());
        }
        const std::vector<std::string> words = Split(content);
        if (int32_t(words.size()) != width)
            TKIT8Lexer::Fail(FormatErr, line, "a row of %d values where the names list %d", int32_t(words.size()), width);
        for (const std::string& word : words) {
            double value = 0;
            if (!TKIT8Lexer::ParseNumber(word, value))
                TKIT8Lexer::Fail(FormatErr, line, "\"%s\" is no number", word.substr(0, 40).c_str());
            values.push_back(value);
        }
        ++rows;
    }
    if (width == 0) TKIT8Lexer::Fail(FormatErr, 1, "no rows");
    TKMatrix device(deviceCount ? rows : 0, deviceCount, int32_t(deviceType)), cie(rows, 3, int32_t(cieType));
    for (int32_t r = 0; r < rows; ++r) {
        for (int32_t c = 0; c < deviceCount; ++c) device(r, c) = values[size_t(r * width + c)];
        for (int32_t c = 0; c < 3; ++c) cie(r, c) = values[size_t(r * width + deviceCount + c)];
    }
    fDevice = device;
    fCIE = cie;
}

void CSCFormatMatrixReader::ReadStream(TKStream& stream) { ReadString(ReadWholeStream(stream)); }

void CSCFormatMatrixReader::ReadFile(const TKFileSpec& spec) {
    TKFile file(spec, 1);
    ReadStream(file);
}
