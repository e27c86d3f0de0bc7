// The link exports from a C++ host, beyond what the plain C host checks: the grid a bake gets,
// matching with skipped samples against the link's own kernels, progress, cancellation, and every
// argument failure with or without an error record.
#include <string>
#include <vector>

#include "color/TKColors.h"
#include "foundation/TKHandle.h"
#include "io/TKFileSpec.h"
#include "link/TKLinkGenericTrafo.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {

constexpr int32_t kRGB = int32_t(TKRGBSpace);
constexpr int32_t kCMYK = int32_t(TKCMYKSpace);

// RGB (0..255) to CMYK (0..100) with grey removal: not separable, so the grid does the work.
class RGBToCMYK : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 4; }
    int32_t GetSrcType() const override { return kRGB; }
    int32_t GetDstType(int32_t) const override { return kCMYK; }
    TKVector Trafo(const TKVector& v) const override {
        double c = 1.0 - v[0] / 255.0, m = 1.0 - v[1] / 255.0, y = 1.0 - v[2] / 255.0;
        const double k = std::min(c, std::min(m, y)) * 0.7;
        return TKVector({100.0 * (c - k), 100.0 * (m - k), 100.0 * (y - k), 100.0 * k}, kCMYK);
    }
};

// Leaves a marker as the last error, so a test can tell whether a call stored a record.
void MarkLastError() { TKError marker(MathErr, "marker"); }
bool LastErrorIsMarker() { return TKError::LastError().code() == MathErr; }

struct Handles {
    Handles() {
        link = TKNewTKLink16Ref();
        trafo = NewRef(new RGBToCMYK, true);
    }
    ~Handles() {
        TKFreeTKLink16Ref(link);
        TKFreeTKTrafoRef(trafo);
    }
    TKLinkGenericTrafo* Link() const { return RefObjectAs<TKLinkGenericTrafo>(link, "TKLinkGenericTrafo"); }
    TKLinkRef link;
    TKTrafoRef trafo;
};

std::vector<uint16_t> RandomSamples(size_t count, uint32_t seed) {
    std::vector<uint16_t> v(count);
    for (auto& s : v) s = uint16_t((seed = seed * 1664525u + 1013904223u) >> 16);
    return v;
}

// Many cases here fail on purpose, so the fixture does not demand a clean last error.
class LinkExports : public ::testing::Test {};

TEST_F(LinkExports, BakingFailures) {
    Handles h;
    TKTrafoRef plain = TKNewTKTrafoRef();
    MarkLastError();
    EXPECT_EQ(TKColorTrafo2Link16(h.link, nullptr, 4), ArgErr);
    EXPECT_FALSE(LastErrorIsMarker());  // a record
    MarkLastError();
    EXPECT_EQ(TKColorTrafo2Link16(plain, h.trafo, 4), ArgErr);  // not a link: no record
    EXPECT_TRUE(LastErrorIsMarker());
    EXPECT_EQ(TKColorTrafo2Link16(nullptr, h.trafo, 4), ArgErr);
    EXPECT_TRUE(LastErrorIsMarker());
    EXPECT_EQ(TKColorTrafo2Link16(h.link, h.trafo, 7), ArgErr);   // 129 points: beyond any link
    EXPECT_EQ(TKColorTrafo2Link16(h.link, h.trafo, 40), ArgErr);  // no shift overflow
    TKFreeTKTrafoRef(plain);
}

// The exports' results equal the link's dispatch on the same pixels; skips stay untouched.
TEST_F(LinkExports, InterleavedMatchWithSkips) {
    Handles h;
    ASSERT_EQ(TKColorTrafo2Link16(h.link, h.trafo, 4), 0);
    const int32_t count = 5000;
    std::vector<uint16_t> src = RandomSamples(size_t(count) * 4, 1);  // RGB plus one skipped
    std::vector<uint16_t> dst(size_t(count) * 6, 0xBEEF);                // CMYK plus two skipped
    ASSERT_EQ(TKLink16Match(h.link, count, src.data(), dst.data(), 1, 2, nullptr, nullptr), 0);

    std::vector<uint16_t> expected(size_t(count) * 4);
    const uint16_t* s[3] = {&src[0], &src[1], &src[2]};
    uint16_t* d[4] = {&expected[0], &expected[1], &expected[2], &expected[3]};
    const int32_t ss[3] = {8, 8, 8}, ds[4] = {8, 8, 8, 8};
    h.Link()->Match16(count, s, d, ss, ds, nullptr);
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t o = 0; o < 4; ++o) ASSERT_EQ(dst[size_t(i) * 6 + o], expected[size_t(i) * 4 + o]) << i;
        ASSERT_EQ(dst[size_t(i) * 6 + 4], 0xBEEF);
        ASSERT_EQ(dst[size_t(i) * 6 + 5], 0xBEEF);
    }

    std::vector<uint8_t> src8(size_t(count) * 3), dst8(size_t(count) * 4), exp8(size_t(count) * 4);
    for (size_t i = 0; i < src8.size(); ++i) src8[i] = uint8_t(src[i]);
    ASSERT_EQ(TKLink8Match(h.link, count, src8.data(), dst8.data(), 0, 0, nullptr, nullptr), 0);
    const uint8_t* s8[3] = {&src8[0], &src8[1], &src8[2]};
    uint8_t* d8[4] = {&exp8[0], &exp8[1], &exp8[2], &exp8[3]};
    const int32_t ss8[3] = {3, 3, 3}, ds8[4] = {4, 4, 4, 4};
    h.Link()->Match8(count, s8, d8, ss8, ds8, nullptr);
    EXPECT_EQ(dst8, exp8);
}

