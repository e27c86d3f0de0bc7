// TKCxFBase: what the CxF3 reader and writer share: the XML document, the error state, the data
// base that mirrors the document and the list of colour specifications.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "charts/TKCxFMirror.h"
#include "charts/TKCxFSpec.h"
#include "foundation/TKObject.h"
#include "io/TKDataBase.h"

namespace tinyxml2 {
class XMLDocument;
}

class TKCxFBase : public TKObject {
    TK_DECLARE_CLASS(TKCxFBase, TKObject)
public:
    // The error states, in the order of their texts.
    enum ErrorState : int32_t {
        kNoError = 0,
        kInvalidData = 1,   // data that is no CxF3 document
        kInvalidFile = 2,   // a file that is no valid CxF3 document
        kFormerData = 3,    // data of a CxF version before 3
        kFormerFile = 4,    // a file of a CxF version before 3
        kNotCxFFile = 5,    // a file that is no CxF document at all
    };
    static constexpr const char* kCoreNamespace = "http://colorexchangeformat.com/CxF3-core";
    static constexpr const char* kSpotInkNamespace = "http://colorexchangeformat.com/CxF3-SpotInkCharacterisation";
    // As the files of this system have always written it.
    static constexpr const char* kSchemaInstanceNamespace = "http:///www.w3.org/2001/XMLSchema-instance";

    TKCxFBase();
    ~TKCxFBase() override;

    // The text of an error state; "" for a code outside the table.
    static TKString ErrorText(int32_t code);
    int32_t Error() const { return fError; }
    const TKDataBase& Mirror() const { return fMirror; }

    // The colour specifications of the document, in its order. SpecName and SelectSpec raise
    // IndexError "Color specification index out of bounds" outside; SelectSpec by id raises
    // NotFound "Color specification does not exist". The selected one is mirrored under
    // ".CxF/ColorSpec/Current".
    int32_t SpecCount() const { return int32_t(fSpecs.size()); }
    TKString SpecName(int32_t index) const;
    const TKCxFColorSpec& Spec(int32_t index) const;
    void SelectSpec(int32_t index);
    void SelectSpec(const char* id);
    int32_t SelectedSpec() const { return fSelected; }
    // The index of a specification id, or -1.
    int32_t FindSpec(const TKString& id) const;

protected:
    tinyxml2::XMLDocument& Document() { return *fDocument; }
    void ResetDocument();
    // The root element of the mirror, where the derived groups go.
    TKCxFElement MirrorRoot() const { return TKCxFRootElement(fMirror); }

    std::unique_ptr<tinyxml2::XMLDocument> fDocument;
    int32_t fError = kNoError;
    TKDataBase fMirror;
    std::vector<TKCxFColorSpec> fSpecs;
    int32_t fSelected = -1;
};
