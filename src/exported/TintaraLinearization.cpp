// The linearization family of exports: a linearization object, measurement data pulled through
// host callbacks, and the calculation of tone, reference and gray balance curves into it.
// Every calculation works on a copy of the curves, so a failure leaves the object as it was.
#include <new>
#include <strings.h>

#include "color/TKColors.h"
#include "exported/TKExport.h"
#include "exported/TKLinearizationOption.h"
#include "exported/TKVectorDataSet.h"
#include "foundation/TKHandle.h"
#include "linearization/TKCalcLinearizationVariants.h"
#include "linearization/TKColorLinearization.h"
#include "linearization/TKGrayBalance.h"
#include "separation/TKNumberToken.h"
#include "tintara.h"

namespace {

TKColorLinearization* HeldLinearization(TKLinearizationRef ref) {
    return RefObjectAs<TKColorLinearization>(ref, "TKColorLinearization");
}

int32_t CopyMatrixRow(int32_t index, double* values, void* userData) {
    const TKMatrix* matrix = static_cast<const TKMatrix*>(userData);
    if (!matrix || !values) return ArgErr;
    if (index < 0 || index >= matrix->GetHeight()) return IndexError;
    for (int32_t c = 0; c < matrix->GetWidth(); ++c) values[c] = (*matrix)(index, c);
    return NoErr;
}

// The measure and smoothing the host set on the handle, for a calculator of tone curves.
TKCalcColorLinearization& Configured(TKCalcColorLinearization& calculator, const TKColorLinearization& settings,
                                     bool measure) {
    calculator.SetSmoothing(settings.GetCalcSmoothing());
    if (measure) calculator.SetDifferenceMethod(settings.GetCalcDifferenceMethod());
    return calculator;
}

// Runs a calculation on a copy of the held curves and keeps the result only when it succeeds.
template <class Calculate>
int32_t CalculateInto(TKColorLinearization& held, Calculate calculate) {
    return TKGuardCode([&] {
        TKRefPtr<TKColorLinearization> work(new TKColorLinearization(held), true);
        calculate(work.Get());
        held = *work;
        return int32_t(NoErr);
    });
}

}  // namespace

TKMatrix TKReadVectorDataSet(const TKVectorDataSet* set, int32_t count) {
    if (!set) return TKMatrix();
    const int32_t width = GetChannelCount(set->colorType);
    if (width > kTKVectorDataSetRowSize) TKThrowMsg(DimMismatch, "a data set row has more than 36 values");
    if (!set->callback || count <= 0) return TKMatrix(0, width, int32_t(set->colorType));
    try {
        // Rows are read before the matrix is made, so a host's count cannot make the library
        // reserve more than the callback really delivers.
        std::vector<double> rows;
        for (int32_t index = 0; index < count; ++index) {
            double values[kTKVectorDataSetRowSize] = {};
            if (set->callback(index, values, set->userData) != 0)
                TKThrowMsg(DimMismatch, "a data set callback reported an error");
            rows.insert(rows.end(), values, values + width);
        }
        TKMatrix matrix(count, width, int32_t(set->colorType));
        std::copy(rows.begin(), rows.end(), matrix.MutableValues());
        return matrix;
    } catch (const std::bad_alloc&) {
        TKThrowMsg(MemFullErr, "the data set does not fit in memory");
    }
}

void TKInitVectorDataSetFromMatrix(TKVectorDataSet* set, const TKMatrix& matrix) {
    if (!set) return;
    if (matrix.GetHeight() < 1) {
        TKInitVectorDataSet(set, 0, nullptr, nullptr);
        return;
    }
    TKInitVectorDataSet(set, uint32_t(matrix.GetType()), CopyMatrixRow, const_cast<TKMatrix*>(&matrix));
}

bool TKIsLinearizationOption(const char* key) {
    return key && (!strcasecmp(key, "Smoothing") || !strcasecmp(key, "DifferenceMethod"));
}

int32_t TKSetLinearizationOption(TKTrafoRef ref, const char* key, const TKString& value) {
    TKColorLinearization* linearization = HeldLinearization(ref);
    if (!linearization) return int32_t(TrafoErr);
    TKString text = value;
    text.Trim();
    if (!strcasecmp(key, "Smoothing")) {
        double smoothing = -1.0;
        if (!text.IsEmpty() && !TKReadNumberToken(text.CString(), smoothing)) return int32_t(ArgErr);
        linearization->SetCalcSmoothing(smoothing);
        return int32_t(NoErr);
    }
    int32_t method = kTKDeltaE76;
    if (text.IsInteger() && !text.IsEmpty()) method = text.ToInt();
    else if (!text.IsEmpty()) method = TKColorDifference::GetMethodFromName(text.CString());
    if (method < 0 || method >= kTKDifferenceMethodCount) return int32_t(ArgErr);
    linearization->SetCalcDifferenceMethod(method);
    return int32_t(NoErr);
}