TEST_F(LinkExports, MatchArgumentFailures) {
    Handles h;
    uint16_t px[64] = {};
    const void* planes[4] = {px, px, px, nullptr};
    void* outPlanes[4] = {px, px, px, px};
    MarkLastError();
    // A link without tables, a null handle, a handle of another kind: 3, no record.
    EXPECT_EQ(TKLink8Match(h.link, 1, px, px, 0, 0, nullptr, nullptr), ArgErr);
    EXPECT_EQ(TKLink16Match(nullptr, 1, px, px, 0, 0, nullptr, nullptr), ArgErr);
    EXPECT_EQ(TKLink16MatchPlanes(h.trafo, 1, planes, outPlanes, 1, 1, nullptr, nullptr), ArgErr);
    EXPECT_TRUE(LastErrorIsMarker());

    ASSERT_EQ(TKColorTrafo2Link16(h.link, h.trafo, 2), 0);
    EXPECT_EQ(TKLink16Match(h.link, 0, nullptr, nullptr, 0, 0, nullptr, nullptr), 0);  // nothing to do
    MarkLastError();
    EXPECT_EQ(TKLink16Match(h.link, -1, px, px, 0, 0, nullptr, nullptr), ArgErr);
    EXPECT_FALSE(LastErrorIsMarker());
    EXPECT_EQ(TKLink16Match(h.link, 2, nullptr, px, 0, 0, nullptr, nullptr), ArgErr);
    EXPECT_EQ(TKLink16Match(h.link, 2, px, px, -1, 0, nullptr, nullptr), ArgErr);
    EXPECT_EQ(TKLink16Match(h.link, 2, px, px, 0, 0x7FFFFFFF, nullptr, nullptr), ArgErr);
    EXPECT_EQ(TKLink8Match(h.link, 2, px, nullptr, 0, 0, nullptr, nullptr), ArgErr);
    const void* holed[3] = {px, nullptr, px};
    EXPECT_EQ(TKLink16MatchPlanes(h.link, 1, holed, outPlanes, 1, 1, nullptr, nullptr), ArgErr);  // null plane
    EXPECT_EQ(TKLink16MatchPlanes(h.link, 1, nullptr, outPlanes, 1, 1, nullptr, nullptr), ArgErr);
    EXPECT_EQ(TKLink16MatchPlanes(h.link, 1, planes, outPlanes, 0x40000000, 1, nullptr, nullptr), ArgErr);
    EXPECT_EQ(TKLink8MatchPlanes(h.link, -5, planes, outPlanes, 1, 1, nullptr, nullptr), ArgErr);
}

struct Reports {
    std::vector<int32_t> positions;
    int32_t total = 0;
    int32_t answer = 0;
};

int32_t Record(int32_t position, int32_t total, void* userData) {
    auto* r = static_cast<Reports*>(userData);
    r->positions.push_back(position);
    r->total = total;
    return r->answer;
}

TEST_F(LinkExports, ProgressAndCancel) {
    Handles h;
    ASSERT_EQ(TKColorTrafo2Link16(h.link, h.trafo, 4), 0);
    const int32_t count = 200000;
    std::vector<uint16_t> src = RandomSamples(size_t(count) * 3, 5), dst(size_t(count) * 4, 0);
    Reports reports;
    ASSERT_EQ(TKLink16Match(h.link, count, src.data(), dst.data(), 0, 0, Record, &reports), 0);
    ASSERT_FALSE(reports.positions.empty());
    EXPECT_EQ(reports.total, 1000);
    EXPECT_EQ(reports.positions.front(), 327);  // pixel 65535 of 199999, per mille, truncated
    for (size_t i = 1; i < reports.positions.size(); ++i) EXPECT_GE(reports.positions[i], reports.positions[i - 1]);

    Reports cancel;
    cancel.answer = Cancel;
    std::fill(dst.begin(), dst.end(), 0);
    MarkLastError();
    EXPECT_EQ(TKLink16Match(h.link, count, src.data(), dst.data(), 0, 0, Record, &cancel), Cancel);
    EXPECT_EQ(cancel.positions.size(), 1u);
    EXPECT_EQ(dst[size_t(count - 1) * 4], 0);
    EXPECT_TRUE(LastErrorIsMarker());  // a host's cancel is not a failure to log

    // Planes report and cancel alike; any other non-zero answer comes back as it is.
    Reports other;
    other.answer = 77;
    const void* in[3] = {&src[0], &src[1], &src[2]};
    void* out[4] = {&dst[0], &dst[1], &dst[2], &dst[3]};
    EXPECT_EQ(TKLink16MatchPlanes(h.link, count, in, out, 3, 4, Record, &other), 77);
}

