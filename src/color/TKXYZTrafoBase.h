// TKXYZTrafoBase: the base of the XYZ stages of the rendering intents. It maps XYZ from a
// source black and white to a destination black and white; subclasses refine the mapping.
#pragma once

#include <atomic>
#include <mutex>

#include "color/TKColorTypeTrafo.h"

class TKXYZTrafoBase : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKXYZTrafoBase, TKColorTypeTrafo)
public:
    // Blacks 0, whites the D50 connection-space white: the identity.
    explicit TKXYZTrafoBase(bool smoothBlack = false);
    TKXYZTrafoBase(const TKXYZTrafoBase& other);

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // Brings the derived state up to date if a point changed, then evaluates.
    TKVector Trafo(const TKVector& source) const override;

    // Each point may be any CIE colour; it is kept as XYZ and marks the derived state stale.
    virtual void SetSourceBlack(const TKVector& black);
    virtual void SetSourceWhite(const TKVector& white);
    virtual void SetDestBlack(const TKVector& black);
    virtual void SetDestWhite(const TKVector& white);
    // Recomputes what depends on the points; the base keeps the blacks scaled to the whites.
    virtual void Update();

    void SetPoints(const TKVector& srcBlack, const TKVector& srcWhite, const TKVector& dstBlack,
                   const TKVector& dstWhite);
    const TKVector& GetSourceBlack() const { return fSrcBlack; }
    const TKVector& GetSourceWhite() const { return fSrcWhite; }
    const TKVector& GetDestBlack() const { return fDstBlack; }
    const TKVector& GetDestWhite() const { return fDstWhite; }
    bool GetSmoothBlack() const { return fSmoothBlack; }

protected:
    // The mapping on XYZ, called with the derived state current.
    virtual TKVector Evaluate(const TKVector& xyz) const;
    void MarkStale() { fStale.store(true, std::memory_order_release); }

    TKVector fSrcBlack, fSrcWhite, fDstBlack, fDstWhite;
    TKVector fSrcBlackScaled, fDstBlackScaled;  // the blacks with the chromaticity of their white
    bool fSmoothBlack;

private:
    void EnsureCurrent() const;

    mutable std::atomic<bool> fStale{true};
    mutable std::mutex fUpdateLock;
};

// value + w (c - b), w fading from 1 at black a to 0 at a distance set by the white d: moves
// the black point without moving colours far from it.
TKVector BlackBlend(const TKVector& value, const TKVector& a, const TKVector& b, const TKVector& c, const TKVector& d);
