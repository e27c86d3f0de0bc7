// The multi-colour link exports: merge links from device-link profiles written by the library's
// own profile writer (and a real one), their accuracy against the double-precision chain of the
// member trafos, the index rules of null entries and grid bits, progress, and every bad input with
// its code and no half-built link. Pixels of both depths and layouts: the tintara host's test.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

#include "exported/TintaraMCLink.h"
#include "foundation/TKHandle.h"
#include "icc/TKICCLinkProfileWriter.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "link/MergeTestSupport.h"
#include "link/TKMCMergeLinkGenericTrafo.h"
#include "support/TestSupport.h"
#include "tintara.h"

using namespace merge_test;

namespace {

void MarkLastError() { TKError marker(MathErr, "marker"); }
bool LastErrorIsMarker() { return TKError::LastError().code() == MathErr; }

// Test programs run side by side: each writes its own files.
std::string TempPath(const std::string& name) {
    return ::testing::TempDir() + std::to_string(getpid()) + "-" + name;
}

std::string WriteLinkProfile(const std::string& name, TKTrafo* trafo, int32_t grid) {
    const std::string path = TempPath(name);
    TKMakeDeviceLinkProfile(*trafo, grid, name.c_str())->WriteFile(TKFileSpec(TKString(path.c_str())));
    return path;
}

// The job's device-link profiles, written once: press CMYK to CMYK, orange and green over CMYK.
struct Profiles {
    Profiles() {
        TKRefPtr<TKTrafo> press(new PressCMYK, true), orange(new SpotOverCMYK(OrangeRecipe()), true),
            green(new SpotOverCMYK(GreenRecipe()), true);
        this->press = WriteLinkProfile("TKMCPress.icc", press.Get(), 17);
        this->orange = WriteLinkProfile("TKMCOrange.icc", orange.Get(), 9);
        this->green = WriteLinkProfile("TKMCGreen.icc", green.Get(), 9);
    }
    ~Profiles() {
        for (const std::string* path : {&press, &orange, &green}) std::remove(path->c_str());
    }
    std::string press, orange, green;
};
const Profiles& JobProfiles() {
    static const Profiles profiles;
    return profiles;
}

// File specs owned by the test, null where a path is empty.
struct Specs {
    explicit Specs(const std::vector<std::string>& paths) {
        for (const std::string& path : paths) {
            TKFileSpec* spec = nullptr;
            if (!path.empty()) spec = TKName2FileSpec(TKNewFileSpecRef(), path.c_str());
            specs.push_back(spec);
        }
    }
    ~Specs() {
        for (TKFileSpec* spec : specs) TKFreeFileSpecRef(spec);
    }
    int32_t Count() const { return int32_t(specs.size()); }
    TKFileSpec** Data() { return specs.data(); }
    std::vector<TKFileSpec*> specs;
};

struct MCLink {
    MCLink() : ref(TKNewTKMCLink16Ref()) {}
    ~MCLink() { TKFreeTKLink16Ref(ref); }
    TKMCMergeLinkGenericTrafo* Object() const {
        return RefObjectAs<TKMCMergeLinkGenericTrafo>(ref, "TKMCMergeLinkGenericTrafo");
    }
    TKLinkRef ref;
};

// The member trafos of the profiles as the library reads them, chained in double precision.
TKRefPtr<TrafoMerge> ExactChain(const std::vector<std::string>& paths) {
    auto merge = TKMakeRef<TrafoMerge>();
    for (const std::string& path : paths) {
        auto profile = TKMakeRef<TKICCProfile>();
        profile->ReadFile(TKFileSpec(TKString(path.c_str())), 2);
        TKICCTrafoBuilder builder(profile.Get());
        merge->Add(builder.GetA2BTrafo(0, TKICCTrafoBuilder::kOwnGrid).Get());
    }
    return merge;
}

struct ErrorFigures {
    double mean, p95, max;
};

// 16-bit pixels through the exported plane match against the exact chain: the largest channel
// error of each pixel in percent of the range. `spotShare` of the pixels carry spot ink.
ErrorFigures Measure(TKLinkRef link, const TKTrafo& exact, double spotShare, int32_t count) {
    std::mt19937 random(2026);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<uint16_t> in(size_t(6) * count), out(size_t(4) * count);
    for (int32_t i = 0; i < count; ++i) {
        const bool spots = unit(random) < spotShare;
        for (int32_t c = 0; c < 6; ++c)
            in[size_t(c) * count + size_t(i)] = (c < 4 || spots) ? uint16_t(random() >> 16) : 0;
    }
    const void* src[6];
    void* dst[4];
    for (int32_t c = 0; c < 6; ++c) src[c] = in.data() + size_t(c) * count;
    for (int32_t o = 0; o < 4; ++o) dst[o] = out.data() + size_t(o) * count;
    EXPECT_EQ(TKLink16MatchPlanes(link, count, src, dst, 1, 1, nullptr, nullptr), 0);
    std::vector<double> errors;
    for (int32_t i = 0; i < count; ++i) {
        TKVector x(6, exact.GetSrcType());
        for (int32_t c = 0; c < 6; ++c) x[c] = in[size_t(c) * count + size_t(i)] / 655.35;
        const TKVector want = exact.Trafo(x);
        double worst = 0.0;
        for (int32_t o = 0; o < 4; ++o)
            worst = std::max(worst, std::fabs(out[size_t(o) * count + size_t(i)] / 655.35 - want[o]));
        errors.push_back(worst);
    }
    std::sort(errors.begin(), errors.end());
    double sum = 0.0;
    for (double e : errors) sum += e;
    return {sum / errors.size(), errors[size_t(errors.size() * 0.95)], errors.back()};
}

// RGB to CMYK at a fixed grey: a member with fewer source channels than CMYK.
class Fixed34 : public TKTrafo {
public:
    int32_t GetSrcDim() const override { return 3; }
    int32_t GetDstDim(int32_t) const override { return 4; }
    int32_t GetSrcType() const override { return int32_t(TKRGBSpace); }
    int32_t GetDstType(int32_t) const override { return kCMYK; }
    TKVector Trafo(const TKVector&) const override { return TKVector({50.0, 40.0, 40.0, 10.0}, kCMYK); }
};

class MCLinkExports : public ::testing::Test {};

}  // namespace

