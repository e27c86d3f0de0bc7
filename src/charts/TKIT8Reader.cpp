// The CGATS state machine: header keywords, the field list, the records, and further tables.
#include "charts/TKIT8Reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

#include "charts/TKChartFieldNames.h"
#include "color/TKColors.h"
#include "io/TKBuffer.h"
#include "io/TKFile.h"

namespace {

bool EqualsNoCase(std::string_view a, const char* b) {
    const size_t n = std::strlen(b);
    if (a.size() != n) return false;
    for (size_t i = 0; i < n; ++i) {
        char x = a[i], y = b[i];
        if (x >= 'a' && x <= 'z') x = char(x - 'a' + 'A');
        if (y >= 'a' && y <= 'z') y = char(y - 'a' + 'A');
        if (x != y) return false;
    }
    return true;
}

bool IsStandardName(std::string_view token) {
    for (const char* name : {"IS12642", "IS126422", "CGATS.17", "ISO28178"})
        if (EqualsNoCase(token, name)) return true;
    return false;
}

// The texts that name the sample columns.
int32_t SampleFieldKind(std::string_view name) {
    if (EqualsNoCase(name, "SAMPLE_ID") || EqualsNoCase(name, "SampleID")) return kChartFieldID;
    if (EqualsNoCase(name, "SAMPLE_NAME") || EqualsNoCase(name, "SampleName")) return kChartFieldName;
    if (EqualsNoCase(name, "SAMPLE_LOC")) return kChartFieldLocation;
    return -1;
}

}  // namespace

IT8FormatReader::~IT8FormatReader() = default;

void IT8FormatReader::SetWantedType(uint32_t colorType, bool strict) {
    fWantedType = colorType;
    fStrict = strict && colorType != 0;
}

std::vector<uint32_t> IT8FormatReader::FoundTypes() const { return fFoundTypes; }

void IT8FormatReader::ReadFile(const TKFileSpec& spec) {
    TKFile file(spec, 1);
    std::vector<uint8_t> data;
    file.ReadData(data, -1);
    ReadText(reinterpret_cast<const char*>(data.data()), data.size());
}

void IT8FormatReader::ReadString(const TKString& text) { ReadText(text.CString(), size_t(text.Length())); }

void IT8FormatReader::Read(TKStream& stream) {
    const std::vector<uint8_t> data = ReadWholeData(stream);
    ReadText(reinterpret_cast<const char*>(data.data()), data.size());
}

void IT8FormatReader::ResetTable() {
    fState = kHeader;
    fTableStarted = false;
    fKeywords.Clear();
    fKeywordCount = 0;
    fChannelNames.clear();
    fFields.clear();
    fTypes.clear();
    fSpectralType = 0;
    fRowType = -1;
    fDeclaredSets = -1;
    fColumns.clear();
    fValues.clear();
    fTexts.clear();
    fColumn = 0;
    fRows = 0;
    fLastRecordLine = 0;
}

void IT8FormatReader::ReadText(const char* text, size_t length) {
    fFoundTypes.clear();
    fDimension = 0;
    fTable = 0;
    ResetTable();
    Begin();
    TKIT8Lexer lexer(text, length);
    TKIT8Lexer::Token token;
    while (fState != kFinished && lexer.Next(token)) {
        switch (fState) {
            case kHeader: HeaderToken(lexer, token); break;
            case kFieldList: FieldToken(token); break;
            case kData: DataToken(token); break;
            case kFinished: break;
        }
    }
    switch (fState) {
        case kHeader:
            // Only the first table must be there; after a table the text may simply end.
            if (fTable == 0 || fTableStarted)
                TKIT8Lexer::Fail(FormatErr, lexer.Line(), "the text ends before any data");
            break;
        case kFieldList: TKIT8Lexer::Fail(FormatErr, lexer.Line(), "the text ends inside the field list");
        case kData: FinishTable(lexer.Line(), true); break;
        case kFinished: break;
    }
    End();
}

