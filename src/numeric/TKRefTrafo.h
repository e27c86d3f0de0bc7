// The two bases of trafos that hold another trafo: TKRefTrafo keeps a counted reference and a
// reference vector; TKUseRefTrafo is the trafo it holds, forwarding every query to it.
#pragma once

#include "numeric/TKTrafo.h"

class TKRefTrafo : public TKTrafo {
public:
    // Answers "TKRefTrafo" and "TKTrafo" itself, then asks TKObject.
    void* Cast(const char* className) override;
    const char* ClassName() const override;

    TKRefTrafo();
    // owned: true takes over the caller's count of `trafo`, false adds one.
    TKRefTrafo(TKTrafo* trafo, bool owned);
    ~TKRefTrafo() noexcept override;  // a broken count of the held trafo ends the process

    // Adds the new count before releasing the old trafo, so setting the held trafo again is
    // safe; forgets every cached Info answer.
    virtual void SetRefTrafo(TKTrafo* trafo, bool owned);
    virtual TKTrafo* GetRefTrafo() const;
    virtual void SetRefVector(const TKVector& vector);
    virtual TKVector GetRefVector() const;

protected:
    TKRefPtr<TKTrafo> fRefTrafo;
    TKVector fRefVector;
};

// A trafo that is the trafo it holds. Without one it behaves like a plain TKTrafo.
class TKUseRefTrafo : public TKRefTrafo {
    TK_DECLARE_CLASS(TKUseRefTrafo, TKRefTrafo)
public:
    TKUseRefTrafo() = default;
    TKUseRefTrafo(TKTrafo* trafo, bool owned) : TKRefTrafo(trafo, owned) {}

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;
    int32_t GetInfo(int32_t index) const override;
    void SetInfo(int32_t index, int32_t value) override;
    bool CanTrafo8() const override;
    void TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                      const int32_t* dstStrides, TKProgress* progress) const override;
    bool CanTrafo16() const override;
    void TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                       const int32_t* dstStrides, TKProgress* progress) const override;
};
