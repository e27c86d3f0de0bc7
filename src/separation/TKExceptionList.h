// Replacement rules as stored data: TKExceptionRule is one rule as a record of the data base,
// TKExceptionList the numbered records under "Exceptions", from which a TKReplaceColorTrafo is made.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "foundation/TKObject.h"
#include "numeric/TKVector.h"

class TKDataBase;
class TKReplaceColorTrafo;
class TKTrafo;

class TKExceptionRule : public TKObject {
    TK_DECLARE_CLASS(TKExceptionRule, TKObject)
public:
    enum RuleType : int32_t { kNone = 0, kPoint = 1, kLine = 2 };

    int32_t type = kNone;
    int32_t mode = 1;
    TKVector loSrc, loDst, hiSrc, hiDst;
    double tolerance = 0.0;

    // The record with "Type", "Mode", the four vectors (only when not empty) and "Tolerance".
    // A null node is ArgErr.
    void Save(TKDataBase* node) const;
    void Load(const TKDataBase* node);
};

class TKExceptionList : public TKObject {
    TK_DECLARE_CLASS(TKExceptionList, TKObject)
public:
    void Add(std::unique_ptr<TKExceptionRule> rule);
    int32_t Count() const { return int32_t(fRules.size()); }
    // IndexError outside.
    const TKExceptionRule& At(int32_t index) const;
    bool IsChanged() const { return fChanged; }
    void SetChanged(bool changed) { fChanged = changed; }

    // Writes the rules as "Exceptions/0", "Exceptions/1", ...; replaces what was there.
    void Save(TKDataBase& base) const;
    // Appends the rules found under "Exceptions" and marks the list changed.
    void Load(const TKDataBase& base);
    // A replacement trafo around `trafo` with every rule: points and lines by their stored
    // mode; a rule of type 0 is skipped and any other type is ArgErr.
    TKReplaceColorTrafo* MakeReplaceTrafo(TKTrafo* trafo, bool owned) const;

private:
    std::vector<std::unique_ptr<TKExceptionRule>> fRules;
    bool fChanged = false;
};
