// The registry of module objects: all-or-nothing registration, look-up by name and code.
#include "io/TKObjectMgr.h"

#include <algorithm>

const char kTKModuleColorDifference[] = "ColorDifference";

namespace {

bool SameKind(const TKRegisteredObject& object, const char* kind) { return object.Kind() == kind; }

// The first name of `object` that `other` answers to as well; empty when they share none.
TKString Clash(const TKRegisteredObject& object, const TKRegisteredObject& other) {
    if (!(object.Kind() == other.Kind())) return TKString();
    if (other.Answers(object.LongName())) return object.LongName();
    if (!object.ShortName().IsEmpty() && other.Answers(object.ShortName())) return object.ShortName();
    return TKString();
}

[[noreturn]] void Taken(const TKString& name) {
    TKString text = TKString("\"") + name + "\": the name is taken";
    TKThrowMsg(CreateObjectErr, text.CString());
}

}  // namespace

TKRegisteredObject::TKRegisteredObject(const char* kind, const TKString& name, const TKString& shortName,
                                       const TKString& module, TKLibrary* library)
    : fKind(kind), fLongName(name), fShortName(shortName), fModule(module.IsEmpty() ? "Generic Module" : module),
      fLibrary(library, false) {
    if (name.IsEmpty()) TKThrowMsg(ArgErr, "a registered object needs a name");
}

bool TKRegisteredObject::Answers(const TKString& name) const {
    if (name.IsEmpty()) return false;
    return fLongName.CompareNoCase(name.CString()) == 0 ||
           (!fShortName.IsEmpty() && fShortName.CompareNoCase(name.CString()) == 0);
}

TKString TKRegisteredObject::Describe() const {
    TKString text = fKind + " " + fLongName + " (" + fModule + ")";
    return fLibrary ? text + " from " + fLibrary->FileName() : text + " internal";
}

TKObjectMgr& TKObjectMgr::Shared() {
    // Never destroyed: registered objects may hold libraries whose code runs in static
    // destructors of the host.
    static TKObjectMgr* shared = new TKObjectMgr;
    return *shared;
}

void TKObjectMgr::Register(const std::vector<TKRefPtr<TKRegisteredObject>>& batch) {
    std::lock_guard<std::mutex> lock(fMutex);
    for (size_t i = 0; i < batch.size(); ++i) {
        const TKRegisteredObject& object = *batch[i];
        for (const auto& present : fObjects) {
            const TKString name = Clash(object, *present);
            if (!name.IsEmpty()) Taken(name);
            if (object.Code() >= 0 && present->Code() == object.Code() && object.Kind() == present->Kind())
                Taken(TKString::Format("code %d", int(object.Code())));
        }
        for (const auto& reserved : fReserved)
            if (object.Kind() == reserved.first && object.Answers(reserved.second)) Taken(reserved.second);
        for (size_t j = 0; j < i; ++j) {
            const TKString name = Clash(object, *batch[j]);
            if (!name.IsEmpty()) Taken(name);
        }
    }
    for (const auto& object : batch) {
        if (object->Code() < 0) object->SetCode(fNextCode++);
        fObjects.push_back(object);
    }
}

void TKObjectMgr::Reserve(const char* kind, const TKString& name) {
    std::lock_guard<std::mutex> lock(fMutex);
    for (const auto& reserved : fReserved)
        if (reserved.first == kind && reserved.second.CompareNoCase(name.CString()) == 0) return;
    fReserved.emplace_back(TKString(kind), name);
}

int32_t TKObjectMgr::Remove(const TKLibrary* library) {
    std::vector<TKRefPtr<TKRegisteredObject>> removed;  // released outside the lock
    std::lock_guard<std::mutex> lock(fMutex);
    auto kept = std::stable_partition(fObjects.begin(), fObjects.end(),
                                      [library](const auto& object) { return object->Library() != library; });
    removed.assign(kept, fObjects.end());
    fObjects.erase(kept, fObjects.end());
    return int32_t(removed.size());
}

TKRefPtr<TKRegisteredObject> TKObjectMgr::Find(const char* kind, const TKString& name) const {
    std::lock_guard<std::mutex> lock(fMutex);
    // Long names first: a short name of one object must not hide the long name of another.
    for (const auto& object : fObjects)
        if (SameKind(*object, kind) && object->LongName().CompareNoCase(name.CString()) == 0) return object;
    for (const auto& object : fObjects)
        if (SameKind(*object, kind) && object->Answers(name)) return object;
    return nullptr;
}

TKRefPtr<TKRegisteredObject> TKObjectMgr::FindCode(const char* kind, int32_t code) const {
    std::lock_guard<std::mutex> lock(fMutex);
    for (const auto& object : fObjects)
        if (SameKind(*object, kind) && object->Code() == code) return object;
    return nullptr;
}

std::vector<TKRefPtr<TKRegisteredObject>> TKObjectMgr::Objects(const char* kind) const {
    std::lock_guard<std::mutex> lock(fMutex);
    std::vector<TKRefPtr<TKRegisteredObject>> found;
    for (const auto& object : fObjects)
        if (SameKind(*object, kind)) found.push_back(object);
    return found;
}

TKString TKObjectMgr::Report() const {
    std::lock_guard<std::mutex> lock(fMutex);
    TKString text;
    for (const auto& object : fObjects) text += object->Describe() + "\n";
    return text;
}
