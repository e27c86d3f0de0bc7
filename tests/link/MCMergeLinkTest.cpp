// Merge chains: their shape from the members, refused members, the skip of empty extra channels
// for colours and pixels, and pixels that are exactly the member links' kernels run in turn.
#include <random>
#include <vector>

#include "link/MergeTestSupport.h"
#include "link/PerIsaTest.h"
#include "link/TKMCMergeLinkGenericTrafo.h"
#include "numeric/TKSampleConversions.h"
#include "support/TestSupport.h"

using namespace merge_test;

namespace {

// A trafo of given channel counts that maps everything to a mid grey.
class Fixed : public TKTrafo {
public:
    Fixed(int32_t in, int32_t out) : fIn(in), fOut(out) {}
    int32_t GetSrcDim() const override { return fIn; }
    int32_t GetDstDim(int32_t) const override { return fOut; }
    int32_t GetSrcType() const override { return int32_t(GetDeviceType(fIn)); }
    int32_t GetDstType(int32_t) const override { return int32_t(GetDeviceType(fOut)); }
    TKVector Trafo(const TKVector&) const override {
        TKVector grey(fOut, int32_t(GetDeviceType(fOut)));
        for (int32_t o = 0; o < fOut; ++o) grey[o] = 50.0;
        return grey;
    }

private:
    int32_t fIn, fOut;
};

TKRefPtr<TKLinkGenericTrafo> Bake(TKTrafo* trafo, int32_t grid) {
    auto link = TKMakeRef<TKLinkGenericTrafo>();
    link->CalcFromTrafo(trafo, grid, 0, nullptr);
    return link;
}

// CMYK press link, orange and green spot links (a tint makes the last one change colours at 0).
struct Chain {
    explicit Chain(double greenTint = 0.0)
        : press(new PressCMYK, true),
          orange(new SpotOverCMYK(OrangeRecipe()), true),
          green(new SpotOverCMYK(GreenRecipe(), greenTint), true) {
        links = {Bake(press.Get(), 17), Bake(orange.Get(), 9), Bake(green.Get(), 9)};
        merge = TKMakeRef<TKMCMergeLinkGenericTrafo>();
        for (auto& link : links) merge->AddMember(link.Get(), false);
        merge->SetState(TKMCMergeLinkGenericTrafo::kReady);
    }
    TKRefPtr<TKTrafo> press, orange, green;
    std::vector<TKRefPtr<TKLinkGenericTrafo>> links;
    TKRefPtr<TKMCMergeLinkGenericTrafo> merge;
};

template <class Sample>
std::vector<Sample> RandomPlanes(int32_t channels, int32_t count, uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<Sample> samples(size_t(channels) * size_t(count));
    for (auto& s : samples) s = Sample(random() >> (sizeof(Sample) == 1 ? 24 : 16));
    return samples;
}

// Plane pointers into one block of `channels` planes of `count` samples.
template <class Sample>
std::vector<Sample*> Planes(std::vector<Sample>& block, int32_t channels, int32_t count) {
    std::vector<Sample*> planes;
    for (int32_t c = 0; c < channels; ++c) planes.push_back(block.data() + size_t(c) * size_t(count));
    return planes;
}

class MCMergeSkip : public PerIsaTest {};
TK_INSTANTIATE_PER_ISA(MCMergeSkip);

}  // namespace

