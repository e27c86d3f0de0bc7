// Spectral data on the engine's grid (380..730 nm, 10 nm): observers, illuminants by name,
// daylight and black-body spectra, tristimulus integration, densities and the smoothest
// spectrum of a tristimulus value.
#pragma once

#include <cstdint>

#include "color/TKColors.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

// The observer matrix of the 2-degree (1931) or the 10-degree (1964) observer: three rows of 36
// values. Any other number is ArgErr.
TKMatrix GetObserverMatrix(int32_t degrees);

// The illuminant spectrum of a name as an "emis" vector, scaled to 100 at 560 nm: "A", "C",
// "Equal" / "Uniform" / "E", "F1".."F12", "D" with two digits (hundreds of kelvin), and that
// with "UV" behind the digits. An empty vector for any other name.
TKVector GetIlluminantSpectrum(const char* name);

// CIE daylight of a correlated colour temperature (4000 to 25000 K) from the components
// S0, S1, S2. The plain form has no ultraviolet (the samples below 400 nm are 0), like a
// UV-cut measurement illuminant; `withUV` keeps the complete CIE daylight.
TKVector GetDaylightSpectrum(double kelvin, bool withUV);
// The chromaticity of CIE daylight of a colour temperature; ArgErr outside 4000..25000 K.
void GetDaylightChromaticity(double kelvin, double& x, double& y);
// The nominal names D50, D65 ... mean temperatures measured with the old radiation constant:
// D65 is 6500 * 1.4388 / 1.438 = 6503.6 K.
double GetNominalDaylightKelvin(int32_t hundreds);
// Planck's black body of a temperature, scaled to 100 at 560 nm.
TKVector GetBlackBodySpectrum(double kelvin);

// The weights that turn a spectrum into XYZ under an illuminant and observer, normalised
// so that a perfect reflector gives Y = 100: a 3 x 36 matrix.
TKMatrix GetTristimulusWeights(const TKVector& illuminant, const TKMatrix& observer);
// XYZ of a spectrum under an illuminant and observer: "refl" and "tran" as reflected light
// (a perfect reflector has Y = 100), "dens" as 10^-density, "emis" as light of its own relative
// to the illuminant (the illuminant itself gives its white).
void SpectrumToXYZ(const TKVector& spectrum, const TKVector& illuminant, const TKMatrix& observer, double xyz[3]);
// The smoothest reflectance (least squared second differences) whose XYZ through the
// weights is xyz; the matrix it multiplies XYZ with is GetDecomposition(weights): 36 x 3.
TKMatrix GetDecomposition(const TKMatrix& weights);
TKVector XYZToSpectrum(const double xyz[3], const TKMatrix& decomposition, uint32_t type);

// The density of a reflectance or transmission spectrum through a status response.
// Known: "Visual" / "V" (ISO 5-3 visual density: illuminant A times the photopic curve).
// Any other status is NotFound.
double GetStatusDensity(const TKVector& spectrum, const char* status);
