// The CGATS writer: header, field list, records, footer, and the further tables of a chart.
#include "charts/TKIT8Writer.h"

#include <charconv>
#include <ctime>

#include "charts/TKChartFieldNames.h"
#include "color/TKColors.h"
#include "io/TKBuffer.h"
#include "io/TKFile.h"
#include "io/TKGlobalData.h"

namespace {

// Keywords the writer puts in its own place, or that describe the data instead of the chart.
bool WrittenElsewhere(const TKString& key) {
    for (const char* name : {"NUMBER_OF_FIELDS", "NUMBER_OF_SETS", "TKORIENTATION", "LGOROWLENGTH", "STANDARD"})
        if (key == name) return true;
    return false;
}

// A plain decimal number, which CGATS writes without quotes.
bool IsPlainNumber(const char* text) {
    const char* p = text;
    if (*p == '-') ++p;
    const char* digits = p;
    while (*p >= '0' && *p <= '9') ++p;
    if (p == digits) return false;
    if (*p == '.') {
        const char* fraction = ++p;
        while (*p >= '0' && *p <= '9') ++p;
        if (p == fraction) return false;
    }
    return *p == 0;
}

void AppendKeywordValue(std::string& out, const TKString& value) {
    if (IsPlainNumber(value.CString()))
        out += value.CString();
    else
        IT8FormatWriter::AppendQuoted(out, value);
}

void Append(std::string& out, const TKString& text) { out.append(text.CString(), size_t(text.Length())); }

}  // namespace

IT8FormatWriter::~IT8FormatWriter() = default;

void IT8FormatWriter::AppendValue(std::string& out, double value, uint32_t type) {
    const int precision = IsSpectralOrDensity(type) || type == TKYxySpace ? 5 : 3;
    char buffer[64];
    auto fixed = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, precision);
    double back = 0;
    if (fixed.ec == std::errc()) {
        std::from_chars(buffer, fixed.ptr, back);
        if (back == value) {
            out.append(buffer, size_t(fixed.ptr - buffer));
            return;
        }
    }
    // More digits than the format's: the shortest text that reads back to the same value.
    const auto exact = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, size_t(exact.ptr - buffer));
}

void IT8FormatWriter::AppendText(std::string& out, const TKString& text) {
    const char* p = text.CString();
    // A text that begins like a number but is none ("2A1") goes in quotes: readers that take
    // tokens by their first character would split it.
    const bool numberLike = (*p >= '0' && *p <= '9') || *p == '-' || *p == '+' || *p == '.';
    bool plain = *p != 0 && *p != '"' && *p != '#' && (!numberLike || IsPlainNumber(p));
    for (const char* q = p; *q && plain; ++q) plain = *q != ' ' && *q != '\t' && *q != '\n' && *q != '\r';
    if (plain)
        Append(out, text);
    else
        AppendQuoted(out, text);
}

void IT8FormatWriter::AppendQuoted(std::string& out, const TKString& text) {
    out += '"';
    for (const char* q = text.CString(); *q; ++q) {
        // A backslash is doubled only where a reader would take it for an escape.
        if (*q == '"' || (*q == '\\' && (q[1] == '"' || q[1] == '\\' || q[1] == 0))) out += '\\';
        out += *q;
    }
    out += '"';
}

void IT8FormatWriter::AppendWord(std::string& out, const TKString& word, bool key) {
    static const char* const kStructure[] = {"BEGIN_DATA_FORMAT", "END_DATA_FORMAT", "BEGIN_DATA", "END_DATA"};
    static const char* const kStandards[] = {"IS12642", "IS126422", "CGATS.17", "ISO28178"};
    bool special = false;
    for (const char* name : kStructure) special = special || !word.CompareNoCase(name);
    for (const char* name : kStandards) special = special || (key && !word.CompareNoCase(name));
    if (special)
        AppendQuoted(out, word);
    else
        AppendText(out, word);
}

TKString IT8FormatWriter::FormatRow(const TKVector& row) const {
    std::string out;
    for (int32_t c = 0; c < row.GetDim(); ++c) {
        if (c) out += '\t';
        AppendValue(out, row[c], uint32_t(row.GetType()));
    }
    return TKString(out.c_str(), int32_t(out.size()));
}

std::vector<TKChartField> IT8FormatWriter::WriteFields() const {
    std::vector<TKChartField> fields;
    const uint32_t type = ColorType();
    for (int32_t c = 0; c < GetChannelCount(type); ++c) fields.push_back({TKChartFieldName(type, c), kChartFieldColor, type, c});
    return fields;
}

void IT8FormatWriter::AppendRecord(std::string& out, int32_t index) const {
    Append(out, FormatRow(Row(index)));
    out += '\n';
}

void IT8FormatWriter::AppendKeywords(std::string& out, const TKDataBase& keywords) const {
    for (int32_t i = 0; i < keywords.Count(); ++i) {
        const TKString key = keywords.Key(i);
        if (WrittenElsewhere(key)) continue;
        const TKRefPtr<TKDataBase> sub = keywords.SubBaseAt(i);
        if (!sub) {
            AppendWord(out, key, true);
            out += '\t';
            if (key == "LGOMCCHANNEL")
                Append(out, keywords.Value(i));  // kept as read, quotes and all
            else
                AppendKeywordValue(out, keywords.Value(i));
            out += '\n';
            continue;
        }
        // Numbered entries: "KEYWORD/n" declarations, "SPOT_ID/n" channel names, and repeated
        // blocks, one line each.
        for (int32_t j = 0; j < sub->Count(); ++j) {
            Append(out, key);
            out += '\t';
            if (key == "SPOT_ID") {
                Append(out, sub->Key(j));
                out += ' ';
                AppendQuoted(out, sub->Value(j));
            } else {
                AppendKeywordValue(out, sub->Value(j));
            }
            out += '\n';
        }
    }
}