// --- State 0: keywords --------------------------------------------------------------------------

void IT8FormatReader::HeaderToken(TKIT8Lexer& lexer, const TKIT8Lexer::Token& token) {
    const bool first = !fTableStarted;
    fTableStarted = true;
    // The words of the structure count only unquoted: in quotes they are names.
    if (!token.quoted && EqualsNoCase(token.text, "BEGIN_DATA_FORMAT")) {
        fState = kFieldList;
        return;
    }
    if (!token.quoted && EqualsNoCase(token.text, "BEGIN_DATA")) {
        StartRecords(token.line);
        return;
    }
    if (IsStandardName(token.text)) {
        SetPlainKeyword("STANDARD", std::string(token.text));
        return;
    }
    std::string key;
    TKIT8Lexer::Unquote(token.text, key);
    int32_t line = 0;
    const std::string_view value = lexer.RestOfLine(&line);
    // A word alone on the first line of a table names the file's kind ("CTI3", "IT8.7/2").
    if (value.empty() && first && key != "WEIGHTING_FUNCTION") {
        SetPlainKeyword("STANDARD", key);
        return;
    }
    StoreKeyword(key, value, line);
}

void IT8FormatReader::SetChannelName(int32_t index, const std::string& name, bool keep) {
    if (index < 0 || index > 4096) return;
    if (size_t(index) >= fChannelNames.size()) fChannelNames.resize(size_t(index) + 1);
    if (!keep || fChannelNames[size_t(index)].empty()) fChannelNames[size_t(index)] = name;
}

void IT8FormatReader::SetPlainKeyword(const std::string& key, const std::string& value) {
    // By the whole key, not as a path: a keyword may hold "/".
    const TKString text(value.c_str(), int32_t(value.size()));
    const int32_t index = fKeywords.IndexOfKey(key.c_str());
    if (index >= 0)
        fKeywords.SetValue(index, text);
    else
        fKeywords.Add(TKString(key.c_str(), int32_t(key.size())), text);
}

void IT8FormatReader::StoreKeyword(const std::string& key, std::string_view rawValue, int32_t line) {
    std::string value;
    TKIT8Lexer::Unquote(rawValue, value);
    if (key == "KEYWORD") {
        fKeywords.SetString(TKString::Format("KEYWORD/%d", fKeywordCount++), TKString(value.c_str()));
    } else if (key == "PROCESSCOLOR_ID" || key == "SPOT_ID") {
        // An optional channel number from 1, then the name.
        size_t digits = 0;
        while (digits < value.size() && value[digits] >= '0' && value[digits] <= '9') ++digits;
        std::string name;
        TKIT8Lexer::Unquote(std::string_view(value).substr(std::min(value.size(), value.find_first_not_of(" \t", digits))), name);
        const int32_t number = digits > 0 && digits < 5 ? std::atoi(value.substr(0, digits).c_str()) : 0;
        SetChannelName(number > 0 ? number - 1 : int32_t(fChannelNames.size()), name, false);
    } else if (key == "LGOMCCHANNEL") {
        SetPlainKeyword(key, std::string(rawValue));
    } else if (key == "NUMBER_OF_FIELDS" || key == "NUMBER_OF_SETS") {
        // They describe the data; they are checked against it, not kept.
        double number = 0;
        if (!TKIT8Lexer::ParseNumber(value, number) || number < 0 || number > 1e9 || number != std::floor(number))
            TKIT8Lexer::Fail(FormatErr, line, "%s \"%s\" is no count", key.c_str(), value.c_str());
        if (key == "NUMBER_OF_SETS") {
            fDeclaredSets = int32_t(number);
            fDeclaredSetsLine = line;
        }
    } else if (!value.empty() || (key == "WEIGHTING_FUNCTION" && fKeywords.IndexOfKey("WEIGHTING_FUNCTION") < 0)) {
        SetPlainKeyword(key, value);
    }
}

