// An inverse colour trafo that starts each search from the nearest colour of a chart sampled
// through its own forward trafo, or from its start trafo's answer where that is nearer: a start
// that does not depend on a table's guess being good.
#pragma once

#include "color/TKInvColorTrafo.h"
#include "separation/TKFindNextColorTrafo.h"

class TKInvColorTrafoEx : public TKInvColorTrafo {
    TK_DECLARE_CLASS(TKInvColorTrafoEx, TKInvColorTrafo)
public:
    using TKInvColorTrafo::TKInvColorTrafo;

    // Forgets the chart first: it belongs to the forward trafo.
    void SetRefTrafo(TKTrafo* forward, bool owned) override;
    // The fixed start vector if set; otherwise the nearer of the chart's nearest colour and the
    // start trafo's answer. The chart is sampled on first use if none was made.
    TKVector CalcStart() override;
    // Samples the chart: `gridPoints` per device channel (ArgErr outside 2..33; BufferTooSmall
    // above 2^20 samples). The default chart has 5 points per channel, 3 above four channels.
    virtual void MakeStartChart(int32_t gridPoints);

private:
    TKRefPtr<TKFindNextColorTrafo> fChart;
};
