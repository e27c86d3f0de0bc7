// Two-profile chains against Little CMS 2: the reference rows in tests/data/concat/
// lcms-concat-reference.csv were written by tools/concat_evidence with liblcms2 2.14 (double
// formats, no optimisation; intents 9 and 10 against perceptual and relative colorimetric with
// cmsFLAGS_BLACKPOINTCOMPENSATION). Both results go to Lab through the destination's relative
// A2B table and are compared by CIEDE2000.
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "icc/TKICCConcatenation.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"
#include "support/TestSupport.h"

namespace {

struct Case {
    const char* src;
    const char* dst;
    int32_t intent;
    double meanLimit;
};

// The order of the tool's cases. Perceptual compensation finds its black through the
// perceptual table and lands a few tenths further from the peer than the others; into FOGRA39
// the relative compensation maps to a black the inverse search finds 0.7 L darker than the peer's.
const Case kCases[] = {
    {"sRGB.icc", "FOGRA39L.icc", 1, 0.05},     {"sRGB.icc", "FOGRA39L.icc", 10, 0.1},
    {"sRGB.icc", "FOGRA39L.icc", 0, 0.05},     {"sRGB.icc", "FOGRA39L.icc", 9, 0.2},
    {"FOGRA39L.icc", "FOGRA29L.icc", 1, 0.15}, {"FOGRA39L.icc", "FOGRA29L.icc", 10, 0.15},
    {"FOGRA39L.icc", "FOGRA29L.icc", 0, 0.15}, {"FOGRA39L.icc", "FOGRA29L.icc", 9, 0.45},
};

struct Row {
    int32_t which = 0;
    double in[4] = {}, peer[4] = {};
};

std::vector<Row> ReadRows() {
    std::ifstream file(TestDataPath("concat/lcms-concat-reference.csv"));
    std::vector<Row> rows;
    std::string line, field;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::stringstream s(line);
        Row row;
        std::getline(s, field, ',');
        row.which = std::stoi(field);
        for (double& v : row.in) std::getline(s, field, ','), v = std::stod(field);
        for (double& v : row.peer) std::getline(s, field, ','), v = std::stod(field);
        rows.push_back(row);
    }
    return rows;
}

TKRefPtr<TKICCProfile> Load(const char* name) {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->ReadFile(TKFileSpec(TKString(TestDataPath(std::string("concat/") + name).c_str())), 2);
    return profile;
}

TEST(ConcatenationLcmsTest, ChainsAgreeWithTheReference) {
    const std::vector<Row> rows = ReadRows();
    ASSERT_EQ(rows.size(), 320u);
    for (int32_t k = 0; k < int32_t(sizeof kCases / sizeof kCases[0]); ++k) {
        const Case& c = kCases[k];
        auto src = Load(c.src), dst = Load(c.dst);
        TKICCProfile* chain[] = {src.Get(), dst.Get()};
        const int32_t intents[] = {c.intent, c.intent};
        auto list = TKMakeRef<TKTrafoList>();
        TKConcatICCProfiles(list.Get(), 2, chain, intents, 0);
        TKICCTrafoBuilder builder(dst.Get());
        TKRefPtr<TKTrafo> toLab = builder.GetA2BTrafo(1);
        const uint32_t srcType = uint32_t(list->GetSrcType());
        double sum = 0.0, worst = 0.0;
        int32_t n = 0;
        for (const Row& row : rows) {
            if (row.which != k) continue;
            TKVector in(GetChannelCount(srcType), int32_t(srcType));
            for (int32_t i = 0; i < in.GetDim(); ++i) in[i] = row.in[i];
            const TKVector ours = list->Trafo(in);
            const TKVector peer({row.peer[0], row.peer[1], row.peer[2], row.peer[3]}, int32_t(TKCMYKSpace));
            const TKVector a = ConvertColor(TKLabSpace, toLab->Trafo(ours));
            const TKVector b = ConvertColor(TKLabSpace, toLab->Trafo(peer));
            const double d = DeltaE2000(a.Values(), b.Values());
            sum += d;
            worst = std::max(worst, d);
            ++n;
        }
        ASSERT_EQ(n, 40) << k;
        EXPECT_LT(sum / n, c.meanLimit) << c.src << " -> " << c.dst << " intent " << c.intent;
        EXPECT_LT(worst, 1.0) << c.src << " -> " << c.dst << " intent " << c.intent;
    }
}

}  // namespace
