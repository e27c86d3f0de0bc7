// The PSN chart: a text data base with "numPatches", "PatchesColorspace", "numAcquiredPatches"
// and a "Patches" section whose entries each hold one patch's values.
#pragma once

#include "foundation/TKString.h"
#include "io/TKFileSpec.h"
#include "numeric/TKMatrix.h"

class PSNFormatMatrixReader {
public:
    virtual ~PSNFormatMatrixReader() = default;
    // FormatErr when the keys are missing or disagree with the section, or a patch is not a
    // colour of the named type; the errors of the data base text pass up.
    virtual void ReadString(const TKString& text);
    virtual void ReadFile(const TKFileSpec& spec);
    // The acquired patches, in the named colour type.
    const TKMatrix& Matrix() const { return fMatrix; }
    // "numPatches": the patches of the chart, acquired or not.
    int32_t PatchCount() const { return fPatches; }

private:
    TKMatrix fMatrix;
    int32_t fPatches = 0;
};