// --- State 1: the field list --------------------------------------------------------------------

void IT8FormatReader::FieldToken(const TKIT8Lexer::Token& token) {
    if (!token.quoted && EqualsNoCase(token.text, "END_DATA_FORMAT")) {
        fState = kHeader;
        return;
    }
    if (!token.quoted && (EqualsNoCase(token.text, "BEGIN_DATA") || EqualsNoCase(token.text, "BEGIN_DATA_FORMAT")))
        TKIT8Lexer::Fail(FormatErr, token.line, "%.*s inside the field list", int(token.text.size()), token.text.data());
    std::string name;
    TKIT8Lexer::Unquote(token.text, name);
    AddField(name, token.line);
}

void IT8FormatReader::AddField(const std::string& name, int32_t line) {
    if (fFields.size() >= 100000) TKIT8Lexer::Fail(FormatErr, line, "more than 100000 fields");
    for (const TKChartField& field : fFields)
        if (field.name == name.c_str()) TKIT8Lexer::Fail(FormatErr, line, "the field %s comes twice", name.c_str());
    const int32_t sampleKind = SampleFieldKind(name);
    if (sampleKind >= 0) {
        for (const TKChartField& field : fFields)
            if (field.kind == sampleKind)
                TKIT8Lexer::Fail(FormatErr, line, "the field %s repeats %s", name.c_str(), field.name.CString());
        fFields.push_back({TKString(name.c_str()), sampleKind, 0, 0});
        return;
    }
    const TKChartFieldMeaning meaning = TKChartRecogniseField(name.c_str(), fSpectralType);
    if (meaning.type) {
        if (IsSpectral(meaning.type) && !fSpectralType) fSpectralType = meaning.type;
        AddColourField(name, meaning.type, meaning.channel, line);
        return;
    }
    if (AddExtraInk(name, line)) return;
    fFields.push_back({TKString(name.c_str()), kChartFieldExtra, 0, 0});
}

void IT8FormatReader::AddColourField(const std::string& name, uint32_t type, int32_t channel, int32_t line) {
    auto entry = std::find_if(fTypes.begin(), fTypes.end(), [type](const TypeColumns& t) { return t.type == type; });
    if (entry == fTypes.end()) {
        TypeColumns columns;
        columns.type = type;
        columns.columns.assign(size_t(GetChannelCount(type)), -1);
        fTypes.push_back(columns);
        entry = fTypes.end() - 1;
    }
    if (entry->columns[size_t(channel)] >= 0)
        TKIT8Lexer::Fail(FormatErr, line, "the field %s repeats %s", name.c_str(),
                         fFields[size_t(entry->columns[size_t(channel)])].name.CString());
    entry->columns[size_t(channel)] = int32_t(fFields.size());
    fFields.push_back({TKString(name.c_str()), kChartFieldColor, type, channel});
}

bool IT8FormatReader::AddExtraInk(const std::string& name, int32_t line) {
    const char* ink = TKChartExtraInkName(name.c_str());
    if (!ink) return false;
    auto base = std::find_if(fTypes.begin(), fTypes.end(), [](const TypeColumns& t) { return t.type == TKCMYKSpace; });
    const bool spot = !*ink;
    if (base == fTypes.end()) {
        // Spot inks without a process base make a type of their own; other inks stay unread.
        if (!spot) return false;
        base = std::find_if(fTypes.begin(), fTypes.end(), [](const TypeColumns& t) { return t.type == TK1CLRSpace; });
        if (base == fTypes.end()) {
            TypeColumns columns;
            columns.type = TK1CLRSpace;
            fTypes.push_back(columns);
            base = fTypes.end() - 1;
        }
    } else if (base->extraInks == 0) {
        for (int32_t c = 0; c < 4; ++c) SetChannelName(c, GetChannelName(TKCMYKSpace, c, 1).CString(), true);
    }
    if (base->columns.size() >= 15) TKIT8Lexer::Fail(FormatErr, line, "more than 15 inks");
    const int32_t channel = int32_t(base->columns.size());
    base->columns.push_back(int32_t(fFields.size()));
    ++base->extraInks;
    if (!spot) SetChannelName(channel, ink, true);
    fFields.push_back({TKString(name.c_str()), kChartFieldColor, base->type, channel});
    return true;
}

