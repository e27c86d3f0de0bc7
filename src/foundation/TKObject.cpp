#include "foundation/TKObject.h"

#include <cstring>

namespace {
std::atomic<int32_t> gLiveObjects{0};
}

bool TKClassNameIs(const char* asked, const char* name) {
    return asked && std::strcmp(asked, name) == 0;
}

void* TKCastBase::Cast(const char* className) {
    return TKClassNameIs(className, "TKCastBase") ? this : nullptr;
}

const char* TKCastBase::ClassName() const { return "TKCastBase"; }

TKObject::TKObject() { gLiveObjects.fetch_add(1); }

// A copy is a new object: it takes the name, never the count.
TKObject::TKObject(const TKObject& other) : TKCastBase(other), fName(other.fName) { gLiveObjects.fetch_add(1); }

TKObject& TKObject::operator=(const TKObject& other) {
    fName = other.fName;
    return *this;
}

TKObject::~TKObject() {
    fRefCount.store(0);
    gLiveObjects.fetch_sub(1);
}

void* TKObject::Cast(const char* className) {
    return TKClassNameIs(className, "TKObject") ? this : TKCastBase::Cast(className);
}

const char* TKObject::ClassName() const { return "TKObject"; }

int32_t TKObject::RefCount() const { return fRefCount.load(std::memory_order_relaxed); }

int32_t TKObject::AddRef() { return fRefCount.fetch_add(1) + 1; }

int32_t TKObject::Release() {
    int32_t count = fRefCount.fetch_sub(1) - 1;
    if (count == 0) delete this;
    return count;
}

void TKObject::SetName(const TKString& name) { fName = name; }

TKString TKObject::GetName() const { return fName; }

int32_t TKObject::LiveObjects() { return gLiveObjects.load(); }
