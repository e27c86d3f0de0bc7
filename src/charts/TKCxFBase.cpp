// TKCxFBase: error texts and the list of colour specifications.
#include "charts/TKCxFBase.h"

#include <tinyxml2.h>

#include "foundation/TKError.h"

namespace {

const char* const kErrorTexts[] = {
    "CxF: No error occurred",
    "CxF: The data provided is not in a valid CxF3 format!",
    "CxF: The file loaded is not a valid CxF3 file!",
    "CxF: The data provided is in a former version of the CxF format. Only CxF version >= 3 supported!",
    "CxF: The file loaded is in a former version of the CxF format. Only CxF version >= 3 supported",
    "CxF: The file loaded is not a valid CxF file",
};

}  // namespace

TKCxFBase::TKCxFBase() : fDocument(std::make_unique<tinyxml2::XMLDocument>()) {}

TKCxFBase::~TKCxFBase() = default;

void TKCxFBase::ResetDocument() { fDocument = std::make_unique<tinyxml2::XMLDocument>(); }

TKString TKCxFBase::ErrorText(int32_t code) {
    if (code < 0 || code >= int32_t(sizeof kErrorTexts / sizeof kErrorTexts[0])) return TKString();
    return kErrorTexts[code];
}

TKString TKCxFBase::SpecName(int32_t index) const { return Spec(index).id; }

const TKCxFColorSpec& TKCxFBase::Spec(int32_t index) const {
    if (index < 0 || index >= SpecCount()) TKThrowMsg(IndexError, "Color specification index out of bounds");
    return fSpecs[size_t(index)];
}

int32_t TKCxFBase::FindSpec(const TKString& id) const {
    for (size_t i = 0; i < fSpecs.size(); ++i)
        if (fSpecs[i].id == id) return int32_t(i);
    return -1;
}

void TKCxFBase::SelectSpec(const char* id) {
    const int32_t index = FindSpec(id ? id : "");
    if (index < 0) TKThrowMsg(NotFound, "Color specification does not exist");
    SelectSpec(index);
}

void TKCxFBase::SelectSpec(int32_t index) {
    const TKCxFColorSpec& spec = Spec(index);
    fSelected = index;
    TKCxFElement root = MirrorRoot();
    if (!root.IsValid()) return;
    int32_t group = root.base->IndexOfKey("ColorSpec");
    if (group < 0) group = root.base->Add("ColorSpec", "", TKMakeRef<TKDataBase>().Get(), false);
    const TKRefPtr<TKDataBase> specs = root.base->SubBaseAt(group);
    const int32_t current = specs->IndexOfKey("Current");
    if (current >= 0)
        specs->SetSubBase(current, spec.element.base.Get(), false);
    else
        specs->Add("Current", spec.id, spec.element.base.Get(), false);
}
