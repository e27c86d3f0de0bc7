// TKWhiteXYZTrafo: chromatic adaptation of XYZ from a source white to a destination white
// by a cone matrix (von Kries, Bradford, CAT02, ...).
#pragma once

#include "color/TKMat3.h"
#include "color/TKXYZTrafoBase.h"

class TKWhiteXYZTrafo : public TKXYZTrafoBase {
    TK_DECLARE_CLASS(TKWhiteXYZTrafo, TKXYZTrafoBase)
public:
    enum : int32_t { kCustomCode = 7 };

    // D50 to D50 with the given adaptation code: the identity until a white changes.
    explicit TKWhiteXYZTrafo(int32_t code = 0);
    TKWhiteXYZTrafo(const TKVector& srcWhite, const TKVector& dstWhite, int32_t code);

    // The adaptation code (0 "Wrong von Kries" .. 6 "Test"; 7 after SetCustomMatrix).
    void SetCode(int32_t code);
    int32_t GetCode() const { return fCode; }
    // A cone matrix of the caller's; sets the code to 7. A singular matrix is SingularMatrixErr.
    void SetCustomMatrix(const TKMat3& cone);
    // With clamping, XYZ is limited to 0..200 before and after the adaptation.
    void SetClamp(bool clamp) { fClamp = clamp; }
    bool GetClamp() const { return fClamp; }
    // Adapts from the destination white back to the source white.
    void SetReverse(bool reverse);
    bool GetReverse() const { return fReverse; }

    // A = M^-1 diag(M Wd / M Ws) M, current after Update.
    TKMat3 GetAdaptation() const;
    void Update() override;

protected:
    TKVector Evaluate(const TKVector& xyz) const override;

private:
    int32_t fCode;
    TKMat3 fCone;
    TKMat3 fAdaptation = TKMat3::Identity();
    bool fClamp = false;
    bool fReverse = false;
};
