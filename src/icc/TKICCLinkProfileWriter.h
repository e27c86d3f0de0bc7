// Device-link profiles from trafos: a trafo between device values sampled on a grid into the
// 16-bit A2B0 table of a "link" class profile, so links baked here can travel as ICC files.
#pragma once

#include <cstdint>
#include <vector>

#include "icc/TKICCProfile.h"
#include "numeric/TKTrafo.h"

class TKProgress;

// The profile of `trafo` with `gridPoints` (2..255) nodes per axis. The trafo's source and
// destination are device types of 1 to 15 channels, which become the profile's colour space and
// connection space; its values are read and written on those types' ranges. ArgErr for other
// trafos or grids, MemFullErr for a table beyond 64 MB.
TKRefPtr<TKICCProfileLink> TKMakeDeviceLinkProfile(const TKTrafo& trafo, int32_t gridPoints,
                                                   const TKString& description, TKProgress* progress = nullptr);

// A device link that applies one curve per channel of `type` (a device type of 1 to 15
// channels): curves[c] holds 2..4096 equally spaced samples of channel c's curve, input and output
// both 0..1 of the channel's range; values are clipped to 0..1. Calibration curves travel so to
// hosts that read ICC links. ArgErr for other types, counts, lengths or NaN.
TKRefPtr<TKICCProfileLink> TKMakeCurveLinkProfile(uint32_t type, const std::vector<TKVector>& curves,
                                                  const TKString& description);
