// Streams an image band by band through a bounded ring of buffers.
#include "ImagePipeline.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace host {

namespace {

// One band buffer on its way from the reader through a matcher to the writer.
struct Slot {
    enum State { kFree, kBusy, kRead, kMatched };
    Image in, out;
    State state = kFree;
    uint32_t band = 0, rows = 0;
};

class Pipeline {
public:
    Pipeline(ImageReader& reader, const ImageShape& outShape, int threads)
        : reader_(reader), bandRows_(reader.BandRows()), height_(reader.Shape().height),
          bands_((height_ + bandRows_ - 1) / bandRows_) {
        // Enough buffers that the reader, every matcher and the writer each have one at hand.
        slots_.resize(size_t(std::min<uint64_t>(uint64_t(threads) + 3, bands_)));
        for (Slot& slot : slots_) {
            slot.in = Image(reader.Shape());
            slot.in.height = bandRows_;
            slot.in.Allocate(false);
            slot.out = Image(outShape);
            slot.out.height = bandRows_;
            slot.out.Allocate(false);
        }
    }

    void Run(ImageWriter& writer, const BandMatcher& matcher, int threads, ProgressBar& progress) {
        std::vector<std::thread> workers;
        workers.emplace_back([this] { Guard([this] { ReadAll(); }); });
        for (int i = 0; i < threads; ++i)
            workers.emplace_back([this, &matcher] { Guard([this, &matcher] { MatchAll(matcher); }); });
        Guard([&] { WriteAll(writer, progress); });
        for (std::thread& worker : workers) worker.join();
        if (failure_) std::rethrow_exception(failure_);
        progress.Show(height_, height_);
        progress.Finish();
    }

private:
    // Runs one stage; its failure stops every stage.
    template <class Stage>
    void Guard(Stage stage) {
        try {
            stage();
        } catch (...) {
            std::lock_guard<std::mutex> lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
            changed_.notify_all();
        }
    }

    // The slot of the lowest band in `state`, waiting for one; null once the work has failed or
    // `done` says that none will come.
    template <class Done>
    Slot* WaitFor(std::unique_lock<std::mutex>& lock, Slot::State state, Done done) {
        for (;;) {
            if (failure_ || done()) return nullptr;
            Slot* found = nullptr;
            for (Slot& slot : slots_)
                if (slot.state == state && (!found || slot.band < found->band)) found = &slot;
            if (found) return found;
            changed_.wait(lock);
        }
    }

    void Set(Slot& slot, Slot::State state) {
        std::lock_guard<std::mutex> lock(mutex_);
        slot.state = state;
        changed_.notify_all();
    }

    void ReadAll() {
        for (uint32_t band = 0; band < bands_; ++band) {
            Slot* slot;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                if (!(slot = WaitFor(lock, Slot::kFree, [] { return false; }))) return;
                slot->state = Slot::kBusy;
                slot->band = band;
                slot->rows = std::min(bandRows_, height_ - band * bandRows_);
            }
            reader_.Read(slot->in, slot->rows);
            Set(*slot, Slot::kRead);
        }
    }

    void MatchAll(const BandMatcher& matcher) {
        for (;;) {
            Slot* slot;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                if (!(slot = WaitFor(lock, Slot::kRead, [this] { return bandsTaken_ == bands_; }))) return;
                slot->state = Slot::kBusy;
                ++bandsTaken_;
            }
            matcher.Match(slot->in, slot->out, slot->rows);
            Set(*slot, Slot::kMatched);
        }
    }

    void WriteAll(ImageWriter& writer, ProgressBar& progress) {
        for (uint32_t band = 0; band < bands_; ++band) {
            Slot* slot;
            {
                std::unique_lock<std::mutex> lock(mutex_);
                // Wakes now and then to draw the progress while the band is under way.
                while (!(slot = Find(Slot::kMatched, band)) && !failure_) {
                    changed_.wait_for(lock, std::chrono::milliseconds(100));
                    lock.unlock();
                    progress.Show(int64_t(band) * bandRows_, height_);
                    lock.lock();
                }
                if (!slot) return;
                slot->state = Slot::kBusy;
            }
            writer.Write(slot->out, slot->rows);
            Set(*slot, Slot::kFree);
            progress.Show(int64_t(band + 1) * bandRows_, height_);
        }
    }

    Slot* Find(Slot::State state, uint32_t band) {
        for (Slot& slot : slots_)
            if (slot.state == state && slot.band == band) return &slot;
        return nullptr;
    }

    ImageReader& reader_;
    const uint32_t bandRows_, height_, bands_;
    std::vector<Slot> slots_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::exception_ptr failure_;
    uint32_t bandsTaken_ = 0;
};

}  // namespace

void StreamImage(ImageReader& reader, const ImageShape& outShape, ImageWriter& writer, const BandMatcher& matcher,
                 int threads, ProgressBar& progress) {
    Pipeline pipeline(reader, outShape, threads);
    pipeline.Run(writer, matcher, threads, progress);
}

}  // namespace host
