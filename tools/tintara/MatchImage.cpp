// Pushes a whole raster through a ready link on several threads, strip by strip.
#include "MatchImage.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

namespace host {

namespace {

// Rows a worker takes at a time: enough to keep call overhead small, few enough to balance.
constexpr uint32_t kRowsPerTask = 8;

// Matches one row, colour channels only.
int32_t MatchRow(TKLinkRef link, const Image& in, Image& out, uint32_t row) {
    const uint64_t inOffset = row * in.RowBytes(), outOffset = row * out.RowBytes();
    const bool wide = in.bits == 16;
    const int32_t width = int32_t(in.width);
    if (!in.planar) {
        const void* src = in.planes[0].data() + inOffset;
        void* dst = out.planes[0].data() + outOffset;
        return wide ? TKLink16Match(link, width, src, dst, in.extra, out.extra, nullptr, nullptr)
                    : TKLink8Match(link, width, src, dst, in.extra, out.extra, nullptr, nullptr);
    }
    std::vector<const void*> src(in.ColourChannels());
    std::vector<void*> dst(out.ColourChannels());
    for (size_t c = 0; c < src.size(); ++c) src[c] = in.planes[c].data() + inOffset;
    for (size_t c = 0; c < dst.size(); ++c) dst[c] = out.planes[c].data() + outOffset;
    return wide ? TKLink16MatchPlanes(link, width, src.data(), dst.data(), 1, 1, nullptr, nullptr)
                : TKLink8MatchPlanes(link, width, src.data(), dst.data(), 1, 1, nullptr, nullptr);
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

    std::atomic<uint32_t> nextRow{0};
    std::atomic<uint32_t> rowsDone{0};
    std::atomic<int32_t> firstError{0};
    std::mutex mutex;
    std::condition_variable wake;
    int running = 0;

    auto work = [&] {
        for (;;) {
            const uint32_t first = nextRow.fetch_add(kRowsPerTask);
            if (first >= in.height || firstError.load() != 0) break;
            const uint32_t last = std::min(in.height, first + kRowsPerTask);
            for (uint32_t row = first; row < last; ++row) {
                const int32_t code = MatchRow(link, in, out, row);
                if (code != 0) {
                    int32_t none = 0;
                    firstError.compare_exchange_strong(none, code);
                    break;
                }
                if (!in.planar && in.extra > 0) CopyExtraRow(in, out, row);
            }
            rowsDone.fetch_add(last - first);
        }
        std::lock_guard<std::mutex> lock(mutex);
        --running;
        wake.notify_all();
    };

    const int count = std::max(1, std::min<int>(threads, int((in.height + kRowsPerTask - 1) / kRowsPerTask)));
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
