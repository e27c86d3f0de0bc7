// Bakes a trafo into a 16-bit device link, showing the elapsed time while it works.
#include "LinkBake.h"

#include <atomic>
#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

namespace host {

std::string LinkShape::Text() const {
    const double nodes = std::pow(double(gridPoints), double(srcDim));
    return std::to_string(gridPoints) + "^" + std::to_string(srcDim) + " = " + std::to_string(int64_t(nodes)) +
           " nodes of " + std::to_string(dstDim) + " channels";
}

Ref BakeLink(TKTrafoRef trafo, int32_t gridBits, double& seconds) {
    Ref link(TKNewTKLink16Ref());
    if (!link.get()) throw Failure("cannot create a link object");
    // The library reports no progress while it bakes, so the bar shows the time instead.
    ProgressBar bar("baking the link");
    std::atomic<bool> done{false};
    std::thread ticker([&] {
        while (!done.load()) {
            bar.Tick();
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
    });
    const auto start = std::chrono::steady_clock::now();
    const int32_t code = TKColorTrafo2Link16(link.get(), trafo, gridBits);
    seconds = SecondsSince(start);
    done = true;
    ticker.join();
    bar.Finish();
    Check(code, "baking the link");
    return link;
}

LinkShape ShapeOf(TKLinkRef link) {
    // The saved form begins "BEGT" "BNGL", then grid points, source and destination channels,
    // little-endian 32-bit.
    uint32_t length = 0;
    Check(TKSaveLink16ToMemory(link, nullptr, 0, &length), "measuring the link");
    std::vector<uint8_t> bytes(length);
    Check(TKSaveLink16ToMemory(link, bytes.data(), length, &length), "saving the link to memory");
    LinkShape shape;
    if (bytes.size() < 20 || std::memcmp(bytes.data(), "BEGTBNGL", 8) != 0)
        throw Failure("the saved link has an unexpected form");
    auto word = [&](size_t at) {
        return int32_t(uint32_t(bytes[at]) | uint32_t(bytes[at + 1]) << 8 | uint32_t(bytes[at + 2]) << 16 |
                       uint32_t(bytes[at + 3]) << 24);
    };
    shape.gridPoints = word(8);
    shape.srcDim = word(12);
    shape.dstDim = word(16);
    return shape;
}

}  // namespace host
