// Colour-difference methods that plug-ins registered, as the method table sees them: codes from
// TKObjectMgr::kFirstModuleCode on, found by name after every built-in name.
#pragma once

#include <cstdint>

#include "foundation/TKObject.h"
#include "io/TKModuleDifference.h"

// The registered method of a code; null when no plug-in has (or has any longer) registered it.
TKRefPtr<TKModuleDifference> RegisteredDifference(int32_t code);
// The code of a registered method's long or short name (case ignored); -1 for none.
int32_t RegisteredDifferenceCode(const char* name);
// A registered method's long or short name, kept for the life of the process so that the
// pointer outlives the plug-in; "Unknown" for a code no plug-in registered.
const char* RegisteredDifferenceName(int32_t code, bool shortName);
