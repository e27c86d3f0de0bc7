// The trafo options of a linearization handle: how its next calculation measures and smooths.
#pragma once

#include <cstdint>

#include "foundation/TKString.h"
#include "tintara.h"

// True for the keys this family answers: "Smoothing" and "DifferenceMethod" (any case).
bool TKIsLinearizationOption(const char* key);
// Sets one of them on the linearization held by `ref`. "Smoothing": a number, negative or empty
// for none. "DifferenceMethod": a method's number or name, empty for delta E 1976. TrafoErr for a
// handle that holds no linearization, ArgErr for a value that does not read.
int32_t TKSetLinearizationOption(TKTrafoRef ref, const char* key, const TKString& value);
