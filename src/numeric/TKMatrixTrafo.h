// TKMatrixTrafo: a linear map, the matrix times the source colour.
#pragma once

#include "numeric/TKTrafo.h"

class TKMatrixTrafo : public TKTrafo {
    TK_DECLARE_CLASS(TKMatrixTrafo, TKTrafo)
public:
    TKMatrixTrafo() = default;
    explicit TKMatrixTrafo(const TKMatrix& matrix) : fMatrix(matrix) {}

    // Source channels are the matrix's columns, destination channels its rows and the
    // destination type its type. A matrix without rows passes everything through.
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // DimMismatch unless the source has as many channels as the matrix has columns.
    TKVector Trafo(const TKVector& source) const override;
    void Load(const TKDataBase& base) override;
    void Save(TKDataBase& base) const override;

    virtual TKMatrix GetMatrix() const { return fMatrix; }
    virtual void SetMatrix(const TKMatrix& matrix) { fMatrix = matrix; }

private:
    TKMatrix fMatrix;
};
