// The registry of objects that modules add to the library: plug-ins register through
// TKModuleMgr, and the library itself registers the names it has built in, so that no plug-in
// can take them. Layers above look objects up by kind and name or by code.
#pragma once

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "foundation/TKObject.h"
#include "foundation/TKString.h"
#include "io/TKLibrary.h"

// Kinds of registered objects.
extern const char kTKModuleColorDifference[];

// One registered object: what it is, under which names, from which module and library.
class TKRegisteredObject : public TKObject {
    TK_DECLARE_CLASS(TKRegisteredObject, TKObject)
public:
    // `library` null: the object is the library's own ("internal").
    TKRegisteredObject(const char* kind, const TKString& name, const TKString& shortName, const TKString& module,
                       TKLibrary* library);

    const TKString& Kind() const { return fKind; }
    const TKString& LongName() const { return fLongName; }
    const TKString& ShortName() const { return fShortName; }
    // "Generic Module" when the module gave no name.
    const TKString& Module() const { return fModule; }
    TKLibrary* Library() const { return fLibrary.Get(); }
    // Given by TKObjectMgr::Register unless set before.
    int32_t Code() const { return fCode; }
    void SetCode(int32_t code) { fCode = code; }
    // Whether `name` is one of its names, case ignored.
    bool Answers(const TKString& name) const;
    // "<name> (<module>) from <file>", or "<name> (<module>) internal".
    TKString Describe() const;

private:
    TKString fKind, fLongName, fShortName, fModule;
    TKRefPtr<TKLibrary> fLibrary;  // keeps the code loaded while the object lives
    int32_t fCode = -1;
};

class TKObjectMgr {
public:
    // Codes given to registered objects that bring none start here, far above every table of
    // built-in codes.
    static constexpr int32_t kFirstModuleCode = 1000;

    // The process-wide registry the library consults.
    static TKObjectMgr& Shared();

    // Adds all objects or none: a name or short name that is taken (by a registered object of
    // the same kind, or twice in `batch`) raises CreateObjectErr naming it. Objects without a
    // code get the next free one; a given code that is taken raises CreateObjectErr too.
    void Register(const std::vector<TKRefPtr<TKRegisteredObject>>& batch);
    // Keeps a name of the library's own from plug-ins: registering it raises CreateObjectErr.
    void Reserve(const char* kind, const TKString& name);
    // Removes every object of `library` (null: the internal ones); returns how many.
    int32_t Remove(const TKLibrary* library);

    TKRefPtr<TKRegisteredObject> Find(const char* kind, const TKString& name) const;
    TKRefPtr<TKRegisteredObject> FindCode(const char* kind, int32_t code) const;
    std::vector<TKRefPtr<TKRegisteredObject>> Objects(const char* kind) const;
    // One line per object, as Describe gives it.
    TKString Report() const;

private:
    mutable std::mutex fMutex;
    std::vector<TKRefPtr<TKRegisteredObject>> fObjects;
    std::vector<std::pair<TKString, TKString>> fReserved;  // kind, name
    int32_t fNextCode = kFirstModuleCode;
};
