// The CSC gamut text: "%" comment lines, a line of channel names separated by ";", then rows of
// device values followed by Lab or XYZ values, each ended by ";".
#pragma once

#include <cstdint>

#include "foundation/TKString.h"
#include "io/TKFileSpec.h"
#include "io/TKStream.h"
#include "numeric/TKMatrix.h"

class CSCFormatMatrixWriter {
public:
    // Device values (may be empty) and measured values; a measured type other than Lab or XYZ
    // is converted to Lab. Both must have as many rows (DimMismatch).
    CSCFormatMatrixWriter(const TKMatrix& device, const TKMatrix& cie);
    virtual ~CSCFormatMatrixWriter() = default;
    virtual TKString WriteString() const;
    virtual void WriteStream(TKStream& stream) const;
    virtual void WriteFile(const TKFileSpec& spec) const;

private:
    TKMatrix fDevice;
    TKMatrix fCIE;
};

class CSCFormatMatrixReader {
public:
    virtual ~CSCFormatMatrixReader() = default;
    // FormatErr with "line N: " for a text without names, a row of another length or a value
    // that is no number.
    virtual void ReadString(const TKString& text);
    virtual void ReadStream(TKStream& stream);
    virtual void ReadFile(const TKFileSpec& spec);
    // The device values ("CMYK", "RGB ", "CMY " or n inks; empty without) and the "Lab " or
    // "XYZ " values.
    const TKMatrix& Device() const { return fDevice; }
    const TKMatrix& CIE() const { return fCIE; }

private:
    TKMatrix fDevice;
    TKMatrix fCIE;
};