// --- Start of the records -----------------------------------------------------------------------

bool IT8FormatReader::TakesOver(uint32_t current, uint32_t candidate) const {
    if (fStrict) return candidate == fWantedType;
    if (!current || (fWantedType && candidate == fWantedType)) return true;
    if (!fWantedType || current == fWantedType) return false;
    return IsCIESpace(fWantedType) && IsCIESpace(candidate) &&
           (IsSpectral(candidate) || (candidate == TKLabSpace && !IsSpectral(current)));
}

void IT8FormatReader::StartRecords(int32_t line) {
    // NUMBER_OF_FIELDS is not checked: the field list says what a record holds, and shipped
    // reference files exist whose count is one too many. A record of another length fails below.
    // Widened ink sets take their multi-colour type; incomplete types stay unread text.
    std::vector<TypeColumns> complete;
    int32_t slot = 0;
    for (TypeColumns& entry : fTypes) {
        if (entry.extraInks > 0) {
            entry.type = entry.type == TKCMYKSpace ? GetDeviceType(int32_t(entry.columns.size()))
                                                   : GetPureColorType(int32_t(entry.columns.size()));
        }
        const bool spectral = IsSpectral(entry.type);
        const bool whole = spectral || std::find(entry.columns.begin(), entry.columns.end(), -1) == entry.columns.end();
        for (size_t c = 0; c < entry.columns.size(); ++c) {
            if (entry.columns[c] < 0) continue;
            TKChartField& field = fFields[size_t(entry.columns[c])];
            field.kind = whole ? kChartFieldColor : kChartFieldExtra;
            field.type = whole ? entry.type : 0;
            field.channel = whole ? int32_t(c) : 0;
        }
        if (!whole) continue;
        entry.firstSlot = slot;
        slot += int32_t(entry.columns.size());
        complete.push_back(entry);
    }
    fTypes = complete;
    fRowType = -1;
    for (size_t t = 0; t < fTypes.size(); ++t) {
        if (fTable == 0 && std::find(fFoundTypes.begin(), fFoundTypes.end(), fTypes[t].type) == fFoundTypes.end())
            fFoundTypes.push_back(fTypes[t].type);
        if (TakesOver(fRowType < 0 ? 0 : fTypes[size_t(fRowType)].type, fTypes[t].type)) fRowType = int32_t(t);
    }
    // Only the first table must hold colours; later ones may be plain text tables.
    if (fRowType < 0 && (fTable == 0 || !ReadsFurtherTables()))
        TKIT8Lexer::Fail(FormatErr, line, "BEGIN_DATA without a colour type in the field list");
    if (fFields.empty()) TKIT8Lexer::Fail(FormatErr, line, "BEGIN_DATA without a field list");
    fColumns.assign(fFields.size(), Column{kText, 0});
    for (const TypeColumns& entry : fTypes)
        for (size_t c = 0; c < entry.columns.size(); ++c)
            if (entry.columns[c] >= 0) fColumns[size_t(entry.columns[c])] = Column{kValue, entry.firstSlot + int32_t(c)};
    fValues.assign(size_t(slot), 0.0);
    fTexts.assign(WantsTexts() ? fFields.size() : 0, std::string());
    WriteChannelNames();
    if (StopAtData()) {
        fState = kFinished;
        return;
    }
    if (fRowType >= 0 && fTable == 0) {
        SetColorType(fTypes[size_t(fRowType)].type);
        if (fDimension < 1) {
            fState = kFinished;
            return;
        }
    }
    BeginRecords();
    fState = kData;
    fColumn = 0;
    fRows = 0;
}

