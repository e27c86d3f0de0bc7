// The subcommands of the tintara host; each returns the process exit code.
#pragma once

#include "HostSupport.h"

namespace host {

int RunInfo(Args& args);
int RunConvert(Args& args);
int RunLink(Args& args);
int RunApply(Args& args);
int RunTestImage(Args& args);
int RunCalibrate(Args& args);
int RunChart(Args& args);

// True (after printing `usage`) when the next word asks for help.
bool WantsHelp(Args& args, const char* usage);

}  // namespace host
