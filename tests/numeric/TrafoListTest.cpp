// TKTrafoList: membership and counts, dimensions and types along the chain, evaluation,
// combined Info answers, FindTrafo, and both pixel paths against the member-by-member result.
#include "numeric/TKTrafoList.h"
#include "numeric/TKRefTrafo.h"
#include "numeric/TrafoTestSupport.h"
#include "numeric/NumericTestSupport.h"
#include "support/TestSupport.h"
#include "foundation/TKProgress.h"

#include <atomic>
#include <thread>

namespace {
// A trafo whose Info answers are fixed.
class InfoTrafo : public TKTrafo {
    TK_DECLARE_CLASS(InfoTrafo, TKTrafo)
public:
    explicit InfoTrafo(int32_t identity) { SetInfo(TKTrafo::kInfoIdentity, identity); }
};
}  // namespace

TEST(TrafoList, EmptyListIsTheIdentity) {
    TKTrafoList list;
    EXPECT_EQ(list.GetSrcDim(), 0);
    EXPECT_EQ(list.GetDstDim(5), 5);
    EXPECT_EQ(list.GetDstType(Sig("CMYK")), Sig("CMYK"));
    EXPECT_EQ(list.Trafo(TKVector({1.0, 2.0})), TKVector({1.0, 2.0}));
    EXPECT_TRUE(list.CanTrafo8());
    EXPECT_TRUE(list.CanTrafo16());
    EXPECT_EQ(list.GetInfo(1), 1);
    TKMatrix table(3, 2);
    EXPECT_EQ(list.TrafoMatrix(table), table);
    EXPECT_TKERROR(list.RemoveFirst(), IndexError);
    EXPECT_TKERROR(list.RemoveLast(), IndexError);
    EXPECT_TKERROR(list.GetTrafo(0), IndexError);
}

TEST(TrafoList, AppendFollowsTheOwnedFlag) {
    auto* t = new TKTestAddTrafo(1, 1.0);
    {
        TKTrafoList list;
        t->AddRef();
        list.Append(t, true);
        EXPECT_EQ(t->RefCount(), 2);
        list.Append(t, false);
        EXPECT_EQ(t->RefCount(), 3);
        list.Append(nullptr, false);
        EXPECT_EQ(list.GetCount(), 2);
        list.Prepend(new TKTestAddTrafo(1, 100.0), true);
        EXPECT_EQ(list.GetCount(), 3);
        EXPECT_EQ(list.Trafo(TKVector({0.0})), TKVector({102.0}));
        list.RemoveFirst();
        list.RemoveLast();
        EXPECT_EQ(t->RefCount(), 2);
        list.Replace(0, new TKTestAddTrafo(1, 5.0), true);
        EXPECT_EQ(t->RefCount(), 1);
        EXPECT_TKERROR(list.Replace(1, t, false), IndexError);
    }
    t->Release();
}

TEST(TrafoList, DimensionsAndTypesThreadThroughTheMembers) {
    TKTrafoList list;
    list.Append(new TKTestFanTrafo(3, 4), true);
    list.Append(new TKTestAddTrafo(4, 1.0, 0, Sig("CMYK")), true);
    list.Append(new TKTestFanTrafo(4, 2), true);
    EXPECT_EQ(list.GetSrcDim(), 3);
    EXPECT_EQ(list.GetDstDim(3), 2);
    EXPECT_EQ(list.GetDstType(Sig("RGB ")), Sig("CMYK"));
    TKVector out = list.Trafo(TKVector({1.0, 2.0, 3.0}));
    // fan: 6,7,8,9; +1: 7,8,9,10; fan: 34,35
    EXPECT_EQ(out, TKVector({34.0, 35.0}));
    // No check when appending: a mismatch shows when the member evaluates.
    list.Append(new TKTestAddTrafo(3, 0.0), true);
    EXPECT_TKERROR(list.Trafo(TKVector({1.0, 2.0, 3.0})), DimMismatch);
}

