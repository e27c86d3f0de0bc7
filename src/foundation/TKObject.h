// Root classes: name-based casts, the intrusive atomic reference count, and the counted pointer.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "foundation/TKError.h"
#include "foundation/TKString.h"

class TKCastBase {
public:
    virtual void* Cast(const char* className);
    virtual const char* ClassName() const;
    virtual ~TKCastBase() = default;
};

// Declares Cast and ClassName for a class that derives from Base.
#define TK_DECLARE_CLASS(Class, Base)                                         \
public:                                                                       \
    void* Cast(const char* className) override {                             \
        return TKClassNameIs(className, #Class) ? this : Base::Cast(className); \
    }                                                                         \
    const char* ClassName() const override { return #Class; }

bool TKClassNameIs(const char* asked, const char* name);

class TKObject : public TKCastBase {
public:
    TKObject();
    TKObject(const TKObject& other);
    TKObject& operator=(const TKObject& other);

    void* Cast(const char* className) override;
    const char* ClassName() const override;
    ~TKObject() override;

    virtual int32_t RefCount() const;
    virtual int32_t AddRef();
    virtual int32_t Release();
    virtual void SetName(const TKString& name);
    virtual TKString GetName() const;

    // Objects alive in the process; for leak diagnosis only.
    static int32_t LiveObjects();

private:
    std::atomic<int32_t> fRefCount{1};
    TKString fName;
};

// Casts an object by class name; null stays null.
template <class T>
T* TKCast(TKCastBase* object, const char* className) {
    return object ? static_cast<T*>(object->Cast(className)) : nullptr;
}

// A counted pointer. A count that has already fallen below 1 is a use after free: replacing such
// an object raises PtrInvalid instead of decrementing further. The destructor cannot throw (it
// runs inside other destructors), so there the record is logged and the count left alone.
template <class T>
class TKRefPtr {
public:
    TKRefPtr() noexcept = default;
    TKRefPtr(std::nullptr_t) noexcept {}  // NOLINT
    // owned: true takes over the caller's count, false adds one of its own.
    TKRefPtr(T* object, bool owned) { Reset(object, owned); }
    TKRefPtr(const TKRefPtr& other) { Reset(other.fObject, false); }
    TKRefPtr(TKRefPtr&& other) noexcept : fObject(other.fObject) { other.fObject = nullptr; }
    template <class U>
    TKRefPtr(const TKRefPtr<U>& other) { Reset(other.Get(), false); }  // NOLINT
    ~TKRefPtr() {
        T* old = fObject;
        fObject = nullptr;
        if (!old) return;
        if (old->RefCount() < 1)
            TKError(PtrInvalid, nullptr, __FILE__, __LINE__);
        else
            old->Release();
    }
    TKRefPtr& operator=(const TKRefPtr& other) {
        Reset(other.fObject, false);
        return *this;
    }
    TKRefPtr& operator=(TKRefPtr&& other) {
        if (this != &other) {
            ReleaseHeld();
            fObject = other.fObject;
            other.fObject = nullptr;
        }
        return *this;
    }

    // Adds the new count before releasing the old object, so setting the same object is safe.
    void Reset(T* object = nullptr, bool owned = false) {
        if (object) object->AddRef();
        T* old = fObject;
        fObject = object;
        if (old) Drop(old);
        if (object && owned) object->Release();
    }
    // Gives up the held count to the caller.
    T* Detach() noexcept {
        T* object = fObject;
        fObject = nullptr;
        return object;
    }
    T* Get() const noexcept { return fObject; }
    T* operator->() const noexcept { return fObject; }
    T& operator*() const noexcept { return *fObject; }
    explicit operator bool() const noexcept { return fObject != nullptr; }

private:
    void ReleaseHeld() {
        T* old = fObject;
        fObject = nullptr;
        if (old) Drop(old);
    }
    static void Drop(T* object) {
        if (object->RefCount() < 1) TKThrow(PtrInvalid);
        object->Release();
    }
    T* fObject = nullptr;
};

// Creates an object with its initial count owned by the returned pointer.
template <class T, class... Args>
TKRefPtr<T> TKMakeRef(Args&&... args) {
    return TKRefPtr<T>(new T(std::forward<Args>(args)...), true);
}
