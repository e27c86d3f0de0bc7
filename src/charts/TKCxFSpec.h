// Colour specifications of CxF3 files: how values were measured and computed (illuminant,
// observer, geometry, instrument), and their text forms in a chart's keywords.
#pragma once

#include "charts/TKColorChart.h"
#include "charts/TKCxFMirror.h"

struct TKCxFColorSpec {
    TKString id;
    TKCxFElement element;  // the "ColorSpecification" in the mirror

    // The spectral grid its spectra are on: "WavelengthRange" "StartWL" and "Increment".
    double StartWL() const;
    double Increment() const;
    TKString MeasurementType() const;
};

// The chart keywords a specification stands for, each set only where the chart has none:
// "WEIGHTING_FUNCTION" ("ILLUMINANT, D50; OBSERVER, 2; METHOD, E308_Table5"),
// "MEASUREMENT_GEOMETRY" ("45.0/0.0", "sphere, specular included"), "MEASUREMENT_SOURCE",
// "FILTER" and "POLARIZATION" (the device's terms) and "INSTRUMENT" ("maker; model; serial").
void TKCxFSpecToKeywords(const TKCxFColorSpec& spec, TKColorChart& chart);

// A specification from a chart's keywords, the system's D50 and 2 degree observer where they say
// nothing. `measurementType` is "Colorimetric_Reflectance", "Spectrum_Reflectance" and the like;
// spectral specifications get a "WavelengthRange" of 10 nm steps.
TKCxFElement TKCxFSpecFromKeywords(const TKColorChart& chart, const TKString& id, const char* measurementType,
                                   bool spectral);

// Human-readable device illumination: "M1_Daylight" gives "Daylight", "Custom3" "Custom 3".
TKString TKCxFIlluminationText(const TKString& term);
