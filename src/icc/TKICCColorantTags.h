// Colorant tags: the colorant table "clrt" and the named colour list "ncl2".
// PCS values are 16-bit in the legacy encoding (mode 2 of the colour type ranges).
#pragma once

#include "charts/TKColorChart.h"
#include "icc/TKICCTag.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

// "clrt": a count, then records of a 32-byte name and three 16-bit PCS values.
class TKColorantTableTag : public TKICCTag {
    TK_DECLARE_CLASS(TKColorantTableTag, TKICCTag)
public:
    explicit TKColorantTableTag(uint32_t signature = TKICCSig("clrt"));
    using TKICCTag::GetName;  // the object's own name stays reachable beside the colorant names
    using TKICCTag::SetName;
    // The stored count, limited to the records that the block really holds.
    int32_t GetCount();
    // Replaces the block by n zeroed records.
    void SetCount(int32_t n);
    TKString GetName(int32_t index);       // empty outside
    void SetName(int32_t index, const TKString& name);  // cut at 32 bytes; ignored outside
    int32_t FindName(const TKString& name);  // -1 if absent
    // colourType is "Lab " (default) or "XYZ "; an empty colour outside.
    TKVector GetPCS(int32_t index, uint32_t colourType = TKLabSpace);
    void SetPCS(int32_t index, const TKVector& colour);  // ignored outside
    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    TKString GetSummary() override;
};

// "ncl2": named colours with a prefix, a suffix, PCS values and device values.
class TKNamedColor2TypeTag : public TKICCTag {
    TK_DECLARE_CLASS(TKNamedColor2TypeTag, TKICCTag)
public:
    explicit TKNamedColor2TypeTag(uint32_t signature = TKICCSig("ncl2")) : TKICCTag(TKICCSig("ncl2"), signature) {}

    // The profile's colour space and PCS. ArgErr if the PCS held so far has not three channels.
    void SetSpaces(uint32_t device, uint32_t pcs);
    uint32_t GetDeviceSpace() const { return fDeviceSpace; }
    uint32_t GetPCSSpace() const { return fPCSSpace; }

    // Records that the block really holds (the lesser of the stored count and the room).
    int32_t GetCount();
    int32_t GetDeviceChannels();
    TKString GetPrefix();
    TKString GetSuffix();
    // Prefix + root + suffix, stripped of quotes and blanks at both ends, inner blanks as "_".
    TKString GetColorName(int32_t index);
    // The PCS value in fPCSSpace; for Lab in the legacy encoding where 0xFF00 is L 100.
    TKVector GetPCS(int32_t index);
    // Device values as percent (or the device type's range), typed by fDeviceSpace.
    TKVector GetDevice(int32_t index);
    // All colours at once: names (may be shorter than the matrices; "Color%d" stands in), PCS
    // rows in fPCSSpace and device rows; the device matrix's width gives the channel count. Rows
    // missing on the PCS side are converted from a CIE device side, else left zero.
    void SetColors(const std::vector<TKString>& names, const TKMatrix& pcs, const TKMatrix& device);
    // The named colours as a chart: device values, PCS values and names (TKICCNamedColorChart.cpp).
    TKRefPtr<TKColorChart> GetChart();
    // From a chart: names from SAMPLE_NAME, else SAMPLE_ID; PCS values from the chart's measured
    // values, converted when they are of another CIE type.
    void SetChart(const TKColorChart& chart);

    void SwapBytes() override;
    void Dump(TKStream& stream) override;
    TKString GetSummary() override;

private:
    uint64_t RecordSize();
    const uint8_t* Record(int32_t index);  // in host order; IndexError outside

    uint32_t fDeviceSpace = 0;
    uint32_t fPCSSpace = TKLabSpace;
};
