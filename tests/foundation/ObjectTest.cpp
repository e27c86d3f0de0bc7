// Root classes, counted pointers and reference handles.
#include "foundation/TKHandle.h"
#include "support/TestSupport.h"

namespace {
class TKTestThing : public TKObject {
    TK_DECLARE_CLASS(TKTestThing, TKObject)
};
class TKTestDerived : public TKTestThing {
    TK_DECLARE_CLASS(TKTestDerived, TKTestThing)
};
}  // namespace

TEST(Object, CastsByClassName) {
    auto* d = new TKTestDerived;
    EXPECT_EQ(d->Cast("TKTestDerived"), d);
    EXPECT_EQ(d->Cast("TKTestThing"), d);
    EXPECT_EQ(d->Cast("TKObject"), d);
    EXPECT_EQ(d->Cast("TKCastBase"), d);
    EXPECT_EQ(d->Cast("tkobject"), nullptr);
    EXPECT_EQ(d->Cast(nullptr), nullptr);
    EXPECT_STREQ(d->ClassName(), "TKTestDerived");
    d->Release();
}

TEST(Object, CountsAndLiveObjects) {
    int32_t before = TKObject::LiveObjects();
    auto* o = new TKObject;
    EXPECT_EQ(TKObject::LiveObjects(), before + 1);
    EXPECT_EQ(o->RefCount(), 1);
    EXPECT_EQ(o->AddRef(), 2);
    EXPECT_EQ(o->Release(), 1);
    o->SetName("thing");
    TKObject copy(*o);
    EXPECT_EQ(copy.RefCount(), 1);
    EXPECT_STREQ(copy.GetName().CString(), "thing");
    EXPECT_EQ(o->Release(), 0);
    EXPECT_EQ(TKObject::LiveObjects(), before + 1);  // the copy on the stack
}

TEST(RefPtr, OwnershipRule) {
    auto* o = new TKObject;
    {
        TKRefPtr<TKObject> owned(o, false);
        EXPECT_EQ(o->RefCount(), 2);
        owned.Reset(o, false);  // same object again keeps the balance
        EXPECT_EQ(o->RefCount(), 2);
    }
    EXPECT_EQ(o->RefCount(), 1);
    {
        TKRefPtr<TKObject> taken(o, true);
        EXPECT_EQ(o->RefCount(), 1);
        o->AddRef();
    }
    EXPECT_EQ(o->Release(), 0);
}

TEST(Handle, Services) {
    EXPECT_EQ(NewRef(nullptr, true), nullptr);
    EXPECT_EQ(RefObject(nullptr, "TKObject"), nullptr);
    auto* d = new TKTestDerived;
    TKHandleTrafo* h = NewRef(d, true);
    EXPECT_EQ(d->RefCount(), 1);
    EXPECT_EQ(RefObject(h, nullptr), d);
    EXPECT_EQ(RefObject(h, "TKTestThing"), d);
    EXPECT_EQ(RefObject(h, "TKTrafo"), nullptr);

    ReplaceRefObject(h, d, false);  // self-replacement keeps one count
    EXPECT_EQ(d->RefCount(), 1);
    auto* other = new TKObject;
    ReplaceRefObject(h, other, true);
    EXPECT_EQ(RefObject(h, nullptr), other);
    EXPECT_EQ(other->RefCount(), 1);
    ReplaceRefObject(nullptr, other, false);
    FreeRef(h);
    FreeRef(nullptr);

    auto* kept = new TKObject;
    TKHandleTrafo* h2 = NewRef(kept, false);
    EXPECT_EQ(kept->RefCount(), 2);
    FreeRef(h2);
    EXPECT_EQ(kept->Release(), 0);
}

TEST(Handle, UseAfterFreeFailsLoudly) {
    TKObject* o = new TKObject;
    TKHandleTrafo* h = NewRef(o, true);
    // Simulate a count that has fallen to zero under the handle.
    struct Zombie : TKObject {
        int32_t RefCount() const override { return 0; }
    };
    auto* z = new Zombie;
    ReplaceRefObject(h, z, true);
    EXPECT_TKERROR(FreeRef(h), PtrInvalid);
    z->TKObject::Release();
}