void IT8FormatReader::WriteChannelNames() {
    for (size_t i = 0; i < fChannelNames.size(); ++i)
        fKeywords.SetString(TKString::Format("SPOT_ID/%d", int32_t(i) + 1), TKString(fChannelNames[i].c_str()));
}

// --- State 2: records ---------------------------------------------------------------------------

void IT8FormatReader::DataToken(const TKIT8Lexer::Token& token) {
    const int32_t width = int32_t(fColumns.size());
    // A record stands on a line of its own; a quoted text in it may run over line ends.
    if (fColumn == 0) {
        if (!token.quoted && EqualsNoCase(token.text, "END_DATA")) {
            FinishTable(token.line, false);
            return;
        }
        if (fRows > 0 && token.line == fLastRecordLine)
            TKIT8Lexer::Fail(FormatErr, token.line, "a record with more than the %d fields of the format", width);
        fRecordLine = token.line;
        std::fill(fValues.begin(), fValues.end(), 0.0);
    } else if (token.line != fLastTokenLine) {
        TKIT8Lexer::Fail(FormatErr, fRecordLine, "a record with %d fields where the format lists %d", fColumn, width);
    }
    fLastTokenLine = token.endLine;
    const Column& column = fColumns[size_t(fColumn)];
    if (column.kind == kValue) {
        if (!TKIT8Lexer::ParseNumber(token.text, fValues[size_t(column.slot)]))
            TKIT8Lexer::Fail(FormatErr, token.line, "\"%.*s\" in field %s is no number", int(std::min<size_t>(token.text.size(), 40)),
                             token.text.data(), fFields[size_t(fColumn)].name.CString());
    } else if (!fTexts.empty()) {
        TKIT8Lexer::Unquote(token.text, fTexts[size_t(fColumn)]);
    }
    if (++fColumn == width) {
        fColumn = 0;
        fLastRecordLine = token.endLine;
        AddRecord();
        ++fRows;
    }
}

void IT8FormatReader::FinishTable(int32_t line, bool atEnd) {
    if (fColumn != 0)
        TKIT8Lexer::Fail(FormatErr, fRecordLine, "a record with %d fields where the format lists %d", fColumn,
                         int32_t(fColumns.size()));
    if (fDeclaredSets >= 0 && fDeclaredSets != fRows)
        TKIT8Lexer::Fail(FormatErr, atEnd ? line : fDeclaredSetsLine, "NUMBER_OF_SETS says %d, the data holds %d records",
                         fDeclaredSets, fRows);
    EndTable();
    if (atEnd || !ReadsFurtherTables()) {
        fState = kFinished;
        return;
    }
    ++fTable;
    ResetTable();
}

TKVector IT8FormatReader::TypeRow(const TypeColumns& columns) const {
    const int32_t n = int32_t(columns.columns.size());
    TKVector row(n, int32_t(columns.type));
    const double* values = fValues.data() + columns.firstSlot;
    for (int32_t c = 0; c < n; ++c) row[c] = values[c];
    if (!IsSpectral(columns.type)) return row;
    // A spectrum that does not cover every band: the missing ends take the nearest measured
    // value, gaps inside are bridged linearly.
    int32_t previous = -1;
    for (int32_t c = 0; c < n; ++c) {
        if (columns.columns[size_t(c)] < 0) continue;
        if (previous < 0) {
            for (int32_t k = 0; k < c; ++k) row[k] = row[c];
        } else {
            for (int32_t k = previous + 1; k < c; ++k)
                row[k] = row[previous] + (row[c] - row[previous]) * double(k - previous) / double(c - previous);
        }
        previous = c;
    }
    for (int32_t k = previous + 1; k < n && previous >= 0; ++k) row[k] = row[previous];
    return row;
}

void IT8FormatReader::AddRecord() {
    if (fRowType >= 0 && fTable == 0) AddRow(TypeRow(fTypes[size_t(fRowType)]));
}
