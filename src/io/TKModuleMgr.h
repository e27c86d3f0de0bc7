// Plug-ins: TKModuleMgr loads the libraries of a folder once, lets each register its objects
// in a TKObjectMgr (all or nothing), and unloads them at the end.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "foundation/TKString.h"
#include "io/TKFileSpec.h"
#include "io/TKLibrary.h"
#include "io/TKObjectMgr.h"
#include "tintara_plugin.h"

class TKModuleMgr {
public:
    // Global settings: the plug-in folder, and names of libraries not to open.
    static constexpr const char* kFolderKey = "PluginFolder";
    static constexpr const char* kIgnoreKey = "PluginIgnoreList";

    // Plug-ins register into `registry`, which outlives the manager.
    explicit TKModuleMgr(TKObjectMgr& registry = TKObjectMgr::Shared());
    // Unloads every plug-in it loaded.
    ~TKModuleMgr();
    TKModuleMgr(const TKModuleMgr&) = delete;
    TKModuleMgr& operator=(const TKModuleMgr&) = delete;

    // The manager of the process: its plug-ins stay until the process ends.
    static TKModuleMgr& Shared();
    // The sub-folder "Plugins" beside the file that holds the library's code.
    static TKFileSpec DefaultPluginFolder();

    // Names (with or without ".so") separated by any of ",; \n\r\t"; such libraries are not opened.
    void SetIgnoreList(const TKString& names);

    // Loads each ".so" of `folder` that is not loaded yet and not ignored, calls its
    // "InitPlugin" and "RegisterModules", and keeps it if both succeed and all it registered
    // could be registered. A library that fails is refused as a whole: it is unloaded, nothing
    // it registered stays, the reason is logged and kept in Refusals(), and the others load on.
    // Afterwards, if any was refused: LibraryNLoadErr "Couldn't load librarie(s): <names>".
    // A missing or unreadable folder raises SystemError. Returns the number of plug-ins loaded.
    int32_t LoadPlugins(const TKFileSpec& folder);
    // One library, as above; its refusal is raised as it stands.
    void LoadPlugin(const TKFileSpec& file);
    // Calls each plug-in's "UnRegisterModules", removes its objects from the registry and
    // unloads it (the code stays mapped while someone still holds one of its objects).
    void UnloadPlugins();

    struct Refusal {
        TKString file;
        int32_t code;
        TKString message;
    };
    // Every refusal since the manager was made, oldest first.
    std::vector<Refusal> Refusals() const;
    // Full paths of the plug-ins loaded now.
    std::vector<TKString> LoadedFiles() const;

    // Called through the host table while RegisterModules runs.
    int32_t AddColorDifference(const TKPluginColorDifference* descriptor);

private:
    struct Plugin {
        TKRefPtr<TKLibrary> library;
        TKUnRegisterModulesProc unregister;
    };
    bool IsLoaded(const TKFileSpec& file) const;
    bool IsIgnored(const TKFileSpec& file) const;
    void Load(const TKFileSpec& file);
    void Register(TKLibrary& library, TKRegisterModulesProc registerModules, TKUnRegisterModulesProc unregister);

    TKObjectMgr& fRegistry;
    mutable std::recursive_mutex fMutex;
    std::vector<Plugin> fPlugins;
    std::vector<TKString> fIgnored;
    std::vector<Refusal> fRefusals;
    // The registration in progress: what the plug-in has handed over so far, and the first
    // error of a registration that could not be taken.
    TKLibrary* fRegistering = nullptr;
    std::vector<TKRefPtr<TKRegisteredObject>> fPending;
    int32_t fPendingError = 0;
    TKString fPendingMessage;
};
