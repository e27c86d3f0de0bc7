// Pushes a whole raster through a ready link on several threads, strip by strip.
#include "MatchImage.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

namespace host {

namespace {

// Pixels a worker takes at a time, in whole rows: long calls let the library spread its per-call
// setup, and a 4000-pixel-wide image still splits into a thousand tasks to balance.
constexpr uint64_t kPixelsPerTask = 16384;

// Matches `rows` rows from `row` on in one call, colour channels only: rows follow each other
// without padding, so a run of rows is one long run of pixels.
int32_t MatchRows(TKLinkRef link, const Image& in, Image& out, uint32_t row, uint32_t rows) {
    const uint64_t inOffset = row * in.RowBytes(), outOffset = row * out.RowBytes();
    const bool wide = in.bits == 16;
    const int32_t count = int32_t(uint64_t(in.width) * rows);
    if (!in.planar) {
        const void* src = in.planes[0].data() + inOffset;
        void* dst = out.planes[0].data() + outOffset;
        return wide ? TKLink16Match(link, count, src, dst, in.extra, out.extra, nullptr, nullptr)
                    : TKLink8Match(link, count, src, dst, in.extra, out.extra, nullptr, nullptr);
    }
    std::vector<const void*> src(in.ColourChannels());
    std::vector<void*> dst(out.ColourChannels());
    for (size_t c = 0; c < src.size(); ++c) src[c] = in.planes[c].data() + inOffset;
    for (size_t c = 0; c < dst.size(); ++c) dst[c] = out.planes[c].data() + outOffset;
    return wide ? TKLink16MatchPlanes(link, count, src.data(), dst.data(), 1, 1, nullptr, nullptr)
                : TKLink8MatchPlanes(link, count, src.data(), dst.data(), 1, 1, nullptr, nullptr);
}

// Copies the extra samples of one interleaved row; planar extra planes are copied whole.
void CopyExtraRow(const Image& in, Image& out, uint32_t row) {
    const uint32_t bytes = in.BytesPerSample();
    const uint8_t* src = in.planes[0].data() + row * in.RowBytes();
    uint8_t* dst = out.planes[0].data() + row * out.RowBytes();
    const size_t extraBytes = size_t(in.extra) * bytes;
    for (uint32_t x = 0; x < in.width; ++x)
        std::memcpy(dst + (size_t(x) * out.samples + out.ColourChannels()) * bytes,
                    src + (size_t(x) * in.samples + in.ColourChannels()) * bytes, extraBytes);
}

}  // namespace

void MatchImage(TKLinkRef link, const Image& in, Image& out, int threads, ProgressBar& progress) {
    if (in.planar && in.extra > 0)
        for (uint16_t e = 0; e < in.extra; ++e)
            out.planes[out.ColourChannels() + e] = in.planes[in.ColourChannels() + e];

    // Never more pixels in one call than a call can count.
    const uint32_t rowsPerTask =
        uint32_t(std::max<uint64_t>(1, std::min<uint64_t>(kPixelsPerTask, INT32_MAX) / std::max(1u, in.width)));
    std::atomic<uint64_t> nextRow{0};  // wide enough not to wrap past the last row
    std::atomic<uint32_t> rowsDone{0};
    std::atomic<int32_t> firstError{0};
    std::mutex mutex;
    std::condition_variable wake;
    int running = 0;

    auto work = [&] {
        for (;;) {
            const uint64_t next = nextRow.fetch_add(rowsPerTask);
            if (next >= in.height || firstError.load() != 0) break;
            const uint32_t first = uint32_t(next);
            const uint32_t last = uint32_t(std::min<uint64_t>(in.height, next + rowsPerTask));
            const int32_t code = MatchRows(link, in, out, first, last - first);
            if (code != 0) {
                int32_t none = 0;
                firstError.compare_exchange_strong(none, code);
                break;
            }
            if (!in.planar && in.extra > 0)
                for (uint32_t row = first; row < last; ++row) CopyExtraRow(in, out, row);
            rowsDone.fetch_add(last - first);
        }
        std::lock_guard<std::mutex> lock(mutex);
        --running;
        wake.notify_all();
    };

    const int count = std::max(1, std::min<int>(threads, int((uint64_t(in.height) + rowsPerTask - 1) / rowsPerTask)));
    std::vector<std::thread> workers;
    running = count;
    for (int i = 0; i < count; ++i) workers.emplace_back(work);
    {
        // The calling thread draws the progress while the workers match.
        std::unique_lock<std::mutex> lock(mutex);
        while (running > 0) {
            wake.wait_for(lock, std::chrono::milliseconds(100));
            progress.Show(rowsDone.load(), in.height);
        }
    }
    for (auto& worker : workers) worker.join();
    progress.Show(in.height, in.height);
    progress.Finish();
    Check(firstError.load(), "matching the pixels");
}

}  // namespace host