TEST(MCMergeTrafo, ShapeFollowsTheMembers) {
    TKRefPtr<TKTrafo> press(new PressCMYK, true), spot(new SpotOverCMYK(OrangeRecipe()), true);
    TKRefPtr<TKTrafo> rgb(new Fixed(3, 4), true);
    struct Row {
        std::vector<TKTrafo*> members;
        int32_t srcDim, dstDim;
        uint32_t srcType, dstType;
    };
    const Row rows[] = {
        {{}, 0, 3, 0, 0},  // a plain trafo: any dimension, the destination passes through
        {{rgb.Get()}, 3, 4, GetDeviceType(3), TKCMYKSpace},
        {{press.Get(), spot.Get(), spot.Get()}, 6, 4, GetDeviceType(6), TKCMYKSpace},
        {{rgb.Get(), spot.Get()}, 4, 4, GetDeviceType(4), TKCMYKSpace},
    };
    for (const Row& row : rows) {
        TrafoMerge merge;
        for (TKTrafo* member : row.members) merge.Add(member);
        EXPECT_EQ(merge.GetSrcDim(), row.srcDim);
        EXPECT_EQ(merge.GetDstDim(3), row.dstDim);
        EXPECT_EQ(uint32_t(merge.GetSrcType()), row.srcType);
        EXPECT_EQ(uint32_t(merge.GetDstType(0)), row.dstType);
    }
    TrafoMerge empty;
    const TKVector colour({1.0, 2.0, 3.0});
    EXPECT_EQ(empty.Trafo(colour), colour);
}

TEST(MCMergeTrafo, MembersOfOtherChannelsAreInvalid) {
    TKRefPtr<TKTrafo> press(new PressCMYK, true);
    struct Row {
        int32_t in, out;
        bool fits;
    };
    const Row rows[] = {{5, 4, true}, {4, 4, true}, {16, 4, true}, {5, 3, false}, {3, 4, false}, {6, 5, false}};
    TrafoMerge merge;
    merge.CheckMember(press.Get());  // an empty chain takes anything
    merge.Add(press.Get());
    merge.CheckMember(nullptr);
    for (const Row& row : rows) {
        Fixed member(row.in, row.out);
        if (row.fits) merge.CheckMember(&member);
        else EXPECT_TKERROR(merge.CheckMember(&member), InvalidTrafo);
    }
    // A member with fewer source channels than the destination has no extra channels to add.
    TKRefPtr<TKTrafo> narrow(new Fixed(3, 4), true);
    merge.Add(narrow.Get());
    EXPECT_TKERROR(merge.GetSrcDim(), InvalidTrafo);
    EXPECT_TKERROR(merge.GetExtraChannels(1), InvalidTrafo);
}

TEST(MCMergeTrafo, ColoursSkipEmptySpotsOnlyWhenAsked) {
    TKRefPtr<TKTrafo> press(new PressCMYK, true), tinted(new SpotOverCMYK(GreenRecipe(), 2.0), true);
    TrafoMerge merge;
    merge.Add(press.Get());
    merge.Add(tinted.Get());
    const TKVector cmyk({20.0, 40.0, 60.0, 10.0}, kCMYK);
    const TKVector pressed = press->Trafo(cmyk);
    struct Row {
        bool skip;
        double spot;
        bool keepsPressResult;
    };
    const Row rows[] = {{true, 0.0, true}, {true, 0.0001, false}, {false, 0.0, false}, {false, 50.0, false}};
    for (const Row& row : rows) {
        merge.SetSkipEmptyChannels(row.skip);
        TKVector v({20.0, 40.0, 60.0, 10.0, row.spot});
        const TKVector result = merge.Trafo(v);
        TKVector spotted({pressed[0], pressed[1], pressed[2], pressed[3], row.spot}, int32_t(GetDeviceType(5)));
        const TKVector expected = row.keepsPressResult ? pressed : tinted->Trafo(spotted);
        for (int32_t o = 0; o < 4; ++o) EXPECT_DOUBLE_EQ(result[o], expected[o]) << row.skip << " " << row.spot;
    }
    EXPECT_TKERROR(merge.Trafo(cmyk), DimMismatch);
}