TEST_F(MCLinkExports, ProfilesMakeASixChannelMergeLink) {
    const Profiles& p = JobProfiles();
    MCLink link;
    ASSERT_NE(link.Object(), nullptr);
    EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 0);  // empty: the dimensions of a plain trafo
    Specs specs({p.press, p.orange, p.green});
    // 17 points for CMYK; the spots at the 9 of their profiles' tables.
    const int32_t gridBits[] = {4, 3, 3};
    ASSERT_EQ(TKDLProfiles2MCLink8(link.ref, specs.Count(), specs.Data(), gridBits), 0);
    EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 6);
    EXPECT_EQ(TKGetTrafoDstDim(link.ref), 4);
    EXPECT_EQ(TKGetTrafoSrcType(link.ref), GetDeviceType(6));
    EXPECT_EQ(TKGetTrafoDstType(link.ref), uint32_t(TKCMYKSpace));
    EXPECT_EQ(link.Object()->GetState(), TKMCMergeLinkGenericTrafo::kReady);

    // Measured: mean 0.029 to 0.032 %, p95 0.07 to 0.077 %, max 0.108 % of the range, with or
    // without spots: about what one CMYK link of 17 points gives.
    auto exact = ExactChain({p.press, p.orange, p.green});
    for (double share : {0.0, 0.5, 1.0}) {
        const ErrorFigures e = Measure(link.ref, *exact, share, 20000);
        std::printf("[accuracy] merge link CMYK+2 spots, %3.0f %% of pixels with spots: mean %.4f%%, p95 %.4f%%, "
                    "max %.4f%% of range\n",
                    share * 100.0, e.mean, e.p95, e.max);
        EXPECT_LT(e.max, 0.25);
        EXPECT_LT(e.p95, 0.15);
    }
}

TEST_F(MCLinkExports, NullEntriesAreSkippedAndGridBitsFollowTheMembers) {
    const Profiles& p = JobProfiles();
    MCLink link;
    Specs specs({"", p.press, "", p.orange, p.green, ""});
    const int32_t gridBits[] = {4, 2, 3};  // by member, not by place in the list
    ASSERT_EQ(TKDLProfiles2MCLink16(link.ref, specs.Count(), specs.Data(), gridBits), 0);
    ASSERT_EQ(link.Object()->GetMemberCount(), 3);
    EXPECT_EQ(link.Object()->GetLink(0)->GridPoints(), 17);
    EXPECT_EQ(link.Object()->GetLink(1)->GridPoints(), 5);
    EXPECT_EQ(link.Object()->GetLink(2)->GridPoints(), 9);
}

