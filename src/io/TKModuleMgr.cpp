// Loading plug-ins: listing, ignoring, loading, registering all or nothing, unloading.
#include "io/TKModuleMgr.h"

#include <dlfcn.h>

#include "foundation/TKDebug.h"
#include "io/TKFileSystem.h"
#include "io/TKIterateDir.h"
#include "io/TKModuleDifference.h"

namespace {

int32_t HostRegisterColorDifference(TKModuleMgr* manager, const TKPluginColorDifference* method) {
    if (!manager) return ArgErr;
    return manager->AddColorDifference(method);
}

void HostLog(TKModuleMgr*, const char* text) {
    if (text) DebugPrintf(kDebugGeneral, "Plug-in: %.1000s", text);
}

const TKPluginHost kHost = {TK_PLUGIN_HOST_VERSION, HostRegisterColorDifference, HostLog};

TKString WithoutSo(const TKString& name) {
    return name.Length() > 3 && name.Right(3) == ".so" ? name.Left(name.Length() - 3) : name;
}

}  // namespace

TKModuleMgr::TKModuleMgr(TKObjectMgr& registry) : fRegistry(registry) {}

TKModuleMgr::~TKModuleMgr() {
    try {
        UnloadPlugins();
    } catch (...) {
        // A destructor reports nothing; the records are logged already.
    }
}

TKModuleMgr& TKModuleMgr::Shared() {
    // Destroyed with the process's other statics: that is the end at which plug-ins unload.
    static TKModuleMgr shared;
    return shared;
}

TKFileSpec TKModuleMgr::DefaultPluginFolder() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&TKModuleMgr::DefaultPluginFolder), &info) || !info.dli_fname)
        return TKFileSpec();
    return TKFileSpec(TKFileSpec(TKString(info.dli_fname)).Folder() + "Plugins");
}

void TKModuleMgr::SetIgnoreList(const TKString& names) {
    std::lock_guard<std::recursive_mutex> lock(fMutex);
    fIgnored.clear();
    int32_t position = 0;
    for (;;) {
        TKString name = names.NextToken(&position, false, ",; \n\r\t");
        if (name.IsEmpty()) break;
        fIgnored.push_back(WithoutSo(name));
    }
}

bool TKModuleMgr::IsIgnored(const TKFileSpec& file) const {
    const TKString name = WithoutSo(file.Name());
    for (const TKString& ignored : fIgnored)
        if (ignored == name) return true;
    return false;
}

bool TKModuleMgr::IsLoaded(const TKFileSpec& file) const {
    for (const Plugin& plugin : fPlugins)
        if (plugin.library->FileName() == file.FullName()) return true;
    return false;
}

int32_t TKModuleMgr::LoadPlugins(const TKFileSpec& folder) {
    std::lock_guard<std::recursive_mutex> lock(fMutex);
    DirExists(folder, true);
    TKIterateDirGetFiles lister;
    lister.SetFilesOnly(true);
    lister.SetPattern("*.so");
    const TKArray<TKFileInfo>& files = lister.GetFiles(folder);
    int32_t loaded = 0;
    TKString refused;
    for (int32_t i = 0; i < files.Count(); ++i) {
        const TKFileSpec file(files[i].FullName());
        if (IsLoaded(file)) continue;
        if (IsIgnored(file)) {
            DebugPrintf(kDebugGeneral, "Ignored blacklisted library %s\n", file.Name().CString());
            continue;
        }
        try {
            Load(file);
            ++loaded;
        } catch (const TKError&) {
            if (!refused.IsEmpty()) refused += ", ";
            refused += file.Name();
        }
    }
    if (!refused.IsEmpty()) TKThrowMsg(LibraryNLoadErr, (TKString("Couldn't load librarie(s): ") + refused).CString());
    return loaded;
}

void TKModuleMgr::LoadPlugin(const TKFileSpec& file) {
    std::lock_guard<std::recursive_mutex> lock(fMutex);
    if (!IsLoaded(file)) Load(file);
}