TEST(MCMergeLink, MembersAreCountedChecked) {
    Chain chain;
    TKMCMergeLinkGenericTrafo& merge = *chain.merge;
    EXPECT_EQ(merge.GetMemberCount(), 3);
    EXPECT_EQ(merge.GetSrcDim(), 6);
    EXPECT_EQ(merge.GetDstDim(), 4);
    EXPECT_EQ(merge.GetLink(1), chain.links[1].Get());
    EXPECT_EQ(chain.links[1]->RefCount(), 2);  // the chain's count beside the test's
    EXPECT_TKERROR(merge.GetMember(3), IndexError);
    EXPECT_TKERROR(merge.GetMember(-1), IndexError);
    EXPECT_TKERROR(merge.AddMember(nullptr, false), PtrInvalid);
    EXPECT_TKERROR(merge.AddMember(new TKLinkGenericTrafo, true), InvalidTrafo);  // no tables
    TKRefPtr<TKTrafo> rgb(new Fixed(3, 4), true);
    EXPECT_TKERROR(merge.AddMember(Bake(rgb.Get(), 2).Get(), false), InvalidTrafo);

    // 6 + 15 + 15 source channels would pass the 36 a host's plane arrays hold.
    TKRefPtr<TKTrafo> wide(new Fixed(16, 4), true);
    TKRefPtr<TKLinkGenericTrafo> wideLink = Bake(wide.Get(), 2);
    merge.AddMember(wideLink.Get(), false);
    EXPECT_EQ(merge.GetSrcDim(), 18);
    merge.AddMember(wideLink.Get(), false);
    EXPECT_EQ(merge.GetSrcDim(), 30);
    EXPECT_TKERROR(merge.AddMember(wideLink.Get(), false), InvalidTrafo);
    EXPECT_EQ(merge.GetMemberCount(), 5);

    EXPECT_TRUE(merge.CanMatch());
    merge.ClearMembers();
    EXPECT_EQ(merge.GetMemberCount(), 0);
    EXPECT_EQ(merge.GetState(), TKMCMergeLinkGenericTrafo::kEmpty);
    EXPECT_FALSE(merge.CanMatch());
    EXPECT_EQ(chain.links[1]->RefCount(), 1);
    EXPECT_EQ(wideLink->RefCount(), 1);
}

// The merge link is the member links' own kernels in turn: member 0's Match16 (8-bit pixels:
// Match8To16), then each member's Match16 on the destination so far plus its spot plane (8-bit
// spots widened by 257), and for 8-bit pixels one rounding at the end.
TEST(MCMergeLink, PixelsAreTheMemberKernelsInTurn) {
    Chain chain;
    constexpr int32_t kCount = 3000;
    auto run = [&](auto sample) {
        using Sample = decltype(sample);
        constexpr bool kBytes = sizeof(Sample) == 1;
        std::vector<Sample> source = RandomPlanes<Sample>(6, kCount, 7);
        std::vector<Sample> merged(size_t(4) * kCount);
        std::vector<Sample*> src = Planes(source, 6, kCount), out = Planes(merged, 4, kCount);
        std::vector<int32_t> ones(6, 1), srcBytes(6, int32_t(sizeof(Sample))), words(6, 2);
        if constexpr (kBytes)
            chain.merge->TrafoPixels8(kCount, src.data(), out.data(), ones.data(), ones.data(), nullptr);
        else
            chain.merge->TrafoPixels16(kCount, src.data(), out.data(), ones.data(), ones.data(), nullptr);

        std::vector<uint16_t> manual(size_t(4) * kCount), spot(kCount);
        std::vector<uint16_t*> step = Planes(manual, 4, kCount);
        std::vector<const Sample*> first(src.begin(), src.begin() + 4);
        if constexpr (kBytes)
            chain.links[0]->Match8To16(kCount, first.data(), step.data(), srcBytes.data(), words.data(), nullptr);
        else
            chain.links[0]->Match16(kCount, first.data(), step.data(), words.data(), words.data(), nullptr);
        for (int32_t i = 1; i < 3; ++i) {
            for (int32_t j = 0; j < kCount; ++j) spot[size_t(j)] = uint16_t(src[size_t(3 + i)][j] * (kBytes ? 257 : 1));
            std::vector<const uint16_t*> in(step.begin(), step.end());
            in.push_back(spot.data());
            chain.links[size_t(i)]->Match16(kCount, in.data(), step.data(), words.data(), words.data(), nullptr);
        }
        std::vector<Sample> expected(manual.size());
        for (size_t k = 0; k < manual.size(); ++k) expected[k] = kBytes ? Sample(WordToByte(manual[k])) : Sample(manual[k]);
        EXPECT_EQ(merged, expected) << sizeof(Sample) * 8 << " bits";
    };
    run(uint8_t());
    run(uint16_t());
}