TEST_F(MCLinkExports, ARealDeviceLinkCarriesTheSpots) {
    const Profiles& p = JobProfiles();
    const std::string real = TestDataPath("icc/FOGRA39-to-FOGRA29-link-v2.icc");
    MCLink link;
    Specs specs({real, p.orange, p.green});
    const int32_t gridBits[] = {4, 3, 3};
    ASSERT_EQ(TKDLProfiles2MCLink16(link.ref, specs.Count(), specs.Data(), gridBits), 0);
    EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 6);
    auto exact = ExactChain({real, p.orange, p.green});
    const ErrorFigures e = Measure(link.ref, *exact, 1.0, 5000);
    std::printf("[accuracy] FOGRA39->FOGRA29 + 2 spots: mean %.4f%%, p95 %.4f%%, max %.4f%% of range\n", e.mean,
                e.p95, e.max);
    EXPECT_LT(e.p95, 0.15);  // measured 0.066 %, max 0.12 %
}

TEST_F(MCLinkExports, BadInputGivesItsCodeAndNoHalfBuiltLink) {
    const Profiles& p = JobProfiles();
    const std::string rgbLink = TestDataPath("icc/sRGB-to-FOGRA39-link-v2.icc");
    // A member profile cut short in its table.
    const std::string damaged = TempPath("TKMCDamaged.icc");
    {
        std::ifstream in(p.orange, std::ios::binary);
        std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        std::ofstream(damaged, std::ios::binary) << bytes.substr(0, bytes.size() / 2);
    }
    std::unique_ptr<TKHandleTrafo, void (*)(TKLinkRef)> plainLink(TKNewTKLink16Ref(), TKFreeTKLink16Ref);
    TKLinkRef plain = plainLink.get();
    const int32_t bits7[] = {0, 7}, bitsLow[] = {-8, 0}, bitsOk[] = {0, 0, 0};
    struct Row {
        const char* name;
        bool nullLink, plainLink, nullSpecs;
        int32_t count;
        std::vector<std::string> paths;
        const int32_t* gridBits;
        int32_t code;
        bool record;
        bool keepsReadyLink;  // a failure before the link is touched leaves the earlier link
    };
    const Row rows[] = {
        {"null link", true, false, false, 1, {p.press}, nullptr, ArgErr, true, true},
        {"null specs", false, false, true, 1, {p.press}, nullptr, ArgErr, true, true},
        {"negative count", false, false, false, -1, {p.press}, nullptr, ArgErr, true, true},
        {"plain link handle", false, true, false, 1, {p.press}, nullptr, ArgErr, true, true},
        {"grid bits 7", false, false, false, 2, {p.press, p.orange}, bits7, ArgErr, true, true},
        {"grid bits -8", false, false, false, 2, {p.press, p.orange}, bitsLow, ArgErr, true, true},
        {"damaged member", false, false, false, 2, {p.press, damaged}, nullptr, FormatErr, true, true},
        {"missing member file", false, false, false, 2, {p.press, damaged + "x"}, nullptr, FileNotOpen, true, true},
        {"RGB link after CMYK", false, false, false, 3, {p.press, p.orange, rgbLink}, bitsOk, InvalidTrafo, true, false},
    };
    for (const Row& row : rows) {
        MCLink link;
        Specs ready({p.press, p.orange, p.green});
        ASSERT_EQ(TKDLProfiles2MCLink16(link.ref, ready.Count(), ready.Data(), nullptr), 0);
        Specs specs(row.paths);
        MarkLastError();
        const int32_t code = TKDLProfiles2MCLink16(row.nullLink ? nullptr : (row.plainLink ? plain : link.ref),
                                                   row.count, row.nullSpecs ? nullptr : specs.Data(), row.gridBits);
        EXPECT_EQ(code, row.code) << row.name;
        EXPECT_EQ(!LastErrorIsMarker(), row.record) << row.name;
        if (row.keepsReadyLink) {
            EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 6) << row.name;
        } else {
            EXPECT_EQ(link.Object()->GetMemberCount(), 0) << row.name;
            uint16_t pixel[6] = {}, out[4];
            EXPECT_EQ(TKLink16Match(link.ref, 1, pixel, out, 0, 0, nullptr, nullptr), ArgErr) << row.name;
        }
    }
    std::remove(damaged.c_str());
}

