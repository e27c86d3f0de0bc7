// Replacement rules in the data base.
#include "separation/TKExceptionList.h"

#include "foundation/TKError.h"
#include "io/TKDataBase.h"
#include "numeric/TKTrafoParameters.h"
#include "separation/TKReplaceColorTrafo.h"

namespace {
constexpr const char* kVectorKeys[4] = {"LoSrcV", "LoDstV", "HiSrcV", "HiDstV"};
}

void TKExceptionRule::Save(TKDataBase* node) const {
    if (!node) TKThrow(ArgErr);
    node->SetInt("Type", type);
    node->SetInt("Mode", mode);
    const TKVector* vectors[4] = {&loSrc, &loDst, &hiSrc, &hiDst};
    for (int i = 0; i < 4; ++i)
        if (!vectors[i]->IsEmpty()) TKSaveVector(*node, kVectorKeys[i], *vectors[i]);
    node->SetDouble("Tolerance", tolerance);
}

void TKExceptionRule::Load(const TKDataBase* node) {
    if (!node) TKThrow(ArgErr);
    type = node->GetInt("Type", kNone);
    mode = node->GetInt("Mode", 1);
    TKVector* vectors[4] = {&loSrc, &loDst, &hiSrc, &hiDst};
    for (int i = 0; i < 4; ++i) *vectors[i] = node->Exists(kVectorKeys[i]) ? TKLoadVector(*node, kVectorKeys[i]) : TKVector();
    tolerance = node->GetDouble("Tolerance", 0.0);
}

void TKExceptionList::Add(std::unique_ptr<TKExceptionRule> rule) {
    if (!rule) TKThrow(ArgErr);
    fRules.push_back(std::move(rule));
    fChanged = true;
}

const TKExceptionRule& TKExceptionList::At(int32_t index) const {
    if (index < 0 || index >= Count()) TKThrow(IndexError);
    return *fRules[size_t(index)];
}

void TKExceptionList::Save(TKDataBase& base) const {
    int32_t index = base.IndexOfKey("Exceptions");
    if (index >= 0) base.Remove(index);
    TKRefPtr<TKDataBase> list = TKMakeRef<TKDataBase>();
    for (size_t i = 0; i < fRules.size(); ++i) {
        TKRefPtr<TKDataBase> record = TKMakeRef<TKDataBase>();
        fRules[i]->Save(record.Get());
        list->Add(TKString::FromInt(int32_t(i)), TKString(), record.Get(), false);
    }
    base.Add("Exceptions", TKString(), list.Get(), false);
}

void TKExceptionList::Load(const TKDataBase& base) {
    const TKRefPtr<TKDataBase> list = base.GetSubBase("Exceptions");
    if (!list) return;
    // Every record is read before any is kept, so a bad record leaves the list as it was.
    std::vector<std::unique_ptr<TKExceptionRule>> read;
    for (int32_t i = 0; i < list->Count(); ++i) {
        auto rule = std::make_unique<TKExceptionRule>();
        rule->Load(list->SubBaseAt(i).Get());
        read.push_back(std::move(rule));
    }
    for (auto& rule : read) fRules.push_back(std::move(rule));
    fChanged = true;
}

TKReplaceColorTrafo* TKExceptionList::MakeReplaceTrafo(TKTrafo* trafo, bool owned) const {
    TKRefPtr<TKReplaceColorTrafo> replace(new TKReplaceColorTrafo(trafo, owned), true);
    for (const auto& rule : fRules) {
        switch (rule->type) {
            case TKExceptionRule::kNone: break;
            case TKExceptionRule::kPoint:
                replace->AddPointRule(rule->loSrc, rule->loDst, rule->mode, rule->tolerance);
                break;
            case TKExceptionRule::kLine:
                replace->AddLineRule(rule->loSrc, rule->hiSrc, rule->loDst, rule->hiDst, rule->mode, rule->tolerance);
                break;
            default: TKThrowMsg(ArgErr, "unknown replacement rule type");
        }
    }
    return replace.Detach();
}
