// TKCxFWriter: writes a chart as a CxF3 document. The document is first built as a mirror data
// base (the same form the reader makes of a file) and then printed through TinyXML.
//
// Each sample is an "Object" with its name, id, colour values and, as tags, its further text
// columns; the chart's keywords and field list travel as tags of the file information, so that
// reading the file gives the same chart. Further tables of a chart follow as objects tagged with
// their table's number. A chart with spot data (TKCxFSpotInk.h) gets the spot
// ink characterisation. Texts must be UTF-8 (bytes that are not are taken as Latin-1) without
// the control characters XML cannot carry (FormatErr).
#pragma once

#include <vector>

#include "charts/TKColorChart.h"
#include "charts/TKCxFBase.h"
#include "io/TKFileSpec.h"

class TKCxFWriter : public TKCxFBase {
    TK_DECLARE_CLASS(TKCxFWriter, TKCxFBase)
public:
    explicit TKCxFWriter(const TKColorChart& chart) : fChart(chart) {}

    // The document text.
    TKString WriteData();
    void WriteFile(const TKFileSpec& spec);

    // "CxFCreator" when the chart has none.
    static constexpr const char* kCreator = "TintaraLib";

private:
    void BuildMirror();
    TKCxFElement BuildFileInformation() const;
    void BuildObjects(TKCxFElement& collection, std::vector<TKString>& ids) const;
    // The values of one colour type of a table, spectra with the range of channels written.
    struct Values {
        uint32_t type;
        TKMatrix matrix;
        int32_t first, last;
    };
    TKCxFElement BuildObject(const TKColorChart& chart, const std::vector<Values>& table, int32_t index, const TKString& id,
                             bool spot, bool tintsElsewhere) const;
    // The chart (0) or one of its further tables (from 1).
    const TKColorChart& TableChart(int32_t table) const;
    void BuildSpecs(TKCxFElement& collection) const;

    const TKColorChart& fChart;
};
