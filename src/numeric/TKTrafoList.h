// TKTrafoList: a chain of trafos run in order, member 0 first. Members are held by count, so
// one trafo can stand in several lists; copies of a list share the member array until written.
#pragma once

#include "foundation/TKArray.h"
#include "numeric/TKTrafo.h"

class TKTrafoList : public TKTrafo {
    TK_DECLARE_CLASS(TKTrafoList, TKTrafo)
public:
    // Members are stored in an array that grows by this many entries at a time.
    static constexpr int32_t kGrowth = 10000;

    TKTrafoList();
    // Every non-null trafo is appended; owned as in Append.
    TKTrafoList(int32_t count, TKTrafo* const* trafos, bool owned);
    TKTrafoList(TKTrafo* t1, TKTrafo* t2, TKTrafo* t3, TKTrafo* t4, TKTrafo* t5, TKTrafo* t6, bool owned);
    ~TKTrafoList() override;

    // owned: true takes over the caller's count, false adds one. A null trafo is ignored.
    virtual void Append(TKTrafo* trafo, bool owned);
    virtual void Prepend(TKTrafo* trafo, bool owned);
    // Appends every non-null member of `list` with a count of its own; with `flatten` nested
    // lists are expanded recursively into one flat list.
    virtual void AppendList(const TKTrafoList& list, bool flatten);
    // IndexError for an index outside the list.
    virtual void Replace(int32_t index, TKTrafo* trafo, bool owned);
    virtual void RemoveFirst();  // IndexError on an empty list
    virtual void RemoveLast();
    virtual int32_t GetCount() const;
    virtual TKTrafo* GetTrafo(int32_t index) const;  // IndexError outside

    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;
    TKMatrix TrafoMatrix(const TKMatrix& source, TKProgress* progress = nullptr) const override;
    int32_t GetInfo(int32_t index) const override;
    bool CanTrafo8() const override;
    void TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                      const int32_t* dstStrides, TKProgress* progress) const override;
    bool CanTrafo16() const override;
    void TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                       const int32_t* dstStrides, TKProgress* progress) const override;

private:
    // The member at `index` for evaluation: PtrInvalid if it is null.
    const TKTrafo& Member(int32_t index) const;
    template <class Sample>
    void RunPixels(int32_t count, const Sample* const* src, Sample* const* dst, const int32_t* srcStrides,
                   const int32_t* dstStrides, TKProgress* progress) const;

    TKArray<TKRefPtr<TKTrafo>> fTrafos;
};

// `trafo` if it casts to className; else, for a list, the first hit among its members depth
// first; else null.
TKTrafo* FindTrafo(TKTrafo* trafo, const char* className);
