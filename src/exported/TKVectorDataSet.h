// Measurement rows that a host hands over through TKVectorDataSet callbacks, read into
// matrices, and the inverse: a data set that serves the rows of a matrix.
#pragma once

#include <cstdint>

#include "numeric/TKMatrix.h"
#include "tintara.h"

// The most values a callback may write for one row.
constexpr int32_t kTKVectorDataSetRowSize = 36;

// `count` rows of the set's colour type. A null set or callback or a count not above 0 gives
// an empty matrix (of the set's type, when there is a set). DimMismatch for a type of more than
// 36 channels and for any callback that returns a code other than 0; MemFullErr when the rows
// do not fit in memory.
TKMatrix TKReadVectorDataSet(const TKVectorDataSet* set, int32_t count);

// A set whose callback copies row `index` of the matrix; the matrix must outlive its use. An
// empty matrix gives the set 0, null, null. The callback returns 3 for null user data and 7
// for an index outside the matrix.
void TKInitVectorDataSetFromMatrix(TKVectorDataSet* set, const TKMatrix& matrix);