void IT8FormatWriter::AppendHeader(std::string& out, int32_t rows) {
    const TKDataBase* keywords = GetKeywords();
    // A table after the first may have no identifier line of its own.
    const int32_t standardIndex = keywords ? keywords->IndexOfKey("STANDARD") : -1;
    const bool own = KeepsOwnIdentity();
    if (standardIndex >= 0) {
        AppendWord(out, keywords->Value(standardIndex), false);
        out += '\n';
    } else if (!fFurtherTable && !own) {
        out += "CGATS.17\n";  // a file without an identifier line is written again without one
    }
    auto lacks = [keywords](const char* key) { return !keywords || !keywords->Exists(key); };
    if (!own && lacks("ORIGINATOR")) {
        out += "ORIGINATOR ";
        AppendQuoted(out, TKGlobalData::GetString("ApplicationName", "Unknown"));
        out += '\n';
    }
    if (!own && lacks("FILE_DESCRIPTOR") && lacks("DESCRIPTOR")) out += "FILE_DESCRIPTOR \"Unknown\"\n";
    if (!own && lacks("CREATED")) {
        char date[64];
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        std::strftime(date, sizeof date, "%B %d, %Y", &local);
        out += "CREATED \"";
        out += date;
        out += "\"\n";
    }
    if (keywords) {
        AppendKeywords(out, *keywords);
        for (const char* key : {"LGOROWLENGTH", "TKORIENTATION"}) {
            if (!keywords->Exists(key)) continue;
            out += key;
            out += '\t';
            AppendKeywordValue(out, keywords->GetString(key));
            out += '\n';
        }
    }
    const std::vector<TKChartField> fields = WriteFields();
    out += "NUMBER_OF_FIELDS " + std::to_string(fields.size()) + "\nBEGIN_DATA_FORMAT\n";
    for (size_t f = 0; f < fields.size(); ++f) {
        if (f) out += '\t';
        AppendText(out, fields[f].name);
    }
    out += "\nEND_DATA_FORMAT\nNUMBER_OF_SETS " + std::to_string(rows) + "\nBEGIN_DATA\n";
}

void IT8FormatWriter::WriteTable(std::string& out) {
    const int32_t rows = RowCount();
    AppendHeader(out, rows);
    for (int32_t r = 0; r < rows; ++r) AppendRecord(out, r);
    out += "END_DATA\n";
}

void IT8FormatWriter::WriteHeader(TKStream& stream, int32_t rows) {
    std::string out;
    AppendHeader(out, rows);
    stream.Write(out.data(), out.size());
}

void IT8FormatWriter::WriteFooter(TKStream& stream) { stream.Write("END_DATA\n", 9); }

void IT8FormatWriter::WriteStream(TKStream& stream) {
    std::string out;
    WriteTable(out);
    stream.Write(out.data(), out.size());
}

void IT8FormatWriter::WriteFile(const TKFileSpec& spec) {
    TKFile file(spec, 2);
    WriteStream(file);
}

TKString IT8FormatWriter::WriteString() {
    std::string out;
    WriteTable(out);
    return TKString(out.c_str(), int32_t(out.size()));
}

// --- Chart ----------------------------------------------------------------------------------------

uint32_t IT8FormatChartWriter::ColorType() const {
    const uint32_t device = fChart->DeviceType();
    return device ? device : fChart->MeasuredType();
}

TKVector IT8FormatChartWriter::Row(int32_t index) const { return fChart->Matrix(ColorType()).GetRow(index); }

void IT8FormatChartWriter::AppendRecord(std::string& out, int32_t index) const {
    if (fFields.empty()) {
        fFields = fChart->WritableFields();
        for (const TKChartField& field : fFields)
            if (field.kind == kChartFieldColor && std::none_of(fMatrices.begin(), fMatrices.end(),
                                                                [&field](const auto& m) { return m.first == field.type; }))
                fMatrices.emplace_back(field.type, fChart->Matrix(field.type));
    }
    for (size_t f = 0; f < fFields.size(); ++f) {
        if (f) out += '\t';
        const TKChartField& field = fFields[f];
        switch (field.kind) {
            case kChartFieldID: AppendText(out, fChart->ID(index)); break;
            case kChartFieldName: AppendText(out, fChart->Name(index)); break;
            case kChartFieldLocation: AppendText(out, fChart->Location(index)); break;
            case kChartFieldColor:
                for (const auto& m : fMatrices)
                    if (m.first == field.type) AppendValue(out, m.second(index, field.channel), field.type);
                break;
            default: AppendText(out, fChart->ExtraValue(index, field.channel)); break;
        }
    }
    out += '\n';
}

std::string IT8FormatChartWriter::WriteAll() {
    std::string out;
    WriteTable(out);
    for (int32_t t = 0; t < fChart->TableCount(); ++t) {
        IT8FormatChartWriter table(fChart->Table(t));
        table.fFurtherTable = true;
        out += '\n';
        table.WriteTable(out);
    }
    return out;
}

void IT8FormatChartWriter::WriteStream(TKStream& stream) {
    const std::string out = WriteAll();
    stream.Write(out.data(), out.size());
}

TKString IT8FormatChartWriter::WriteString() {
    const std::string out = WriteAll();
    return TKString(out.c_str(), int32_t(out.size()));
}
