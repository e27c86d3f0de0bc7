// Colour values of CxF3 objects: which element holds which colour type, reading one into a
// vector of the chart's type and building one from a chart row.
#pragma once

#include <cstdint>

#include "charts/TKCxFMirror.h"
#include "numeric/TKVector.h"

// The CxF3 element of a colour type, e.g. "ColorCIELab" for "Lab " and "ReflectanceSpectrum" for
// "refl"; types without their own element are written as "ColorCustom".
const char* TKCxFValueElement(uint32_t type);
// Whether a local element name is a colour value this reader knows.
bool TKCxFIsValueElement(const TKString& localName);

// Reads a colour value element. Spectra start at their "StartWL" (or `startWL` when they lack
// it) and step by `increment` nanometres; they are resampled onto the chart's 380..730 nm grid,
// the ends held at the nearest measured value. False with `problem` set when the element is
// incomplete, holds no number where one belongs, or has absurd wavelengths.
// `measured` receives the first wavelength and the number of values of a spectrum.
struct TKCxFSpectrumRange {
    double start = 0;
    int32_t count = 0;
};
bool TKCxFReadValue(const TKCxFElement& element, const TKString& localName, double startWL, double increment,
                    TKVector& value, TKString& problem, TKCxFSpectrumRange* measured = nullptr);

// A colour value element of a row. Spectra are written from channel `first` to `last` of the
// grid (their measured range); other types ignore them.
TKCxFElement TKCxFMakeValue(const TKVector& value, const TKString& specID, int32_t first = 0, int32_t last = -1);

// A number as written: `format` (such as "%.2f") where that reads back to the same double,
// otherwise the shortest text that does.
TKString TKCxFNumber(double value, const char* format = "%.2f");
// A whole text as one finite number; false for anything else.
bool TKCxFParseNumber(const TKString& text, double& value);
