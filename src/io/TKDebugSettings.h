// Applies the debug settings of a data base (from the global settings) to the channel table.
#pragma once

class TKDataBase;

// Reads, when present:
//   "SetDebugOutputWithDate" (bool), "SetDebugOutputPrefix" (text),
//   "SetDebugChannel<n>" (bool) for n from 0 to 26: switches channel n,
//   "SetDebugChannelOutputFile<n>": a file for channel n alone; a relative name lies beside the
//   log (or in the debugging folder before there is one), an empty name returns the channel to
//   the log,
//   "KeepTempFiles" (bool): temporary files outlive their objects.
// The date and prefix options fall back to their defaults (off, empty) when absent; channels
// without a key keep their state. A data base with entries is first written to channel 1.
void InitDebugSettings(TKDataBase& database);
