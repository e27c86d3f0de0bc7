// TKTrafoList: membership, dimensions and types threaded through the members, evaluation of
// colours and tables, combined Info answers, and FindTrafo.
#include "numeric/TKTrafoList.h"

namespace {
// A member handed over with a count already below 1 is a use after free.
void CheckAlive(TKTrafo* trafo) {
    if (trafo && trafo->RefCount() < 1) TKThrow(PtrInvalid);
}
}  // namespace

TKTrafoList::TKTrafoList() { fTrafos.SetGrowth(0, kGrowth); }

TKTrafoList::TKTrafoList(int32_t count, TKTrafo* const* trafos, bool owned) : TKTrafoList() {
    if (count < 0 || (count > 0 && !trafos)) TKThrow(ArgErr);
    for (int32_t i = 0; i < count; ++i) Append(trafos[i], owned);
}

TKTrafoList::TKTrafoList(TKTrafo* t1, TKTrafo* t2, TKTrafo* t3, TKTrafo* t4, TKTrafo* t5, TKTrafo* t6, bool owned)
    : TKTrafoList() {
    for (TKTrafo* t : {t1, t2, t3, t4, t5, t6}) Append(t, owned);
}

TKTrafoList::~TKTrafoList() = default;

void TKTrafoList::Append(TKTrafo* trafo, bool owned) {
    if (!trafo) return;
    CheckAlive(trafo);
    fTrafos.Add(TKRefPtr<TKTrafo>(trafo, owned));
}

void TKTrafoList::Prepend(TKTrafo* trafo, bool owned) {
    if (!trafo) return;
    CheckAlive(trafo);
    fTrafos.Insert(0, TKRefPtr<TKTrafo>(trafo, owned));
}

void TKTrafoList::AppendList(const TKTrafoList& list, bool flatten) {
    // A copy of the member array keeps the members alive even if `list` is this list.
    TKArray<TKRefPtr<TKTrafo>> members = list.fTrafos;
    for (const TKRefPtr<TKTrafo>& member : members) {
        if (!member) continue;
        auto* nested = flatten ? TKCast<TKTrafoList>(member.Get(), "TKTrafoList") : nullptr;
        if (nested) AppendList(*nested, true);
        else Append(member.Get(), false);
    }
}

void TKTrafoList::Replace(int32_t index, TKTrafo* trafo, bool owned) {
    if (index < 0 || index >= fTrafos.Count()) TKThrow(IndexError);
    CheckAlive(trafo);
    fTrafos[index] = TKRefPtr<TKTrafo>(trafo, owned);
}

void TKTrafoList::RemoveFirst() { fTrafos.Remove(0); }

void TKTrafoList::RemoveLast() { fTrafos.Remove(fTrafos.Count() - 1); }

int32_t TKTrafoList::GetCount() const { return fTrafos.Count(); }

TKTrafo* TKTrafoList::GetTrafo(int32_t index) const { return fTrafos[index].Get(); }

const TKTrafo& TKTrafoList::Member(int32_t index) const {
    TKTrafo* member = fTrafos[index].Get();
    if (!member) TKThrow(PtrInvalid);
    return *member;
}

int32_t TKTrafoList::GetSrcDim() const { return fTrafos.IsEmpty() ? TKTrafo::GetSrcDim() : Member(0).GetSrcDim(); }

int32_t TKTrafoList::GetSrcType() const {
    return fTrafos.IsEmpty() ? TKTrafo::GetSrcType() : Member(0).GetSrcType();
}

int32_t TKTrafoList::GetDstDim(int32_t srcDim) const {
    for (int32_t i = 0; i < fTrafos.Count(); ++i) srcDim = Member(i).GetDstDim(srcDim);
    return srcDim;
}

int32_t TKTrafoList::GetDstType(int32_t srcType) const {
    for (int32_t i = 0; i < fTrafos.Count(); ++i) srcType = Member(i).GetDstType(srcType);
    return srcType;
}

TKVector TKTrafoList::Trafo(const TKVector& source) const {
    if (fTrafos.IsEmpty()) return source;
    // The first member reads the caller's vector itself: a list of one adds no copy.
    TKVector running = Member(0).Trafo(source);
    for (int32_t i = 1; i < fTrafos.Count(); ++i) running = Member(i).Trafo(running);
    return running;
}

TKMatrix TKTrafoList::TrafoMatrix(const TKMatrix& source, TKProgress* progress) const {
    if (fTrafos.IsEmpty()) return source;
    return TKTrafo::TrafoMatrix(source, progress);
}

int32_t TKTrafoList::GetInfo(int32_t index) const {
    if (index != 1 && (index < 3 || index > 5)) return TKTrafo::GetInfo(index);
    // The list is the identity (or whatever the spare entries stand for) only if every
    // member says so; the first other answer decides.
    int32_t answer = 1;
    for (int32_t i = 0; i < fTrafos.Count() && answer == 1; ++i) answer = Member(i).GetInfo(index);
    StoreInfo(index, answer);
    return answer;
}

bool TKTrafoList::CanTrafo8() const {
    for (const TKRefPtr<TKTrafo>& member : fTrafos)
        if (member && !member->CanTrafo8()) return false;
    return true;
}

bool TKTrafoList::CanTrafo16() const {
    for (const TKRefPtr<TKTrafo>& member : fTrafos)
        if (member && !member->CanTrafo16()) return false;
    return true;
}

TKTrafo* FindTrafo(TKTrafo* trafo, const char* className) {
    if (!trafo) return nullptr;
    if (trafo->Cast(className)) return trafo;
    auto* list = TKCast<TKTrafoList>(trafo, "TKTrafoList");
    if (!list) return nullptr;
    for (int32_t i = 0; i < list->GetCount(); ++i)
        if (TKTrafo* hit = FindTrafo(list->GetTrafo(i), className)) return hit;
    return nullptr;
}
