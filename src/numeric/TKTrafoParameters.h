// Parameter persistence of the small trafos: vectors and matrices as data-base entries in
// full double precision, read back with every size checked.
#pragma once

#include "numeric/TKMatrix.h"

class TKDataBase;

// Writes "<key>" as the values separated by commas and, for a typed vector, "<key>Type".
void TKSaveVector(TKDataBase& base, const char* key, const TKVector& vector);
// The vector saved under `key`; an absent key gives an empty vector. FormatErr for bad text.
TKVector TKLoadVector(const TKDataBase& base, const char* key);
// Writes "<key>Height", "<key>Width", "<key>Type" and the row-major values under "<key>".
void TKSaveMatrix(TKDataBase& base, const char* key, const TKMatrix& matrix);
// FormatErr unless the value count is height times width.
TKMatrix TKLoadMatrix(const TKDataBase& base, const char* key);
