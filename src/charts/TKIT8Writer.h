// The writer of the CGATS.17 text family: keywords in the chart's order, the field list and the
// records, so that a written file reads back to the same data.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "charts/TKColorChart.h"
#include "io/TKDataBase.h"
#include "io/TKFileSpec.h"
#include "io/TKStream.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

class IT8FormatWriter {
public:
    IT8FormatWriter() = default;
    virtual ~IT8FormatWriter();
    IT8FormatWriter(const IT8FormatWriter&) = delete;
    IT8FormatWriter& operator=(const IT8FormatWriter&) = delete;

    virtual void WriteStream(TKStream& stream);
    // Through a TKFile opened for writing.
    virtual void WriteFile(const TKFileSpec& spec);
    virtual TKString WriteString();
    // The identifier line, the keywords, the field list, "NUMBER_OF_SETS" and "BEGIN_DATA".
    virtual void WriteHeader(TKStream& stream, int32_t rows);
    virtual void WriteFooter(TKStream& stream);
    // The keywords to write; null for none.
    virtual const TKDataBase* GetKeywords() const { return nullptr; }
    virtual uint32_t ColorType() const = 0;
    virtual int32_t RowCount() const = 0;
    virtual TKVector Row(int32_t index) const = 0;
    // The values tab-separated: "%.5f" for spectra, densities and Yxy, "%.3f" for the rest, or
    // the shortest exact form where that would change the value.
    virtual TKString FormatRow(const TKVector& row) const;

    // One value as FormatRow writes it for `type`.
    static void AppendValue(std::string& out, double value, uint32_t type);
    // A text of a record or a keyword, quoted when a reader would not take it back as one token.
    static void AppendText(std::string& out, const TKString& text);
    // Always in quotes; a quote inside becomes \".
    static void AppendQuoted(std::string& out, const TKString& text);
    // A keyword (`key`) or the identifier line: quoted also where the plain word would be read
    // as part of the structure.
    static void AppendWord(std::string& out, const TKString& word, bool key);

protected:
    // Whether the keywords are a file's own (kept as they are) rather than a chart made in
    // memory, which gets an originator, a descriptor and a date.
    virtual bool KeepsOwnIdentity() const { return false; }
    // The fields of the records, in order.
    virtual std::vector<TKChartField> WriteFields() const;
    // One record, ending in a line end.
    virtual void AppendRecord(std::string& out, int32_t index) const;
    // Header, records and footer of one table.
    void WriteTable(std::string& out);
    // A table after the first of a file.
    bool fFurtherTable = false;

private:
    void AppendHeader(std::string& out, int32_t rows);
    void AppendKeywords(std::string& out, const TKDataBase& keywords) const;
};

// Rows from a matrix, with optional keywords.
class IT8FormatMatrixWriter : public IT8FormatWriter {
public:
    explicit IT8FormatMatrixWriter(const TKMatrix& matrix, const TKDataBase* keywords = nullptr)
        : fMatrix(matrix), fKeywords(keywords) {}
    const TKDataBase* GetKeywords() const override { return fKeywords; }
    uint32_t ColorType() const override { return uint32_t(fMatrix.GetType()); }
    int32_t RowCount() const override { return fMatrix.GetHeight(); }
    TKVector Row(int32_t index) const override { return fMatrix.GetRow(index); }

private:
    TKMatrix fMatrix;
    const TKDataBase* fKeywords;
};

// A whole chart: every colour type, the texts and unread columns, the fields as the chart keeps
// them, and its further tables after the first.
class IT8FormatChartWriter : public IT8FormatWriter {
public:
    explicit IT8FormatChartWriter(const TKColorChart& chart) : fChart(&chart) {}
    void WriteStream(TKStream& stream) override;
    TKString WriteString() override;
    const TKDataBase* GetKeywords() const override { return &fChart->Header(); }
    uint32_t ColorType() const override;
    int32_t RowCount() const override { return fChart->Count(); }
    TKVector Row(int32_t index) const override;

protected:
    bool KeepsOwnIdentity() const override { return fChart->FromFile(); }
    std::vector<TKChartField> WriteFields() const override { return fChart->WritableFields(); }
    void AppendRecord(std::string& out, int32_t index) const override;

private:
    std::string WriteAll();
    const TKColorChart* fChart;
    // Per type of the fields being written: its matrix.
    mutable std::vector<std::pair<uint32_t, TKMatrix>> fMatrices;
    mutable std::vector<TKChartField> fFields;
};
