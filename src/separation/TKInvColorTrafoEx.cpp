// Inverse colour trafo with a start from a chart of its forward trafo.
#include "separation/TKInvColorTrafoEx.h"

#include "color/TKColors.h"

void TKInvColorTrafoEx::SetRefTrafo(TKTrafo* forward, bool owned) {
    fChart.Reset();
    TKInvColorTrafo::SetRefTrafo(forward, owned);
}

void TKInvColorTrafoEx::MakeStartChart(int32_t gridPoints) {
    fChart = TKFindNextColorTrafo::FromForward(*ForwardTrafo(), gridPoints);
}

TKVector TKInvColorTrafoEx::CalcStart() {
    if (!fStartVector.IsEmpty()) return TKInvColorTrafo::CalcStart();
    if (!fChart) MakeStartChart(GetChannelCount(DeviceType()) <= 4 ? 5 : 3);
    TKVector start = FinishColor(fChart->Trafo(fTarget));
    if (fStartTrafo) {
        // The table's answer where it is nearer than the chart's.
        const TKVector guess = FinishColor(fStartTrafo->Trafo(fTarget));
        TKVector residual;
        if (CalcError(guess, residual) < CalcError(start, residual)) start = guess;
    }
    fStart = start;
    return fStart;
}
