// The progress-reporting stream filter.
#include "io/TKProgressFilter.h"

#include <algorithm>

TKProgressFilter::TKProgressFilter(TKStream* stream, bool owned, TKProgress* progress, int64_t length)
    : TKFilter(stream, owned), fProgress(progress) {
    Restart(length);
}

void TKProgressFilter::Restart(int64_t length) {
    TKStream* stream = GetStream();
    fLength = length >= 0 ? length : (stream ? TKStreamRemaining(*stream) : -1);
    fStart = 0;
    if (stream) {
        try {
            fStart = stream->Tell();
        } catch (const TKError&) {
            fStart = 0;  // a stream without a position counts from here
        }
    }
    fDone = 0;
    fLastPerMille = -1;
}

void TKProgressFilter::SetStream(TKStream* stream, bool owned) {
    TKFilter::SetStream(stream, owned);
    Restart(-1);
}

void TKProgressFilter::Read(void* destination, size_t count, size_t* bytesRead) {
    size_t got = 0;
    TKFilter::Read(destination, count, &got);
    if (bytesRead) *bytesRead = got;
    fDone += int64_t(got);
    Report();
}

void TKProgressFilter::Write(const void* source, size_t count, size_t* bytesWritten) {
    size_t put = 0;
    TKFilter::Write(source, count, &put);
    if (bytesWritten) *bytesWritten = put;
    fDone += int64_t(put);
    Report();
}

void TKProgressFilter::Seek(int64_t offset, int32_t origin) {
    TKFilter::Seek(offset, origin);
    fDone = Tell() - fStart;
    Report();
}

void TKProgressFilter::Report() {
    if (!fProgress || fLength <= 0) return;
    double fraction = std::clamp(double(fDone) / double(fLength), 0.0, 1.0);
    int32_t perMille = int32_t(fraction * 1000.0);
    if (perMille == fLastPerMille) return;
    fLastPerMille = perMille;
    fProgress->SetProgress(fraction);
}
