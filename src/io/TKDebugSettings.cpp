// Debug settings from a data base: line options, channel switches and files of single channels.
#include "io/TKDebugSettings.h"

#include <memory>

#include "foundation/TKDebug.h"
#include "io/TKDataBase.h"
#include "io/TKDebugLog.h"
#include "io/TKFile.h"

namespace {

// A relative name is placed beside the log, where a reader of the log looks for it.
TKFileSpec ChannelFileSpec(const TKString& name) {
    if (TKFileSpec::IsAbsolute(name.CString())) return TKFileSpec(name);
    TKFileSpec log = DebugLogFile();
    if (!log.IsEmpty()) return TKFileSpec(log.Folder() + name);
    return TKFileSpec(kDebuggingFolder, name);
}

}  // namespace

void InitDebugSettings(TKDataBase& database) {
    if (database.Count() > 0) {
        DebugWrite(kDebugAlwaysOn, "TKInitDebugSettings:\n");
        DebugWrite(kDebugAlwaysOn, database.ToText().CString());
    }
    SetDebugOutputWithDate(database.GetBool("SetDebugOutputWithDate", false));
    SetDebugOutputPrefix(database.GetString("SetDebugOutputPrefix", ""));
    for (int32_t channel = 0; channel < kDebugStandardChannels; ++channel) {
        TKString enabledKey = TKString::Format("SetDebugChannel%d", int(channel));
        if (database.Exists(enabledKey.CString()))
            SetChannelEnabled(channel, database.GetBool(enabledKey.CString(), false));
        TKString fileKey = TKString::Format("SetDebugChannelOutputFile%d", int(channel));
        if (!database.Exists(fileKey.CString())) continue;
        TKString name = database.GetString(fileKey.CString(), "");
        name.Trim();
        TKFileSpec spec = name.IsEmpty() ? TKFileSpec() : ChannelFileSpec(name);
        SetChannelOutput(channel, spec.IsEmpty() ? nullptr : std::make_shared<TKDebugFileSink>(spec));
    }
    if (database.Exists("KeepTempFiles")) TKTempFile::SetKeepByDefault(database.GetBool("KeepTempFiles", false));
}
