// Trafo options and special trafos through the exports: option keys, replacement rules, white
// and observer, ink limits, exception wrappers and callback trafos, with every argument failure
// and whether it leaves an error record.
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "color/TKCIETrafo.h"
#include "color/TKColors.h"
#include "exported/TKTrafoRefTrafo.h"
#include "foundation/TKHandle.h"
#include "numeric/TKTrafoList.h"
#include "separation/TKColorExceptionModes.h"
#include "separation/TKReplaceColorTrafo.h"
#include "support/TestSupport.h"
#include "tintara.h"

namespace {

void MarkLastError() { TKError marker(MathErr, "marker"); }
bool LastErrorIsMarker() { return TKError::LastError().code() == MathErr; }

struct Ref {
    explicit Ref(TKTrafoRef r = nullptr) : ref(r) {}
    ~Ref() { TKFreeTKTrafoRef(ref); }
    TKTrafoRef ref;
};

// CMYK through unchanged: the host's trafo under the rules.
int32_t CopyCMYK(const double* src, double* dst, void*) {
    for (int i = 0; i < 4; ++i) dst[i] = src[i];
    return 0;
}
int32_t Fails(const double*, double*, void*) { return 72; }
// Lab 50 plus the user data's offset on L.
int32_t OffsetL(const double* src, double* dst, void* user) {
    dst[0] = src[0] + *static_cast<double*>(user);
    dst[1] = src[1];
    dst[2] = src[2];
    return 0;
}

std::vector<double> Do(TKTrafoRef ref, std::vector<double> in) {
    std::vector<double> out(16, -1.0);
    EXPECT_EQ(TKDoTrafo(ref, in.data(), out.data()), 0);
    out.resize(size_t(TKGetTrafoDstDim(ref) ? TKGetTrafoDstDim(ref) : int32_t(in.size())));
    return out;
}

TKTrafoRef CMYKCopy() { return TKNewCustomTrafoRef(4, 4, TKCMYKSpace, TKCMYKSpace, CopyCMYK, nullptr); }

}  // namespace

TEST(TrafoOptionExports, KeysAndArgumentFailures) {
    Ref copy(CMYKCopy());
    MarkLastError();
    EXPECT_EQ(TKSetTrafoOption(copy.ref, "", "x"), 0);
    EXPECT_EQ(TKSetTrafoOption(nullptr, "", "x"), 0);
    EXPECT_EQ(TKSetTrafoOption(copy.ref, nullptr, "x"), 0);
    EXPECT_EQ(TKSetTrafoOption(copy.ref, "Unknown", "x"), 0);
    EXPECT_TRUE(LastErrorIsMarker());
    EXPECT_EQ(TKSetTrafoOption(nullptr, "ReplaceMode", ""), 3);
    EXPECT_FALSE(LastErrorIsMarker());
    // Options of CIE trafos on another trafo: 45, no record.
    MarkLastError();
    EXPECT_EQ(TKSetTrafoOption(copy.ref, "WhiteBase", ""), 45);
    EXPECT_EQ(TKSetTrafoOption(copy.ref, "observer", "10"), 45);
    Ref empty(TKNewTKTrafoRef());
    ReplaceRefObject(empty.ref, nullptr, false);
    EXPECT_EQ(TKSetTrafoOption(empty.ref, "ReplaceSpot", "CMYK 0 0 0 0 CMYK 0 0 0 0 Mode 4"), 45);
    EXPECT_TRUE(LastErrorIsMarker());
}