namespace {

struct Reports {
    std::vector<int32_t> positions;
    int32_t answer = 0;
};
int32_t Record(int32_t position, int32_t total, void* userData) {
    auto* reports = static_cast<Reports*>(userData);
    reports->positions.push_back(total == 1000 ? position : -1);
    return reports->answer;
}

// Press and orange as trafo handles, orange also baked into a link handle that the merge link
// shares: the members {press, none, shared link}.
struct SharedMemberJob {
    SharedMemberJob() { baked = TKColorTrafo2Link16(shared, orangeRef, 1) == 0; }
    ~SharedMemberJob() {
        for (TKTrafoRef ref : {pressRef, orangeRef, shared}) FreeRef(ref);
    }
    TKRefPtr<TKTrafo> press{new PressCMYK, true}, orange{new SpotOverCMYK(OrangeRecipe()), true};
    TKTrafoRef pressRef = NewRef(press.Get(), false), orangeRef = NewRef(orange.Get(), false);
    TKLinkRef shared = TKNewTKLink16Ref();
    TKTrafoRef members[3] = {pressRef, nullptr, shared};
    bool baked = false;
};

}  // namespace

// Long runs report progress through the host's callback, with spots and without; a callback that
// answers Cancel stops the match with that code and stores no error.
TEST_F(MCLinkExports, ProgressAndCancelReachTheHost) {
    const Profiles& p = JobProfiles();
    MCLink link;
    Specs specs({p.press, p.orange, p.green});
    const int32_t gridBits[] = {4, 3, 3};
    ASSERT_EQ(TKDLProfiles2MCLink16(link.ref, specs.Count(), specs.Data(), gridBits), 0);
    constexpr int32_t kCount = 300000;
    for (bool spots : {false, true}) {
        std::vector<uint16_t> in(size_t(6) * kCount, 0x4000), out(size_t(4) * kCount);
        if (!spots) std::fill(in.begin() + 4 * size_t(kCount), in.end(), uint16_t(0));
        const void* src[6];
        void* dst[4];
        for (int32_t c = 0; c < 6; ++c) src[c] = in.data() + size_t(c) * kCount;
        for (int32_t o = 0; o < 4; ++o) dst[o] = out.data() + size_t(o) * kCount;
        Reports reports;
        ASSERT_EQ(TKLink16MatchPlanes(link.ref, kCount, src, dst, 1, 1, Record, &reports), 0);
        ASSERT_FALSE(reports.positions.empty()) << spots;
        EXPECT_TRUE(std::is_sorted(reports.positions.begin(), reports.positions.end())) << spots;
        EXPECT_GE(reports.positions.front(), 0);
        EXPECT_LE(reports.positions.back(), 1000);
        reports = Reports{{}, Cancel};
        MarkLastError();
        EXPECT_EQ(TKLink16MatchPlanes(link.ref, kCount, src, dst, 1, 1, Record, &reports), Cancel) << spots;
        EXPECT_EQ(reports.positions.size(), 1u);
        EXPECT_TRUE(LastErrorIsMarker());
    }
}

// Trafos are baked, links shared (null handles skipped); a shared member calculated anew into
// other channels makes the merge link refuse pixels.
TEST_F(MCLinkExports, TrafosAreBakedLinksSharedAndWatched) {
    SharedMemberJob job;
    ASSERT_TRUE(job.baked);
    TKLinkRef shared = job.shared;
    TKTrafoRef pressRef = job.pressRef, *members = job.members;
    MCLink link;
    EXPECT_EQ(TKTrafos2MCLink(link.ref, 3, nullptr, nullptr), ArgErr);
    ASSERT_EQ(TKTrafos2MCLink(link.ref, 3, members, nullptr), 0);
    EXPECT_EQ(link.Object()->GetLink(1), RefObjectAs<TKLinkGenericTrafo>(shared, "TKLinkGenericTrafo"));
    uint16_t pixel[5] = {1000, 2000, 3000, 4000, 5000}, out[4];
    EXPECT_EQ(TKLink16Match(link.ref, 1, pixel, out, 0, 0, nullptr, nullptr), 0);
    TKRefPtr<TKTrafo> rgb(new Fixed34, true);
    ASSERT_EQ(TKColorTrafo2Link16(shared, pressRef, 1), 0);  // now CMYK to CMYK: still fits
    EXPECT_EQ(TKLink16Match(link.ref, 1, pixel, out, 0, 0, nullptr, nullptr), 0);
    EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 4);
    TKTrafoRef rgbRef = NewRef(rgb.Get(), false);
    ASSERT_EQ(TKColorTrafo2Link16(shared, rgbRef, 1), 0);  // 3 channels: fewer than CMYK
    EXPECT_EQ(TKLink16Match(link.ref, 1, pixel, out, 0, 0, nullptr, nullptr), ArgErr);
    // The query answers 0 instead of letting the chain's complaint out through the C boundary.
    EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 0);
    FreeRef(rgbRef);
}

