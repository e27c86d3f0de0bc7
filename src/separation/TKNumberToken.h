// Strict reading of a number token of a settings or option text.
#pragma once

// True when the whole token is one finite number (a decimal comma is accepted); `value` gets it.
bool TKReadNumberToken(const char* token, double& value);
