#include "foundation/TKHandle.h"

#include <new>

TKHandleTrafo::~TKHandleTrafo() noexcept(false) {
    if (object) {
        // A count below 1 means the object died under the host's handle: fail loudly.
        if (object->RefCount() < 1) TKThrow(PtrInvalid);
        object->Release();
    }
}

TKHandleTrafo* NewRef(TKObject* object, bool adopt) {
    if (!object) return nullptr;
    auto* handle = new (std::nothrow) TKHandleTrafo;
    if (!handle) return nullptr;
    if (!adopt) object->AddRef();
    handle->object = object;
    return handle;
}

void* RefObject(const TKHandleTrafo* handle, const char* className) {
    if (!handle) return nullptr;
    if (!className || !handle->object) return handle->object;
    return handle->object->Cast(className);
}

void ReplaceRefObject(TKHandleTrafo* handle, TKObject* newObject, bool adopt) {
    if (!handle) return;
    if (newObject) newObject->AddRef();
    if (handle->object) handle->object->Release();
    handle->object = newObject;
    if (newObject && adopt) newObject->Release();
}

void FreeRef(TKHandleTrafo* handle) {
    delete handle;
}
