// TKHandleTrafo: the opaque record a host holds for a trafo, link or linearization.
// It owns one count of the object it holds.
#pragma once

#include "foundation/TKObject.h"

struct TKHandleTrafo {
    virtual ~TKHandleTrafo() noexcept(false);
    TKObject* object = nullptr;
};

// Null object gives null. adopt: the handle takes over the caller's count; otherwise it adds one.
TKHandleTrafo* NewRef(TKObject* object, bool adopt);
// The held object, or its Cast(className) when a class name is given.
void* RefObject(const TKHandleTrafo* handle, const char* className);
template <class T>
T* RefObjectAs(const TKHandleTrafo* handle, const char* className) {
    return static_cast<T*>(RefObject(handle, className));
}
// Swaps the held object; safe when the new object is the held one.
void ReplaceRefObject(TKHandleTrafo* handle, TKObject* newObject, bool adopt);
void FreeRef(TKHandleTrafo* handle);