TEST(TrafoList, NullMembersAreInvalidOnlyWhenEvaluated) {
    TKTrafoList list;
    list.Append(new TKTestAddTrafo(1, 1.0), true);
    list.Append(new TKTestAddTrafo(1, 1.0), true);
    list.Replace(1, nullptr, false);
    EXPECT_TRUE(list.CanTrafo8());
    EXPECT_TKERROR(list.Trafo(TKVector({0.0})), PtrInvalid);
    EXPECT_TKERROR(list.GetDstDim(1), PtrInvalid);
}

TEST(TrafoList, AppendListFlattensNestedLists) {
    auto inner = TKMakeRef<TKTrafoList>();
    inner->Append(new TKTestAddTrafo(1, 1.0), true);
    auto nested = TKMakeRef<TKTrafoList>();
    nested->Append(inner.Get(), false);
    nested->Append(new TKTestAddTrafo(1, 2.0), true);
    TKTrafoList flat;
    flat.AppendList(*nested, true);
    EXPECT_EQ(flat.GetCount(), 2);
    EXPECT_EQ(flat.GetTrafo(0), inner->GetTrafo(0));
    TKTrafoList kept;
    kept.AppendList(*nested, false);
    EXPECT_EQ(kept.GetCount(), 2);
    EXPECT_EQ(kept.GetTrafo(0), inner.Get());
    kept.AppendList(kept, false);  // into itself
    EXPECT_EQ(kept.GetCount(), 4);
    EXPECT_EQ(kept.Trafo(TKVector({0.0})), TKVector({6.0}));
}

TEST(TrafoList, FindTrafoSearchesDepthFirst) {
    auto inner = TKMakeRef<TKTrafoList>();
    auto fan = TKMakeRef<TKTestFanTrafo>(1, 1);
    inner->Append(new TKTestAddTrafo(1, 1.0), true);
    inner->Append(fan.Get(), false);
    TKTrafoList outer;
    outer.Append(inner.Get(), false);
    outer.Append(new TKTestFanTrafo(1, 1), true);
    EXPECT_EQ(FindTrafo(&outer, "TKTestFanTrafo"), fan.Get());
    EXPECT_EQ(FindTrafo(&outer, "TKTrafoList"), &outer);
    EXPECT_EQ(FindTrafo(&outer, "TKRefTrafo"), nullptr);
    EXPECT_EQ(FindTrafo(nullptr, "TKTrafo"), nullptr);
}

namespace {
// Runs `count` interleaved 8-bit pixels of `in` channels through a trafo's pixel form.
std::vector<uint8_t> RunPixels8(const TKTrafo& t, const std::vector<uint8_t>& src, int32_t in, int32_t out,
                                int32_t count) {
    std::vector<uint8_t> dst(size_t(count) * out, 0xCD);
    const uint8_t* s[TKTrafo::kMaxPixelChannels];
    uint8_t* d[TKTrafo::kMaxPixelChannels];
    int32_t ss[TKTrafo::kMaxPixelChannels], ds[TKTrafo::kMaxPixelChannels];
    for (int32_t c = 0; c < in; ++c) s[c] = src.data() + c, ss[c] = in;
    for (int32_t c = 0; c < out; ++c) d[c] = dst.data() + c, ds[c] = out;
    t.TrafoPixels8(count, s, d, ss, ds, nullptr);
    return dst;
}

std::vector<uint8_t> Ramp(int32_t samples) {
    std::vector<uint8_t> v(static_cast<size_t>(samples));
    for (int32_t i = 0; i < samples; ++i) v[size_t(i)] = uint8_t(i * 37 + 11);
    return v;
}
}  // namespace

TEST(TrafoList, PixelPathsMatchTheMembersOneByOne) {
    // 3 -> 4 -> 4 -> 6 -> 2 channels, so both ping-pong buffers change width.
    TKTrafoList list;
    list.Append(new TKTestFanTrafo(3, 4), true);
    list.Append(new TKTestAddTrafo(4, 9.0), true);
    list.Append(new TKTestFanTrafo(4, 6), true);
    list.Append(new TKTestFanTrafo(6, 2), true);
    ASSERT_TRUE(list.CanTrafo8());
    for (int32_t count : {1, 9, 10, 257}) {
        std::vector<uint8_t> src = Ramp(count * 3);
        std::vector<uint8_t> step = RunPixels8(*list.GetTrafo(0), src, 3, 4, count);
        step = RunPixels8(*list.GetTrafo(1), step, 4, 4, count);
        step = RunPixels8(*list.GetTrafo(2), step, 4, 6, count);
        step = RunPixels8(*list.GetTrafo(3), step, 6, 2, count);
        EXPECT_EQ(RunPixels8(list, src, 3, 2, count), step) << count;
    }
}

