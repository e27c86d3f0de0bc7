// Look-ups of registered colour-difference methods for the method table.
#include "color/TKColorDifferenceModules.h"

#include <mutex>
#include <set>
#include <string>

namespace {

// Names handed out as const char*: a set never gives its nodes away, so each pointer stays
// valid while the set lives, which is to the end of the process.
const char* Interned(const TKString& name) {
    static std::mutex mutex;
    static auto* names = new std::set<std::string>;
    std::lock_guard<std::mutex> lock(mutex);
    return names->insert(name.CString()).first->c_str();
}

}  // namespace

TKRefPtr<TKModuleDifference> RegisteredDifference(int32_t code) {
    if (code < TKObjectMgr::kFirstModuleCode) return nullptr;
    TKRefPtr<TKRegisteredObject> object = TKObjectMgr::Shared().FindCode(kTKModuleColorDifference, code);
    return TKRefPtr<TKModuleDifference>(TKCast<TKModuleDifference>(object.Get(), "TKModuleDifference"), false);
}

int32_t RegisteredDifferenceCode(const char* name) {
    if (!name || !name[0]) return -1;
    TKRefPtr<TKRegisteredObject> object = TKObjectMgr::Shared().Find(kTKModuleColorDifference, name);
    return object ? object->Code() : -1;
}

const char* RegisteredDifferenceName(int32_t code, bool shortName) {
    TKRefPtr<TKModuleDifference> method = RegisteredDifference(code);
    if (!method) return shortName ? "" : "Unknown";
    return Interned(shortName ? method->ShortName() : method->LongName());
}