TEST(MCMergeLink, DepthsAndLayoutsAgree) {
    Chain chain;
    constexpr int32_t kCount = 4096;
    const std::vector<uint16_t> words = RandomPlanes<uint16_t>(6, kCount, 11);
    // The same colours in 8 bits: the words' high bytes made exact (v * 257).
    std::vector<uint8_t> bytes(words.size());
    std::vector<uint16_t> exact8(words.size());
    for (size_t i = 0; i < words.size(); ++i) bytes[i] = uint8_t(words[i] >> 8), exact8[i] = uint16_t(bytes[i] * 257);

    auto planar = [&](auto source) {
        using Sample = typename decltype(source)::value_type;
        std::vector<Sample> out(size_t(4) * kCount);
        std::vector<Sample*> src = Planes(source, 6, kCount), dst = Planes(out, 4, kCount);
        std::vector<int32_t> ones(6, 1);
        if constexpr (sizeof(Sample) == 1)
            chain.merge->TrafoPixels8(kCount, src.data(), dst.data(), ones.data(), ones.data(), nullptr);
        else
            chain.merge->TrafoPixels16(kCount, src.data(), dst.data(), ones.data(), ones.data(), nullptr);
        return out;
    };
    auto interleaved = [&](auto source) {
        using Sample = typename decltype(source)::value_type;
        // Six colour samples and an alpha per pixel in, four and an untouched pad out.
        std::vector<Sample> in(size_t(7) * kCount), out(size_t(5) * kCount, Sample(0x5A)), result(size_t(4) * kCount);
        for (int32_t i = 0; i < kCount; ++i)
            for (int32_t c = 0; c < 6; ++c) in[size_t(i) * 7 + size_t(c)] = source[size_t(c) * kCount + size_t(i)];
        if constexpr (sizeof(Sample) == 1)
            chain.merge->TrafoRaster8(kCount, 1, in.data(), out.data(), 1, 1, nullptr);
        else
            chain.merge->TrafoRaster16(kCount, 1, in.data(), out.data(), 1, 1, nullptr);
        for (int32_t i = 0; i < kCount; ++i) {
            EXPECT_EQ(out[size_t(i) * 5 + 4], Sample(0x5A));
            for (int32_t o = 0; o < 4; ++o) result[size_t(o) * kCount + size_t(i)] = out[size_t(i) * 5 + size_t(o)];
        }
        return result;
    };
    const std::vector<uint16_t> planar16 = planar(exact8);
    const std::vector<uint8_t> planar8 = planar(bytes);
    EXPECT_EQ(interleaved(exact8), planar16);
    EXPECT_EQ(interleaved(bytes), planar8);
    int32_t worst = 0;
    for (size_t i = 0; i < planar8.size(); ++i)
        worst = std::max(worst, std::abs(int32_t(planar8[i]) - int32_t((planar16[i] + 128) / 257)));
    // 16 bits between the members, one rounding at the end.
    EXPECT_LE(worst, 1);
}

