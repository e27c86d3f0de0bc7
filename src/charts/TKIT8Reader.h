// The reader of the CGATS.17 text family (.ti1, .ti2, .ti3, .txt, .cie, IT8): one state machine
// over keywords, the field list and the records, which hands each record to virtual operations
// so that subclasses collect rows into a matrix or whole tables into a chart.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "charts/TKColorChart.h"
#include "charts/TKIT8Lexer.h"
#include "io/TKDataBase.h"
#include "io/TKFileSpec.h"
#include "io/TKStream.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

class IT8FormatReader {
public:
    IT8FormatReader() = default;
    virtual ~IT8FormatReader();
    IT8FormatReader(const IT8FormatReader&) = delete;
    IT8FormatReader& operator=(const IT8FormatReader&) = delete;

    // The type the rows are wanted in (0 for any). Without `strict` a file without it gives the
    // nearest type it has; with `strict` only that type is read.
    virtual void SetWantedType(uint32_t colorType, bool strict);
    // Reads one text. Errors carry the code and "line N: " in their message; what a subclass
    // collects is only handed out when the whole text has been read.
    virtual void Read(TKStream& stream);
    virtual void ReadFile(const TKFileSpec& spec);
    virtual void ReadString(const TKString& text);
    // The complete colour types of the field list, in order of first sight.
    virtual std::vector<uint32_t> FoundTypes() const;
    // Begin before the text, End after it; SetColorType when the records start, with the type
    // the rows are delivered in; AddRow with each record's values of that type.
    virtual void Begin() {}
    virtual void End() {}
    virtual void SetColorType(uint32_t colorType) {}
    virtual void AddRow(const TKVector& row) {}

    int32_t Dimension() const { return fDimension; }
    // The keywords of the table being read ("KEYWORD/n", "SPOT_ID/n" and the rest).
    const TKDataBase& Keywords() const { return fKeywords; }

protected:
    // The columns of one colour type in the field list.
    struct TypeColumns {
        uint32_t type = 0;
        std::vector<int32_t> columns;  // per channel, -1 where the file lacks it
        int32_t firstSlot = 0;         // where its values stand in the record's values
        int32_t extraInks = 0;         // inks past CMYK ("CMYK_O", "SPOT_n")
    };

    // Hooks of the collectors.
    // Stop at the records: only keywords and the field list are wanted.
    virtual bool StopAtData() const { return false; }
    // Keep the texts of ids, names, locations and unread columns per record.
    virtual bool WantsTexts() const { return false; }
    // Read the tables that follow the first one in the same text.
    virtual bool ReadsFurtherTables() const { return false; }
    // After the field list of a table, before its first record.
    virtual void BeginRecords() {}
    // One whole record; the default hands the values of the row type to AddRow.
    virtual void AddRecord();
    // A table's "END_DATA" (or the end of the text in its records).
    virtual void EndTable() {}

    void SetDimension(int32_t dimension) { fDimension = dimension; }

    // What the hooks read.
    const std::vector<TKChartField>& Fields() const { return fFields; }
    const std::vector<TypeColumns>& Types() const { return fTypes; }
    int32_t RowTypeIndex() const { return fRowType; }
    // Values of the record by slot: a type's channel c is at firstSlot + c.
    const double* Values() const { return fValues.data(); }
    // The text of a column of the record (only with WantsTexts), without quotes.
    const std::string& Text(int32_t column) const { return fTexts[size_t(column)]; }
    int32_t Rows() const { return fRows; }
    int32_t TableIndex() const { return fTable; }
    TKDataBase& MutableKeywords() { return fKeywords; }
    // The values of a type of the record; spectra without their end channels are extended.
    TKVector TypeRow(const TypeColumns& columns) const;

private:
    enum State { kHeader, kFieldList, kData, kFinished };
    enum ColumnKind : uint8_t { kText, kValue };
    struct Column {
        ColumnKind kind;
        int32_t slot;
    };

    void ResetTable();
    void ReadText(const char* text, size_t length);
    void HeaderToken(TKIT8Lexer& lexer, const TKIT8Lexer::Token& token);
    void SetPlainKeyword(const std::string& key, const std::string& value);
    void StoreKeyword(const std::string& key, std::string_view rawValue, int32_t line);
    void FieldToken(const TKIT8Lexer::Token& token);
    void AddField(const std::string& name, int32_t line);
    void AddColourField(const std::string& name, uint32_t type, int32_t channel, int32_t line);
    bool AddExtraInk(const std::string& name, int32_t line);
    void StartRecords(int32_t line);
    bool TakesOver(uint32_t current, uint32_t candidate) const;
    void DataToken(const TKIT8Lexer::Token& token);
    void FinishTable(int32_t line, bool atEnd);
    void SetChannelName(int32_t index, const std::string& name, bool keep);
    void WriteChannelNames();

    int32_t fDimension = 0;
    uint32_t fWantedType = 0;
    bool fStrict = false;
    std::vector<uint32_t> fFoundTypes;

    // The table being read.
    State fState = kHeader;
    int32_t fTable = 0;
    bool fTableStarted = false;
    TKDataBase fKeywords;
    int32_t fKeywordCount = 0;
    std::vector<std::string> fChannelNames;
    std::vector<TKChartField> fFields;
    std::vector<TypeColumns> fTypes;
    uint32_t fSpectralType = 0;
    int32_t fRowType = -1;
    int32_t fDeclaredSets = -1, fDeclaredSetsLine = 0;
    std::vector<Column> fColumns;
    std::vector<double> fValues;
    std::vector<std::string> fTexts;
    int32_t fColumn = 0;
    int32_t fRecordLine = 0;
    int32_t fLastRecordLine = 0;
    int32_t fLastTokenLine = 0;
    int32_t fRows = 0;
    std::string fScratch;
};

// Reads keywords and the field list only.
class IT8FormatInfoReader : public IT8FormatReader {
protected:
    bool StopAtData() const override { return true; }
};

// Collects the rows of one colour type into a matrix.
class IT8Format2MatrixReader : public IT8FormatReader {
public:
    const TKMatrix& Matrix() const { return fMatrix; }
    void Begin() override;
    // Sets the matrix's type and the reader's dimension.
    void SetColorType(uint32_t colorType) override;
    // DimMismatch when the dimension is below 1.
    void AddRow(const TKVector& row) override;
    // Rows of "RGB " whose largest value is 100 are percent and scaled to 255; ink rows whose
    // largest value is 255 are scaled to percent.
    void End() override;

private:
    TKMatrix fMatrix;
    std::vector<double> fRowsData;
    int32_t fRowCount = 0;
    uint32_t fType = 0;
};

// Collects every table of a text into a chart: each complete colour type, ids, names,
// locations, the unread columns, the field list and the keywords. The chart receives the
// result only after the whole text has been read.
class IT8Format2ChartReader : public IT8FormatReader {
public:
    explicit IT8Format2ChartReader(TKColorChart& target) : fTarget(target) {}
    void Begin() override;
    void SetColorType(uint32_t colorType) override;
    void End() override;

protected:
    bool WantsTexts() const override { return true; }
    bool ReadsFurtherTables() const override { return true; }
    void BeginRecords() override;
    void AddRecord() override;
    void EndTable() override;

private:
    TKColorChart& fTarget;
    TKRefPtr<TKColorChart> fResult;
    // The table being collected.
    std::vector<std::vector<double>> fTypeValues;
    std::vector<TKString> fIDs, fNames, fLocations, fExtras;
    std::vector<int32_t> fExtraColumns;
    int32_t fIDColumn = -1, fNameColumn = -1, fLocationColumn = -1;
};
