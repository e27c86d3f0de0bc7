// Spot inks in CxF3 (the SpotInkCharacterisation extension of ISO 17972-4): an ink printed in
// tints on the substrate and on black. In a chart each measurement is a sample whose device value
// is its tint in percent ("1CLR", the channel named after the ink) and whose text column
// "Background" says what it was printed on; where not every sample is a tint the tint is the text
// column "TintLevel" instead. The ink's name is "SpotInkName", its substrate and print process
// the keywords "SubstrateName", "SubstrateType", "SurfaceFinish", "PrintProcess", "InventoryID".
#pragma once

#include <cstdint>
#include <vector>

#include "charts/TKColorChart.h"
#include "charts/TKCxFMirror.h"

struct TKCxFSpotMeasurement {
    TKString objectRef;     // the object as referenced
    TKString spectrumName;  // which of its spectra, when it has several ("RSNameRef")
    TKString background;    // "Substrate", "Black", ...
    double tint = 0;        // percent
    int32_t sample = -1;    // the object's index, -1 while unresolved
};

struct TKCxFSpotInkData {
    TKString name;
    std::vector<std::pair<TKString, TKString>> info;  // keyword and value
    std::vector<TKCxFSpotMeasurement> measurements;
    int32_t inkCount = 0;  // characterisations in the file; the first is read
};

// The keywords of the substrate and process, in the order they are written.
extern const char* const kTKSpotInkInfoKeys[5];

// Reads the first "SpotInkCharacterisation" under "CustomResources" of `resources`. False when
// there is none; false with `problem` set when it is broken (a tint that is no number or outside
// 0..100, a measurement without object reference).
bool TKCxFReadSpotInk(const TKCxFElement& resources, TKCxFSpotInkData& ink, TKString& problem);
// The block for a chart with spot data, objects referenced by `objectIDs`; invalid without.
TKCxFElement TKCxFMakeSpotInk(const TKColorChart& chart, const std::vector<TKString>& objectIDs);

// --- Using a spot ink chart ---------------------------------------------------------------------

// Whether a chart holds spot data: the "Background" column and tints.
bool TKSpotInkChart(const TKColorChart& chart);
// The background and tint of a sample; false for a sample that is no tint.
bool TKSpotInkSample(const TKColorChart& chart, int32_t sample, TKString& background, double& tint);
// The samples of a background, by rising tint.
std::vector<int32_t> TKSpotInkTints(const TKColorChart& chart, const char* background);

// Opacity of the ink at each tint measured on both backgrounds, from Y (D50, 2 degrees) of the
// tint on substrate and on black and of the bare substrate and bare black (tint 0):
// 100 * (1 - (Y_tint,substrate - Y_tint,black) / (Y_substrate - Y_black)). An ink that hides what
// it is printed on has 100, a glaze that lets all through 0. WrongDataType without measurements,
// NotFound without tint 0 on both backgrounds.
struct TKSpotInkOpacity {
    double tint;
    double opacity;
};
std::vector<TKSpotInkOpacity> TKSpotInkOpacities(const TKColorChart& chart);