// Which spot members run is decided on the whole run, also when the run is tested in chunks: one
// inked green sample at the very end makes the green member (which adds cyan even at 0) run over
// every pixel, while the empty orange plane is still passed over.
TEST_P(MCMergeSkip, EmptySpotPlanesAreSkippedAsAWhole) {
    Chain chain(2.0);
    chain.merge->SetSkipEmptyChannels(true);
    auto pressAndGreen = TKMakeRef<TKMCMergeLinkGenericTrafo>();
    pressAndGreen->AddMember(chain.links[0].Get(), false);
    pressAndGreen->AddMember(chain.links[2].Get(), false);
    auto run = [&](auto sample, int32_t count) {
        using Sample = decltype(sample);
        std::vector<Sample> source = RandomPlanes<Sample>(6, count, 3);
        std::fill(source.begin() + 4 * size_t(count), source.end(), Sample(0));
        std::vector<Sample> merged(size_t(4) * count), expected(size_t(4) * count);
        std::vector<Sample*> src = Planes(source, 6, count), out = Planes(merged, 4, count),
                             want = Planes(expected, 4, count);
        std::vector<Sample*> withoutOrange(src.begin(), src.begin() + 4);
        withoutOrange.push_back(src[5]);
        std::vector<int32_t> ones(6, 1);
        auto match = [&](const TKTrafo& trafo, std::vector<Sample*>& in, std::vector<Sample*>& to) {
            if constexpr (sizeof(Sample) == 1)
                trafo.TrafoPixels8(count, in.data(), to.data(), ones.data(), ones.data(), nullptr);
            else
                trafo.TrafoPixels16(count, in.data(), to.data(), ones.data(), ones.data(), nullptr);
        };
        match(*chain.merge, src, out);
        match(*chain.links[0], src, want);
        EXPECT_EQ(merged, expected) << "empty spots, " << count << " pixels of " << sizeof(Sample) * 8 << " bits";
        source.back() = 1;
        match(*chain.merge, src, out);
        match(*pressAndGreen, withoutOrange, want);
        EXPECT_EQ(merged, expected) << "green at the end, " << count << " pixels";
    };
    for (int32_t count : {500, 65536, 70000}) {
        run(uint8_t(), count);
        run(uint16_t(), count);
    }
}

// Interleaved CMYK and two empty spots, the host's usual raster: the merge link's bytes are those
// of the scalar CMYK link on the same CMYK pixels packed, at counts that end inside, on and past
// the chunks of the ink test.
TEST_P(MCMergeSkip, EmptySpotsInterleavedGiveTheScalarCMYKLinksBytes) {
    Chain chain(2.0);
    chain.merge->SetSkipEmptyChannels(true);
    auto run = [&](auto sample, int32_t count) {
        using Sample = decltype(sample);
        std::vector<Sample> six = RandomPlanes<Sample>(6, count, 5), four(size_t(4) * count);
        for (int32_t i = 0; i < count; ++i)
            for (int32_t c = 0; c < 6; ++c) {
                if (c >= 4) six[size_t(i) * 6 + size_t(c)] = 0;
                else four[size_t(i) * 4 + size_t(c)] = six[size_t(i) * 6 + size_t(c)];
            }
        std::vector<Sample> merged(size_t(4) * count), expected(merged.size());
        auto raster = [&](const TKTrafo& trafo, const Sample* in, Sample* out) {
            if constexpr (sizeof(Sample) == 1)
                trafo.TrafoRaster8(count, 1, in, out, 0, 0, nullptr);
            else
                trafo.TrafoRaster16(count, 1, in, out, 0, 0, nullptr);
        };
        raster(*chain.merge, six.data(), merged.data());
        TKLinkForceKernelIsa(TKLinkIsa::kScalar);
        raster(*chain.links[0], four.data(), expected.data());
        TKLinkForceKernelIsa(GetParam());
        EXPECT_EQ(merged, expected) << count << " pixels of " << sizeof(Sample) * 8 << " bits";
    };
    for (int32_t count : {1003, 16384, 40000}) {
        run(uint8_t(), count);
        run(uint16_t(), count);
    }
}
