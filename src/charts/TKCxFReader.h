// TKCxFReader: reads a CxF3 document (ISO 17972-1, with the spot ink characterisation of
// ISO 17972-4) into a chart. The document is parsed, mirrored into the data base, checked, and
// only then handed to the chart: a failure leaves the chart as it was.
//
// Objects become samples in document order: "Id" the sample id, "Name" the sample name, their
// colour values one matrix per type. Object tags ("TagCollection") become text columns, and so do
// "ObjectType" (where not all are "Standard"), "GUID", "CreationDate" and "MeasurementDate".
// The selected colour specification gives keywords; the file information's tags are keywords
// too. A spot ink characterisation gives the tints (see TKCxFSpotInk.h).
#pragma once

#include <cstddef>
#include <vector>

#include "charts/TKColorChart.h"
#include "charts/TKCxFBase.h"
#include "io/TKFileSpec.h"

class TKCxFReader : public TKCxFBase {
    TK_DECLARE_CLASS(TKCxFReader, TKCxFBase)
public:
    explicit TKCxFReader(TKColorChart& chart) : fChart(chart) {}

    // FormatErr with the error texts: 2, 4 or 5 for a file, 1 or 3 for data, followed by what is
    // wrong in parentheses.
    void ReadFile(const TKFileSpec& spec);
    void ReadData(const TKString& text);
    // As ReadData, but failing with the file texts and naming `name`.
    void ReadFileText(const TKString& text, const char* name);

    // Whether a text is a CxF document: its root, after the declaration, comments and a document
    // type, is "CxF" with any prefix.
    static bool IsCxF(const char* text, size_t length);

    // The lines logged about references that did not resolve.
    const std::vector<TKString>& Warnings() const { return fWarnings; }

private:
    struct Objects;
    void Read(const TKString& text);
    [[noreturn]] void Fail(bool invalid, const TKString& detail);
    void CheckRoot();
    void CollectSpecs(const TKCxFElement& resources);
    void Warn(const TKString& line);

    TKColorChart& fChart;
    bool fFile = false;
    TKString fName;
    std::vector<TKString> fWarnings;
};