void TKModuleMgr::Load(const TKFileSpec& file) {
    try {
        auto library = TKMakeRef<TKDlLibrary>();
        library->Load(file);
        auto init = reinterpret_cast<TKInitPluginProc>(library->GetProc("InitPlugin"));
        auto registerModules = reinterpret_cast<TKRegisterModulesProc>(library->GetProc("RegisterModules"));
        auto unregister = reinterpret_cast<TKUnRegisterModulesProc>(library->GetProc("UnRegisterModules"));
        if (!init || !registerModules)
            TKThrowMsg(UndefProc, (file.Name() + ": no entry point " + (init ? "RegisterModules" : "InitPlugin")).CString());
        if (const int32_t code = init(TK_PLUGIN_HOST_VERSION))
            throw TKError(code, (file.Name() + ": InitPlugin failed").CString(), __FILE__, __LINE__);
        Register(*library, registerModules, unregister);
        fPlugins.push_back({library, unregister});
        DebugPrintf(kDebugGeneral, "Loaded plug-in %s\n", file.FullName().CString());
    } catch (const TKError& error) {
        fRefusals.push_back({file.FullName(), error.code(), error.message()});
        DebugPrintf(kDebugGeneral, "Refused plug-in %s: %d %s\n", file.FullName().CString(), int(error.code()),
                    error.message());
        throw;
    }
}

void TKModuleMgr::Register(TKLibrary& library, TKRegisterModulesProc registerModules,
                           TKUnRegisterModulesProc unregister) {
    fRegistering = &library;
    fPending.clear();
    fPendingError = 0;
    fPendingMessage = TKString();
    const int32_t code = registerModules(this, &kHost);
    fRegistering = nullptr;
    std::vector<TKRefPtr<TKRegisteredObject>> pending;
    pending.swap(fPending);
    try {
        if (code) throw TKError(code, (library.FileName() + ": RegisterModules failed").CString(), __FILE__, __LINE__);
        if (fPendingError) throw TKError(fPendingError, fPendingMessage.CString(), __FILE__, __LINE__);
        fRegistry.Register(pending);
    } catch (const TKError&) {
        // The plug-in may have set up state for what it meant to register; it gets to undo it.
        if (unregister) unregister(this);
        throw;
    }
    for (const auto& object : pending) DebugPrintf(kDebugGeneral, "%s\n", object->Describe().CString());
}

int32_t TKModuleMgr::AddColorDifference(const TKPluginColorDifference* descriptor) {
    std::lock_guard<std::recursive_mutex> lock(fMutex);
    if (!fRegistering) return ArgErr;  // only while the plug-in's RegisterModules runs
    if (fPendingError) return fPendingError;
    try {
        if (!descriptor) TKThrowMsg(ArgErr, "no method");
        fPending.push_back(TKRefPtr<TKRegisteredObject>(new TKModuleDifference(*descriptor, fRegistering), true));
        return NoErr;
    } catch (const TKError& error) {
        fPendingError = error.code();
        fPendingMessage = fRegistering->FileName() + ": " + error.message();
        return fPendingError;
    }
}

void TKModuleMgr::UnloadPlugins() {
    std::lock_guard<std::recursive_mutex> lock(fMutex);
    while (!fPlugins.empty()) {
        // The last count of the library ends with `plugin`, unless an object of it is still held.
        Plugin plugin = std::move(fPlugins.back());
        fPlugins.pop_back();
        fRegistry.Remove(plugin.library.Get());
        if (plugin.unregister) plugin.unregister(this);
        DebugPrintf(kDebugGeneral, "Unloaded plug-in %s\n", plugin.library->FileName().CString());
    }
}

std::vector<TKModuleMgr::Refusal> TKModuleMgr::Refusals() const {
    std::lock_guard<std::recursive_mutex> lock(fMutex);
    return fRefusals;
}

std::vector<TKString> TKModuleMgr::LoadedFiles() const {
    std::lock_guard<std::recursive_mutex> lock(fMutex);
    std::vector<TKString> files;
    for (const Plugin& plugin : fPlugins) files.push_back(plugin.library->FileName());
    return files;
}
