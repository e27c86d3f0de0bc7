// Inputs kept from fuzzing ICC profiles (tests/data/icc/fuzz-regressions): each is read at
// level 2, every tag is asked for its values, trafos are built and the profile is written.
// Failing with a TKError is fine; what the sanitizer builds guard here is that nothing reads out
// of bounds or leaks.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <vector>

#include "icc/TKICCLutTags.h"
#include "icc/TKICCProfile.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKBuffer.h"
#include "support/TestSupport.h"

namespace {

template <class F>
bool Fails(F&& f) {
    try {
        f();
        return false;
    } catch (const TKError&) {
        return true;
    }
}

}  // namespace

TEST(ICCFuzzRegressions, ReadAskAndWriteEveryInput) {
    std::filesystem::path folder(TestDataPath("icc/fuzz-regressions"));
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    ASSERT_FALSE(files.empty());
    for (const auto& file : files) {
        SCOPED_TRACE(file.filename().string());
        std::ifstream in(file, std::ios::binary);
        std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        auto profile = TKMakeRef<TKICCProfile>();
        TKBuffer stream(bytes.data(), uint32_t(bytes.size()));
        bool readOk = !Fails([&] { profile->Read(stream, 2); });
        for (int32_t i = 0; i < profile->GetTagCount(); ++i) {
            TKICCTag* tag = profile->GetTagAt(i);
            Fails([&] { tag->GetSummary(); });
            Fails([&] {
                TKBuffer dump;
                tag->Dump(dump);
            });
        }
        if (readOk) {
            // Trafos for every intent both ways, each asked for a colour, as the trafo fuzzer does.
            TKICCTrafoBuilder builder(profile.Get());
            for (int32_t intent : {0, 1, 2, 3, TKICCTrafoBuilder::kHeaderIntent})
                for (bool toPCS : {true, false})
                    Fails([&] {
                        TKRefPtr<TKTrafo> trafo = toPCS ? builder.GetA2BTrafo(intent) : builder.GetB2ATrafo(intent);
                        TKVector colour(trafo->GetSrcDim() > 0 ? trafo->GetSrcDim() : 3, trafo->GetSrcType(), 0.5);
                        trafo->TrafoInPlace(colour);
                    });
        }
        TKBuffer out;
        if (!Fails([&] { profile->Write(out, 0, false, true); }) && readOk) {
            // What was read whole and written with fresh offsets reads again.
            auto again = TKMakeRef<TKICCProfile>();
            uint32_t n = 0;
            const uint8_t* data = out.GetData(&n);
            TKBuffer back(data, n);
            EXPECT_FALSE(Fails([&] { again->Read(back, 2); }));
            EXPECT_EQ(again->GetTagCount(), profile->GetTagCount());
        }
    }
}
