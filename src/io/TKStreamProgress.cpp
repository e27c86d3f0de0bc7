// Progress reports as text lines on a stream.
#include "io/TKStreamProgress.h"

#include <algorithm>

TKStreamProgress::TKStreamProgress(TKStream* stream, bool owned) : fStream(stream, owned) {}

void TKStreamProgress::SetSubTask(int32_t subTask) {
    fSubTask = subTask;
    fLastPercent = -1;  // the new sub-task's first report is always written
}

void TKStreamProgress::SetProgress(double fraction) {
    if (!fStream || !(fraction >= 0.0)) return;
    int32_t percent = int32_t(std::min(fraction, 1.0) * 100.0);
    if (percent == fLastPercent) return;
    fLastPercent = percent;
    TKString line = fSubTask >= 0 ? TKString::Format("[%d] %d%%\n", int(fSubTask), int(percent))
                                  : TKString::Format("%d%%\n", int(percent));
    try {
        fStream->Write(line.CString(), size_t(line.Length()));
    } catch (const TKError&) {
    }
}