TEST(TrafoOptionExports, ObserverAndWhiteOfACIETrafo) {
    Ref lab(TKNewCustomTrafoRef(0, 0, TKLabSpace, TKXYZSpace, nullptr, nullptr));
    auto* cie = RefObjectAs<TKCIETrafo>(lab.ref, "TKCIETrafo");
    ASSERT_NE(cie, nullptr);
    struct Case { const char* value; int32_t code, degrees; };
    for (const Case& c : {Case{"10", 0, 10}, Case{"12", 0, 2}, Case{"ten", 3, 2}, Case{"1964 10 degree", 0, 10}, Case{"", 0, 2}}) {
        MarkLastError();
        EXPECT_EQ(TKSetTrafoOption(lab.ref, "OBSERVER", c.value), c.code) << c.value;
        EXPECT_EQ(cie->GetObserver(), c.degrees) << c.value;
        EXPECT_TRUE(LastErrorIsMarker()) << c.value;
    }
    // D65 as a named light: its white, x = 0.3127, y = 0.3290 within the table's rounding.
    ASSERT_EQ(TKSetTrafoOption(lab.ref, "WhiteBase", "D65"), 0);
    TKVector white = cie->GetWhite();
    EXPECT_NEAR(white[0] / (white[0] + white[1] + white[2]), 0.3127, 0.001);
    // The default light is a 5000 K black body: x 0.3451, y 0.3516 (CIE 15, Planckian locus).
    ASSERT_EQ(TKSetTrafoOption(lab.ref, "WhiteBase", ""), 0);
    white = cie->GetWhite();
    EXPECT_NEAR(white[0] / (white[0] + white[1] + white[2]), 0.3451, 0.001);
    EXPECT_NEAR(white[1] / (white[0] + white[1] + white[2]), 0.3516, 0.001);
    ASSERT_EQ(TKSetTrafoOption(lab.ref, "WhiteBase", "XYZ 95.04 100 108.89"), 0);
    EXPECT_NEAR(cie->GetWhite()[2], 108.89, 1e-9);
    EXPECT_EQ(TKSetTrafoOption(lab.ref, "WhiteBase", "no colour at all"), 3);
}