// Calls made from inside a running call on the same merge link or its shared member: what
// another thread would meet. Nothing waits; the later call is refused with ThreadError.
struct MergeIntruder {
    TKLinkRef merge = nullptr;
    TKLinkRef shared = nullptr;
    TKTrafoRef* members = nullptr;
    TKTrafoRef orange = nullptr;
    std::vector<int32_t> codes;
};

int32_t RefillWhileMatching(int32_t, int32_t, void* userData) {
    auto* in = static_cast<MergeIntruder*>(userData);
    if (!in->codes.empty()) return 0;
    uint16_t pixel[5] = {1, 2, 3, 4, 5}, out[4];
    in->codes = {TKTrafos2MCLink(in->merge, 3, in->members, nullptr), TKColorTrafo2Link16(in->shared, in->orange, 1),
                 TKLink16Match(in->merge, 1, pixel, out, 0, 0, nullptr, nullptr), TKGetTrafoSrcDim(in->merge)};
    return 0;
}

// A member trafo that, while the merge link is being filled, tries to use it.
class MatchWhileFilling : public PressCMYK {
public:
    explicit MatchWhileFilling(MergeIntruder& intruder) : fIntruder(intruder) {}
    TKVector Trafo(const TKVector& v) const override {
        if (fIntruder.codes.empty()) {
            uint16_t pixel[5] = {1, 2, 3, 4, 5}, out[4];
            double colour[4], source[5] = {1, 2, 3, 4, 5};
            fIntruder.codes = {TKLink16Match(fIntruder.merge, 1, pixel, out, 0, 0, nullptr, nullptr),
                               TKDoTrafo(fIntruder.merge, source, colour), TKGetTrafoSrcDim(fIntruder.merge)};
        }
        return PressCMYK::Trafo(v);
    }

private:
    MergeIntruder& fIntruder;
};

TEST_F(MCLinkExports, RefillingOrRebakingUnderAMatchIsRefused) {
    SharedMemberJob job;
    ASSERT_TRUE(job.baked);
    TKLinkRef shared = job.shared;
    TKTrafoRef orangeRef = job.orangeRef, *members = job.members;
    MCLink link;
    ASSERT_EQ(TKTrafos2MCLink(link.ref, 3, members, nullptr), 0);
    MergeIntruder intruder{link.ref, shared, members, orangeRef, {}};
    const int32_t count = 200000;  // long enough for a progress report
    std::vector<uint16_t> src(size_t(count) * 5, 0x3000), quiet(size_t(count) * 4), busy(quiet.size());
    ASSERT_EQ(TKLink16Match(link.ref, count, src.data(), quiet.data(), 0, 0, nullptr, nullptr), 0);
    ASSERT_EQ(TKLink16Match(link.ref, count, src.data(), busy.data(), 0, 0, RefillWhileMatching, &intruder), 0);
    // Refilling the merge link and re-baking its shared member are refused; uses run beside the match.
    EXPECT_EQ(intruder.codes, (std::vector<int32_t>{ThreadError, ThreadError, 0, 5}));
    EXPECT_EQ(quiet, busy);

    // While the merge link is filled, matching, evaluating and asking it are refused or answer 0.
    MergeIntruder filling{link.ref, shared, members, orangeRef, {}};
    TKTrafoRef intruding = NewRef(new MatchWhileFilling(filling), true);
    TKTrafoRef refill[2] = {intruding, shared};
    const int32_t bits[2] = {1, 1};
    EXPECT_EQ(TKTrafos2MCLink(link.ref, 2, refill, bits), 0);
    EXPECT_EQ(filling.codes, (std::vector<int32_t>{ThreadError, ThreadError, 0}));
    EXPECT_EQ(TKGetTrafoSrcDim(link.ref), 5);
    FreeRef(intruding);
}