TEST(TrafoList, SixteenBitPixelsAndStrides) {
    TKTrafoList list;
    for (double add : {100.0, -30.0, 1000.0}) list.Append(new TKTestAddTrafo(2, add), true);
    // Planar source with a stride of 1 per channel, interleaved destination with a pad.
    for (int32_t count : {3, 40}) {
        std::vector<uint16_t> planes(size_t(count) * 2);
        for (int32_t i = 0; i < count * 2; ++i) planes[size_t(i)] = uint16_t(i * 1000);
        std::vector<uint16_t> out(size_t(count) * 3, 7);
        const uint16_t* s[2] = {planes.data(), planes.data() + count};
        uint16_t* d[2] = {out.data(), out.data() + 1};
        int32_t ss[2] = {1, 1}, ds[2] = {3, 3};
        list.TrafoPixels16(count, s, d, ss, ds, nullptr);
        for (int32_t p = 0; p < count; ++p) {
            EXPECT_EQ(out[size_t(p) * 3], std::min(65535, int(planes[size_t(p)]) + 1070));
            EXPECT_EQ(out[size_t(p) * 3 + 1], std::min(65535, int(planes[size_t(count + p)]) + 1070));
            EXPECT_EQ(out[size_t(p) * 3 + 2], 7);  // the pad stays
        }
    }
}

TEST(TrafoList, PixelPathLimits) {
    TKTrafoList list;
    list.Append(new TKTestFanTrafo(1, 65), true);
    list.Append(new TKTestFanTrafo(65, 1), true);
    std::vector<uint8_t> src(20), dst(20);
    const uint8_t* s[1] = {src.data()};
    uint8_t* d[1] = {dst.data()};
    int32_t strides[1] = {1};
    EXPECT_TKERROR(list.TrafoPixels8(5, s, d, strides, strides, nullptr), BufferTooSmall);
    EXPECT_TKERROR(list.TrafoPixels8(20, s, d, strides, strides, nullptr), BufferTooSmall);
    TKTrafoList mixed;
    mixed.Append(new TKTestAddTrafo(1, 1.0), true);
    mixed.Append(new TKTrafo, true);
    EXPECT_FALSE(mixed.CanTrafo8());
    EXPECT_TKERROR(mixed.TrafoPixels8(20, s, d, strides, strides, nullptr), UndefProc);
}

TEST(TrafoList, SeveralThreadsEvaluateOneList) {
    TKTrafoList list;
    list.Append(new TKTestFanTrafo(3, 4), true);
    list.Append(new TKTestAddTrafo(4, 1.0), true);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            std::vector<uint8_t> src(size_t(300) * 3, uint8_t(t)), dst(size_t(300) * 4);
            const uint8_t* s[3] = {src.data(), src.data() + 1, src.data() + 2};
            uint8_t* d[4] = {dst.data(), dst.data() + 1, dst.data() + 2, dst.data() + 3};
            int32_t ss[3] = {3, 3, 3}, ds[4] = {4, 4, 4, 4};
            for (int i = 0; i < 200; ++i) {
                if (list.Trafo(TKVector({double(t), 0.0, 0.0})) != TKVector({t + 1.0, t + 2.0, t + 3.0, t + 4.0}))
                    ++wrong;
                if (list.GetInfo(1) != -1) ++wrong;  // the fan and add trafos don't know
                list.TrafoPixels8(300, s, d, ss, ds, nullptr);
                if (dst[299 * 4 + 3] != uint8_t(3 * t + 4)) ++wrong;
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(wrong.load(), 0);
}
