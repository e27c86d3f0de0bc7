// The library's start on first use: a host has no open call, so the first exported call that
// can log or build something sets up what is global: the debug settings and the log file from
// the global settings, and the plug-ins of the plug-in folder.
#include <mutex>

#include "color/TKColorDifference.h"
#include "exported/TKExport.h"
#include "foundation/TKDebug.h"
#include "io/TKDebugLog.h"
#include "io/TKDebugSettings.h"
#include "io/TKFileSystem.h"
#include "io/TKGlobalData.h"
#include "io/TKModuleMgr.h"

namespace {

constexpr int32_t kDefaultLogMaxSize = 1 << 20;

// "DebugLogFolder" moves the log; present but empty, it turns the file off. Without it the log
// is "TKDebugLog.txt" in the debugging folder. A host that has set up a log of its own keeps it.
void StartLog() {
    InitDebugSettings(*TKGlobalData::Snapshot());
    if (DefaultDebugSink()) return;
    const bool off = TKGlobalData::Exists(kTKStartupLogFolderKey) &&
                     TKGlobalData::GetString(kTKStartupLogFolderKey).IsEmpty();
    if (off) {
        InitLog(TKString(), TKString(), 0, true);
        return;
    }
    InitLog(TKGlobalData::GetString(kTKStartupLogFolderKey), "TKDebugLog.txt",
            TKGlobalData::GetInt(kTKStartupLogMaxSizeKey, kDefaultLogMaxSize), true);
}

// "PluginFolder" names the folder, by default "Plugins" beside the library; "PluginIgnoreList"
// the libraries not to open. A missing default folder means no plug-ins; a missing configured
// one and refused plug-ins are logged and do not fail the host's call.
void StartPlugins() {
    TKColorDifference::ReserveBuiltInNames();
    const TKString configured = TKGlobalData::GetString(TKModuleMgr::kFolderKey);
    const TKFileSpec folder = configured.IsEmpty() ? TKModuleMgr::DefaultPluginFolder() : TKFileSpec(configured);
    if (folder.IsEmpty() || (configured.IsEmpty() && !DirExists(folder))) return;
    TKModuleMgr& manager = TKModuleMgr::Shared();
    manager.SetIgnoreList(TKGlobalData::GetString(TKModuleMgr::kIgnoreKey));
    manager.LoadPlugins(folder);
}

}  // namespace

const char kTKStartupLogFolderKey[] = "DebugLogFolder";
const char kTKStartupLogMaxSizeKey[] = "DebugLogMaxSize";

void TKStartLibrary() noexcept {
    static std::once_flag started;
    try {
        std::call_once(started, [] {
            for (void (*step)() : {StartLog, StartPlugins}) {
                try {
                    step();
                } catch (const TKError&) {
                    // Logged where it was raised; the host's call goes on without that part.
                } catch (...) {
                }
            }
        });
    } catch (...) {
    }
}
