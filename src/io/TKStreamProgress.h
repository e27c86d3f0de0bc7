// A progress that writes its reports as text lines to a stream, for tools that run without a
// user interface: "<percent>%" per line, with "[<sub-task>] " in front once one is named.
#pragma once

#include <cstdint>

#include "foundation/TKProgress.h"
#include "io/TKStream.h"

class TKStreamProgress : public TKProgress {
public:
    // Holds a count of the stream; `owned` takes over the caller's.
    TKStreamProgress(TKStream* stream, bool owned);

    // Writes a line when the whole percent changes; markers (negative fractions) write nothing.
    // A failing stream is ignored: a broken display must not stop the work.
    void SetProgress(double fraction) override;
    void SetSubTask(int32_t subTask) override;

    int32_t LastPercent() const { return fLastPercent; }

private:
    TKRefPtr<TKStream> fStream;
    int32_t fSubTask = -1;
    int32_t fLastPercent = -1;
};