extern "C" {

TKLinearizationRef TKNewTKLinearizationRef(void) {
    return TKGuardRef([]() -> TKLinearizationRef {
        TKColorLinearization* linearization = new TKColorLinearization(TKCMYKSpace);
        TKLinearizationRef ref = NewRef(linearization, true);
        if (!ref) linearization->Release();
        return ref;
    });
}

void TKFreeTKLinearizationRef(TKLinearizationRef lin) { FreeRef(lin); }

void TKInitVectorDataSet(TKVectorDataSet* set, uint32_t colorType, TKVectorDataSetProc callback, void* userData) {
    if (!set) return;
    set->colorType = colorType;
    set->callback = callback;
    set->userData = userData;
}

int32_t TKLimitSlope(TKLinearizationRef lin, double minSlope, double maxSlope) {
    TKColorLinearization* linearization = HeldLinearization(lin);
    if (!linearization) return TK_ARG_ERROR();
    return CalculateInto(*linearization, [&](TKColorLinearization* work) { work->LimitSlope(minSlope, maxSlope); });
}

int32_t TKCalcLinearization(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal,
                            TKVectorDataSet* measured, const double* inkLimits) {
    TKColorLinearization* linearization = HeldLinearization(lin);
    if (!linearization || !nominal || !measured || count < 2) return TK_ARG_ERROR();
    return CalculateInto(*linearization, [&](TKColorLinearization* work) {
        const uint32_t type = nominal->colorType;
        // Without limits every channel may reach its full value.
        TKVector limits = GetMaxVector(type);
        if (inkLimits) limits.SetFromArray(GetChannelCount(type), inkLimits);
        const TKMatrix device = TKReadVectorDataSet(nominal, count);
        const TKMatrix values = TKReadVectorDataSet(measured, count);
        TKCalcInkLimitColorLinearization calculator(device, values, limits);
        Configured(calculator, *work, true).CalcChannelCurves(work);
    });
}

int32_t TKCalcReferenceLinearization(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal,
                                     TKVectorDataSet* measured, int32_t refCount, TKVectorDataSet* refNominal,
                                     TKVectorDataSet* refMeasured) {
    TKColorLinearization* linearization = HeldLinearization(lin);
    if (!linearization || !nominal || !measured || !refNominal || !refMeasured || count < 2 || refCount < 2)
        return TK_ARG_ERROR();
    return CalculateInto(*linearization, [&](TKColorLinearization* work) {
        const TKMatrix device = TKReadVectorDataSet(nominal, count);
        const TKMatrix values = TKReadVectorDataSet(measured, count);
        const TKMatrix refDevice = TKReadVectorDataSet(refNominal, refCount);
        const TKMatrix refValues = TKReadVectorDataSet(refMeasured, refCount);
        TKCalcRefColorLinearization calculator(device, values, refDevice, refValues);
        Configured(calculator, *work, true).CalcChannelCurves(work);
    });
}

int32_t TKCalcGrayBalance(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal, TKVectorDataSet* measured) {
    TKColorLinearization* linearization = HeldLinearization(lin);
    if (!linearization || !nominal || !measured || count < 2) return TK_ARG_ERROR();
    return CalculateInto(*linearization, [&](TKColorLinearization* work) {
        TKGrayBalance calculator(TKReadVectorDataSet(nominal, count), TKReadVectorDataSet(measured, count));
        Configured(calculator, *work, false);
        calculator.Calc(work);
    });
}

int32_t TKAdjustGrayBalance(TKLinearizationRef lin, int32_t count, TKVectorDataSet* nominal,
                            TKVectorDataSet* measured) {
    TKColorLinearization* linearization = HeldLinearization(lin);
    if (!linearization || !nominal || !measured || count < 2) return TK_ARG_ERROR();
    return CalculateInto(*linearization, [&](TKColorLinearization* work) {
        TKOptimizeGrayBalance calculator(TKReadVectorDataSet(nominal, count), TKReadVectorDataSet(measured, count));
        Configured(calculator, *work, false);
        calculator.Calc(work);
    });
}

}  // extern "C"