// Calls made from inside a running call on the same link: what another thread would see.
struct Intruder {
    TKLinkRef link = nullptr;
    TKTrafoRef trafo = nullptr;
    std::vector<uint8_t> saved;
    std::vector<int32_t> codes;
};

int32_t RebuildWhileMatching(int32_t, int32_t, void* userData) {
    auto* in = static_cast<Intruder*>(userData);
    if (!in->codes.empty()) return 0;
    uint16_t pixel[3] = {1, 2, 3}, out[4];
    uint32_t length = 0;
    in->codes = {TKLoadLink16FromMemory(in->link, in->saved.data(), uint32_t(in->saved.size())),
                 TKColorTrafo2Link16(in->link, in->trafo, 3), TKSaveLink16ToMemory(in->link, nullptr, 0, &length),
                 TKLink16Match(in->link, 1, pixel, out, 0, 0, nullptr, nullptr)};
    return 0;
}

TEST_F(LinkExports, RebuildingALinkInUseIsRefused) {
    Handles h;
    ASSERT_EQ(TKColorTrafo2Link16(h.link, h.trafo, 4), 0);
    Intruder intruder{h.link, h.trafo, {}, {}};
    uint32_t length = 0;
    ASSERT_EQ(TKSaveLink16ToMemory(h.link, nullptr, 0, &length), 0);
    intruder.saved.resize(length);
    ASSERT_EQ(TKSaveLink16ToMemory(h.link, intruder.saved.data(), length, &length), 0);
    const int32_t count = 200000;  // long enough for a progress report
    std::vector<uint16_t> src = RandomSamples(size_t(count) * 3, 9), quiet(size_t(count) * 4), busy(quiet.size());
    ASSERT_EQ(TKLink16Match(h.link, count, src.data(), quiet.data(), 0, 0, nullptr, nullptr), 0);
    ASSERT_EQ(TKLink16Match(h.link, count, src.data(), busy.data(), 0, 0, RebuildWhileMatching, &intruder), 0);
    // Load and bake are refused; saving and matching run beside the match.
    EXPECT_EQ(intruder.codes, (std::vector<int32_t>{ThreadError, ThreadError, 0, 0}));
    EXPECT_EQ(TKError::LastError().code(), ThreadError);
    EXPECT_EQ(quiet, busy);
    EXPECT_EQ(TKLoadLink16FromMemory(h.link, intruder.saved.data(), uint32_t(intruder.saved.size())), 0);
}

// A trafo that, while a link is baked from it, tries to use that link.
class MatchWhileBaking : public RGBToCMYK {
public:
    explicit MatchWhileBaking(Intruder& intruder) : fIntruder(intruder) {}
    TKVector Trafo(const TKVector& v) const override {
        if (fIntruder.codes.empty()) {
            uint16_t pixel[3] = {1, 2, 3}, out[4];
            double colour[4], source[3] = {1, 2, 3};
            uint32_t length = 0;
            fIntruder.codes = {TKLink16Match(fIntruder.link, 1, pixel, out, 0, 0, nullptr, nullptr),
                               TKDoTrafo(fIntruder.link, source, colour),
                               TKSaveLink16ToMemory(fIntruder.link, nullptr, 0, &length),
                               TKGetTrafoSrcDim(fIntruder.link), int32_t(TKGetTrafoDstType(fIntruder.link))};
        }
        return RGBToCMYK::Trafo(v);
    }

private:
    Intruder& fIntruder;
};

TEST_F(LinkExports, UsingALinkBeingBakedIsRefused) {
    Handles h;
    ASSERT_EQ(TKColorTrafo2Link16(h.link, h.trafo, 2), 0);  // a usable link before the bake
    Intruder intruder{h.link, nullptr, {}, {}};
    TKTrafoRef intruding = NewRef(new MatchWhileBaking(intruder), true);
    EXPECT_EQ(TKColorTrafo2Link16(h.link, intruding, 3), 0);
    // Queries answer 0 ("no trafo") while the shape is being rewritten.
    EXPECT_EQ(intruder.codes, (std::vector<int32_t>{ThreadError, ThreadError, ThreadError, 0, 0}));
    EXPECT_EQ(TKGetTrafoSrcDim(h.link), 3);
    uint16_t pixel[3] = {0, 0, 0}, out[4];
    EXPECT_EQ(TKLink16Match(h.link, 1, pixel, out, 0, 0, nullptr, nullptr), 0);
    TKFreeTKTrafoRef(intruding);
}

}  // namespace
