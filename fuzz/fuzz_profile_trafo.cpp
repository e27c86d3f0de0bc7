// Fuzz target: a profile from untrusted bytes made into trafos, A2B and B2A for every intent
// and the header's, each evaluated at a few colours.
#include "FuzzSupport.h"
#include "icc/TKICCTrafoBuilder.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    TKRefPtr<TKICCProfile> profile = fuzz::ReadProfile(data, size);
    if (!profile) return 0;
    TKICCTrafoBuilder builder(profile.Get());
    for (int32_t intent : {0, 1, 2, 3, TKICCTrafoBuilder::kHeaderIntent}) {
        for (bool toPCS : {true, false}) {
            TKRefPtr<TKTrafo> trafo;
            fuzz::Try([&] { trafo = toPCS ? builder.GetA2BTrafo(intent) : builder.GetB2ATrafo(intent); });
            if (trafo) fuzz::EvaluateSome(*trafo);
        }
    }
    return 0;
}
