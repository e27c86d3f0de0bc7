// The functions that the minimizers drive: each gives a double to minimise at a vector and
// hands back its result vector (the residuals whose size the double measures), which the
// quadratic exploration of TKMinimizeHookeEx uses.
//
// TKErrorFunc is an interface rather than an object so that a trafo can also be an error
// function (the inverse colour trafos are); the concrete functions here are counted objects.
#pragma once

#include <cstdint>

#include "foundation/TKObject.h"
#include "numeric/TKDoubleFunc.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

class TKTrafo;

class TKErrorFunc {
public:
    virtual ~TKErrorFunc();
    // The value to minimise at x; `out` receives the function's result vector.
    virtual double Error(const TKVector& x, TKVector& out) = 0;
};

// Distance of a trafo's result from a target: out = EvalTrafo(x) - target, error = |out|.
class TKTrafoErrorFunc : public TKObject, public TKErrorFunc {
    TK_DECLARE_CLASS(TKTrafoErrorFunc, TKObject)
public:
    // owned: true takes over the caller's count of `trafo`, false adds one.
    TKTrafoErrorFunc(TKTrafo* trafo, const TKVector& target, bool owned);
    ~TKTrafoErrorFunc() noexcept override;

    double Error(const TKVector& x, TKVector& out) override;
    // The trafo evaluated at x; subclasses put a parameter mapping in front of it.
    virtual TKVector EvalTrafo(const TKVector& x);

    TKTrafo* GetTrafo() const { return fTrafo.Get(); }
    const TKVector& GetTarget() const { return fTarget; }
    void SetTarget(const TKVector& target) { fTarget = target; }

private:
    TKRefPtr<TKTrafo> fTrafo;
    TKVector fTarget;
};

// An error over a table of samples: each source row is mapped by EvalRow under the parameters
// x and compared with its target row. The result vector holds all residuals, row after row;
// the error is the root mean square of the row distances.
class TKMatrixErrorFunc : public TKObject, public TKErrorFunc {
    TK_DECLARE_CLASS(TKMatrixErrorFunc, TKObject)
public:
    // DimMismatch unless source and target have the same number of rows.
    TKMatrixErrorFunc(const TKMatrix& source, const TKMatrix& target);
    ~TKMatrixErrorFunc() noexcept override;

    double Error(const TKVector& x, TKVector& out) override;
    // The model's value for one source row under the parameters x; its dimension must be the
    // target's width.
    virtual TKVector EvalRow(const TKVector& x, const TKVector& sourceRow) = 0;

    const TKMatrix& GetSource() const { return fSource; }
    const TKMatrix& GetTarget() const { return fTarget; }

private:
    TKMatrix fSource;
    TKMatrix fTarget;
};

// A plain vector-to-double function as an error function; the result vector is its one value.
class TKMinimize2VectorFunc : public TKObject, public TKErrorFunc {
    TK_DECLARE_CLASS(TKMinimize2VectorFunc, TKObject)
public:
    TKMinimize2VectorFunc(TKVectorToDoubleFunc* function, bool owned);
    ~TKMinimize2VectorFunc() noexcept override;
    // PtrInvalid without a function.
    double Error(const TKVector& x, TKVector& out) override;

private:
    TKRefPtr<TKVectorToDoubleFunc> fFunction;
};

// A line through the search space of another error function: the one-element vector (t)
// evaluates the inner function at start + t * direction. The inner function must outlive it.
class TKLinMin1DFunc : public TKObject, public TKErrorFunc {
    TK_DECLARE_CLASS(TKLinMin1DFunc, TKObject)
public:
    TKLinMin1DFunc(TKErrorFunc& inner, const TKVector& start, const TKVector& direction);
    // ArgErr unless x has one element.
    double Error(const TKVector& x, TKVector& out) override;
    // The inner function at start + t * direction.
    double Eval(double t);
    TKVector PointAt(double t) const;

private:
    TKErrorFunc& fInner;
    TKVector fStart;
    TKVector fDirection;
};
