// The CIE conversion engine: converts a colour between any two CIE types by walking from
// type to type through XYZ, with the white, illuminant, observer and viewing conditions
// the conversions need. TKCIETrafo and the shared ConvertColor are built on it.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "color/TKCIECAM02.h"
#include "color/TKColors.h"
#include "color/TKLcsModel.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

class TKCIEConverter {
public:
    // D50 white (the connection-space white), D50 daylight, 2-degree observer.
    TKCIEConverter();
    TKCIEConverter(const TKCIEConverter& other);
    TKCIEConverter& operator=(const TKCIEConverter&) = delete;
    ~TKCIEConverter();

    // The white every relative type refers to: any CIE colour, converted to XYZ first; an
    // "emis" spectrum becomes the illuminant and its colour the white; an empty vector restores
    // the D50 white and illuminant.
    void SetWhite(const TKVector& white);
    TKVector GetWhite() const;  // "XYZ "
    // The light in which spectra are seen; a "emis" vector of 36 samples. The white stays.
    void SetIlluminant(const TKVector& spectrum);
    const TKVector& GetIlluminant() const { return fIlluminant; }
    // 2 or 10 degrees, 0 for the default 2; anything else is ArgErr.
    void SetObserver(int32_t degrees);
    int32_t GetObserverDegrees() const { return fObserverDegrees; }
    const TKMatrix& GetObserver() const { return fObserver; }
    // La, Yb, F, c, Nc of the appearance model, as far as the vector is long.
    void SetViewingConditions(const TKVector& conditions);

    // The colour in the wanted type. A colour already of that type is copied. A colour that is
    // no CIE type, or a wanted type that isn't one, is WrongDataType; a colour with fewer values
    // than its type has channels is DimMismatch.
    TKVector Convert(const TKVector& colour, uint32_t wantedType) const;
    // One step of the walk: the neighbouring type towards `wantedType`, and the colour there.
    uint32_t NextType(uint32_t from, uint32_t wantedType) const;

    // The models built on first use, under a lock, and kept.
    const TKLcsModel& LcsModel() const;
    const TKCIECAM02& AppearanceModel() const;

private:
    TKVector Step(const TKVector& colour, uint32_t to) const;
    TKVector FromXYZ(const double xyz[3], uint32_t to) const;
    void ToXYZ(const TKVector& colour, double xyz[3]) const;
    void Invalidate();

    double fWhite[3];
    TKVector fIlluminant;
    TKMatrix fObserver;
    int32_t fObserverDegrees = 2;
    TKViewingConditions fViewing;

    // Built lazily and shared by readers; each behind its own once-flag.
    mutable std::unique_ptr<std::once_flag> fLcsOnce, fCamOnce, fSpectralOnce;
    mutable std::unique_ptr<TKLcsModel> fLcs;
    mutable std::unique_ptr<TKCIECAM02> fCam;
    mutable TKMatrix fDecomposition;
};

// The colour in the wanted type through the shared default converter (D50 white, 2-degree
// observer); a copy when the type is already right.
void ConvertColor(TKVector& result, uint32_t wantedType, const TKVector& colour);
TKVector ConvertColor(uint32_t wantedType, const TKVector& colour);
// The same for every row of a matrix; the result has the wanted type.
void ConvertColors(TKMatrix& result, uint32_t wantedType, const TKMatrix& colours);
// The shared default converter, created once on first use.
const TKCIEConverter& DefaultCIEConverter();
