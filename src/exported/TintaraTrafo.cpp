// The trafo family of exports: create, concatenate, query and evaluate trafos through
// reference handles.

#include "exported/TKExport.h"
#include "foundation/TKHandle.h"
#include "link/TKLinkUse.h"
#include "numeric/TKTrafoList.h"
#include "tintara.h"

// Hosts read the held object of a reference as its second pointer (TK_TRAFO_OF_REF).
static_assert(sizeof(TKHandleTrafo) == 2 * sizeof(void*), "a reference is a record of two pointers");

namespace {
// The trafo a handle holds, or null for a null handle, an empty one or one holding no trafo.
TKTrafo* HeldTrafo(TKTrafoRef ref) { return RefObjectAs<TKTrafo>(ref, "TKTrafo"); }

// A query of a held trafo: 0 for no trafo, and 0 too when the trafo cannot answer (a merge
// link whose members were re-baked to other shapes throws), since nothing may leave the C boundary.
// A link being rebuilt on another thread answers 0 as well: its shape is being rewritten.
template <class Query>
auto AskTrafo(TKTrafoRef ref, Query&& query) noexcept -> decltype(query(*HeldTrafo(ref))) {
    try {
        TKTrafo* trafo = HeldTrafo(ref);
        if (!trafo) return 0;
        const TKLinkUse use(trafo);
        return use.Busy() ? 0 : query(*trafo);
    } catch (...) {
        return 0;
    }
}

// Hands a new object to a new handle; if no handle can be had, the object goes again.
TKTrafoRef Adopt(TKTrafo* trafo) {
    TKTrafoRef ref = NewRef(trafo, true);
    if (!ref) trafo->Release();
    return ref;
}
}  // namespace

extern "C" {

TKTrafoRef TKNewTKTrafoRef(void) {
    return TKGuardRef([] { return Adopt(new TKTrafo); });
}

void TKFreeTKTrafoRef(TKTrafoRef ref) { FreeRef(ref); }

TKTrafoRef TKConcatenateTrafos(TKTrafo* t1, TKTrafo* t2, TKTrafo* t3, TKTrafo* t4, TKTrafo* t5, TKTrafo* t6) {
    // Object pointers, not handles: each member gets a count of its own and the caller keeps its.
    // A counted object that is no trafo (a profile, say) would be taken for one by the list.
    // The check asks through the root class, which every object of the library starts with: a
    // call through TKTrafo* on an object of another class would itself be undefined.
    for (TKTrafo* member : {t1, t2, t3, t4, t5, t6})
        if (member && static_cast<TKCastBase*>(static_cast<void*>(member))->Cast("TKTrafo") != member) return nullptr;
    return TKGuardRef([&] { return Adopt(new TKTrafoList(t1, t2, t3, t4, t5, t6, false)); });
}

int32_t TKGetTrafoSrcDim(TKTrafoRef ref) {
    return AskTrafo(ref, [](TKTrafo& t) { return t.GetSrcDim(); });
}

// Asked with 0 ("any source"): trafos with a fixed output answer it, and a trafo that only
// passes its input's dimension through answers 0, "as many as went in".
int32_t TKGetTrafoDstDim(TKTrafoRef ref) {
    return AskTrafo(ref, [](TKTrafo& t) { return t.GetDstDim(0); });
}

uint32_t TKGetTrafoSrcType(TKTrafoRef ref) {
    return AskTrafo(ref, [](TKTrafo& t) { return uint32_t(t.GetSrcType()); });
}

uint32_t TKGetTrafoDstType(TKTrafoRef ref) {
    return AskTrafo(ref, [](TKTrafo& t) { return uint32_t(t.GetDstType(0)); });
}

int32_t TKDoTrafo(TKTrafoRef ref, const double* src, double* dst) {
    TKTrafo* trafo = HeldTrafo(ref);
    if (!trafo || !src || !dst) return TK_ARG_ERROR();
    // A link counts the evaluation as a use, so that it never overlaps a bake, a load or a refill.
    const TKLinkUse use(trafo);
    return TKGuardCode([&] {
        if (use.Busy()) TKThrowMsg(ThreadError, "the link is being rebuilt by another call");
        int32_t srcDim = trafo->GetSrcDim();
        TKVector colour;
        colour.SetFromArray(srcDim, src);
        colour.SetType(trafo->GetSrcType());
        trafo->TrafoInPlace(colour);
        if (colour.GetDim() != trafo->GetDstDim(srcDim)) TKThrow(DimMismatch);
        colour.CopyToArray(dst);
        return int32_t(NoErr);
    });
}

}  // extern "C"