TEST(TrafoOptionExports, ReplacementRulesWrapTheTrafoOnce) {
    Ref ref(CMYKCopy());
    struct Case { const char* key; const char* value; int32_t code; int32_t points, lines; };
    const Case cases[] = {
        {"ReplaceSpot", "CMYK 0 0 0 100", 3, 0, 0},                      // ends inside the second colour
        {"ReplaceSpot", "CMYK 0 0 0 100 Lab", 3, 0, 0},
        {"ReplaceSpot", "CMYK 0 0 0 100 CMYK 10 10 10 100", 3, 0, 0},    // no stage: the rule is refused
        {"ReplaceSpot", "CMYK 0 0 0 100 CMYK 10 10 10 100 Mode x", 3, 0, 0},
        {"ReplaceSpot", "CMYK 0 0 0 100 CMYK 10 10 10 100 Mode 4", 0, 1, 0},
        {"replacespot", "CMYK 0 100 0 0 CMYK 0 90 0 0 Mode 4 Tolerance 2,5", 0, 2, 0},
        {"ReplaceSpot", "CMYK 0 0 100 0 CMYK 0 0 90 0 Mode 4 Colour 1", 3, 3, 0},  // entered all the same
        {"ReplaceGradient", "CMYK 0 0 0 0 CMYK 100 0 0 0 CMYK 0 0 0 0 CMYK 0 100 0 0 Mode 2 Tolerance 1", 0, 3, 1},
        // Two sources within the tolerance make a spot.
        {"ReplaceGradient", "CMYK 50 50 0 0 CMYK 50.5 50 0 0 CMYK 0 0 0 0 CMYK 1 1 1 1 Mode 1", 0, 4, 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(TKSetTrafoOption(ref.ref, c.key, c.value), c.code) << c.value;
        auto* replace = RefObjectAs<TKReplaceColorTrafo>(ref.ref, "TKReplaceColorTrafo");
        if (c.points + c.lines == 0) {
            EXPECT_EQ(replace, nullptr) << c.value;
            continue;
        }
        ASSERT_NE(replace, nullptr) << c.value;
        int32_t points = 0, lines = 0;
        for (int32_t stage : {1, 2, 4})
            for (const auto& rule : replace->GetRules(stage)) (rule.type == 1 ? points : lines)++;
        EXPECT_EQ(points, c.points) << c.value;
        EXPECT_EQ(lines, c.lines) << c.value;
    }
    EXPECT_EQ(RefObjectAs<TKReplaceColorTrafo>(ref.ref, "TKReplaceColorTrafo")->GetFlags(), 0xFFu);
    // Stage 4 rewrites the output, stage 2 the input, stage 1 replaces the whole result.
    EXPECT_EQ(Do(ref.ref, {0, 0, 0, 100}), (std::vector<double>{10, 10, 10, 100}));
    EXPECT_EQ(Do(ref.ref, {1, 100, 0, 1}), (std::vector<double>{0, 90, 0, 0}));
    const std::vector<double> gradient = Do(ref.ref, {40, 0, 0, 0});
    EXPECT_NEAR(gradient[1], 40.0, 1e-9);
    EXPECT_NEAR(gradient[0], 0.0, 1e-9);
    EXPECT_EQ(Do(ref.ref, {50.2, 50, 0, 0}), (std::vector<double>{0, 0, 0, 0}));
    EXPECT_EQ(TKSetTrafoOption(ref.ref, "ReplaceMode", "4"), 0);
    EXPECT_EQ(Do(ref.ref, {50.2, 50, 0, 0}), (std::vector<double>{50.2, 50, 0, 0}));
    EXPECT_EQ(TKSetTrafoOption(ref.ref, "ReplaceMode", ""), 0);
    EXPECT_EQ(RefObjectAs<TKReplaceColorTrafo>(ref.ref, "TKReplaceColorTrafo")->GetFlags(), 255u);
    EXPECT_EQ(TKSetTrafoOption(ref.ref, "ReplaceMode", "4x"), 3);
}

TEST(TrafoOptionExports, InkLimitKeepsEveryPixelOfALinkUnderTheTotal) {
    Ref ref(CMYKCopy());
    ASSERT_EQ(TKSetTrafoOption(ref.ref, "InkLimit", "300"), 0);
    EXPECT_EQ(TKSetTrafoOption(ref.ref, "InkLimit", "lots"), 3);
    EXPECT_EQ(TKSetTrafoOption(ref.ref, "InkLimit", ""), 3);
    TKLinkRef link = TKNewTKLink8Ref();
    ASSERT_EQ(TKColorTrafo2Link8(link, ref.ref, 0), 0);
    // A coarse lattice of every ink plus random pixels. Every node of the link lies within 300 %
    // and interpolation keeps sums within; what is left is the rounding of each of the four
    // channels to 8 bits, half a code each at most.
    std::vector<uint8_t> pixels;
    for (int c = 0; c < 256; c += 17)
        for (int m = 0; m < 256; m += 17)
            for (int y = 0; y < 256; y += 17)
                for (int k = 0; k < 256; k += 17) pixels.insert(pixels.end(), {uint8_t(c), uint8_t(m), uint8_t(y), uint8_t(k)});
    std::mt19937 random(300);
    for (int i = 0; i < 4 * 20000; ++i) pixels.push_back(uint8_t(random() & 255));
    std::vector<uint8_t> out(pixels.size());
    ASSERT_EQ(TKLink8Match(link, int32_t(pixels.size() / 4), pixels.data(), out.data(), 0, 0, nullptr, nullptr), 0);
    int largest = 0;
    for (size_t p = 0; p < out.size(); p += 4) largest = std::max(largest, out[p] + out[p + 1] + out[p + 2] + out[p + 3]);
    EXPECT_LE(largest, 765 + 2);
    EXPECT_GE(largest, 760);
    TKFreeTKLink8Ref(link);
    // An ink limit needs inks.
    Ref lab(TKNewCustomTrafoRef(0, 0, TKLabSpace, TKXYZSpace, nullptr, nullptr));
    EXPECT_EQ(TKSetTrafoOption(lab.ref, "InkLimit", "300"), 10);
}

TEST(TrafoOptionExports, ExceptionWrapperAroundAHandle) {
    Ref copy(CMYKCopy());
    MarkLastError();
    EXPECT_EQ(TKNewExceptionTrafoRef(nullptr, 1, 1.0, ""), nullptr);
    EXPECT_TRUE(LastErrorIsMarker());
    EXPECT_EQ(TKNewExceptionTrafoRef(copy.ref, 1, -1.0, ""), nullptr);
    EXPECT_EQ(TKNewExceptionTrafoRef(copy.ref, 1, std::nan(""), ""), nullptr);
    Ref pure(TKNewExceptionTrafoRef(copy.ref, kTKPureBlack | kTKLinearizeGray, 1.0, "Spot CMYK 10 20 30 40\nbroken line"));
    ASSERT_NE(pure.ref, nullptr);
    auto* list = RefObjectAs<TKTrafoList>(pure.ref, "TKTrafoList");
    ASSERT_NE(list, nullptr);
    ASSERT_EQ(list->GetCount(), 3);
    EXPECT_STREQ(list->GetTrafo(0)->ClassName(), "TKSetRefVectorTrafo");
    EXPECT_STREQ(list->GetTrafo(2)->ClassName(), "TKColorException");
    EXPECT_EQ(TKGetTrafoSrcDim(pure.ref), 4);
    EXPECT_EQ(TKGetTrafoDstType(pure.ref), uint32_t(TKCMYKSpace));
    // The caller's handle stays its own.
    EXPECT_EQ(Do(copy.ref, {1, 2, 3, 4}), (std::vector<double>{1, 2, 3, 4}));
    // A null settings text is no settings; mode 0 is the trafo itself, bit for bit.
    Ref plain(TKNewExceptionTrafoRef(copy.ref, 0, 1.0, nullptr));
    EXPECT_EQ(Do(plain.ref, {12.5, 0.25, 99, 3}), (std::vector<double>{12.5, 0.25, 99, 3}));
    // A trafo whose dimensions contradict its types cannot be wrapped.
    Ref odd(TKNewCustomTrafoRef(3, 4, TKCMYKSpace, TKCMYKSpace, CopyCMYK, nullptr));
    EXPECT_EQ(TKNewExceptionTrafoRef(odd.ref, 1, 1.0, ""), nullptr);
    EXPECT_EQ(TKError::LastError().code(), int32_t(DimMismatch));
}

TEST(TrafoOptionExports, CustomTrafosFromCallbacks) {
    Ref settled(TKNewCustomTrafoRef(0, 0, TKCMYKSpace, TKLabSpace, CopyCMYK, nullptr));
    ASSERT_NE(settled.ref, nullptr);
    EXPECT_EQ(TKGetTrafoSrcDim(settled.ref), 3);
    EXPECT_EQ(TKGetTrafoDstDim(settled.ref), 0);
    Ref conversion(TKNewCustomTrafoRef(4, 3, TKCMYKSpace, TKLabSpace, nullptr, nullptr));
    ASSERT_NE(conversion.ref, nullptr);
    EXPECT_STREQ(static_cast<TKObject*>(RefObject(conversion.ref, nullptr))->ClassName(), "TKDefaultColorTrafo");
    EXPECT_EQ(TKNewCustomTrafoRef(4, 3, 0, TKLabSpace, nullptr, nullptr), nullptr);
    EXPECT_EQ(TKNewCustomTrafoRef(17, 3, 0, 0, CopyCMYK, nullptr), nullptr);
    Ref failing(TKNewCustomTrafoRef(4, 4, TKCMYKSpace, TKCMYKSpace, Fails, nullptr));
    double in[4] = {0, 0, 0, 0}, out[4];
    EXPECT_EQ(TKDoTrafo(failing.ref, in, out), 72);
    double offset = 5.0;
    Ref lighter(TKNewCustomTrafoRef(3, 3, TKLabSpace, TKLabSpace, OffsetL, &offset));
    EXPECT_EQ(Do(lighter.ref, {50, 10, -10}), (std::vector<double>{55, 10, -10}));
    // The handle as a trafo of the engine, through the exports only; it frees what it owns.
    TKTrafoRefTrafo wrapped(TKNewCustomTrafoRef(3, 3, TKLabSpace, TKLabSpace, OffsetL, &offset), true);
    EXPECT_EQ(wrapped.GetSrcDim(), 3);
    EXPECT_EQ(wrapped.GetDstType(0), int32_t(TKLabSpace));
    EXPECT_EQ(wrapped.Trafo(TKVector({20, 1, 2})), TKVector({25, 1, 2}));
    TKTrafoRefTrafo failingWrapped(failing.ref, false);
    EXPECT_TKERROR(failingWrapped.Trafo(TKVector({0, 0, 0, 0})), 72);
}
