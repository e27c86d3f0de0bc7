// Fuzz target: two profiles from untrusted bytes concatenated into one trafo list and evaluated.
// Input: two bytes giving where the second profile starts, one byte of intents and the final
// output mode, then the two profiles.
#include "FuzzSupport.h"
#include "icc/TKICCConcatenation.h"
#include "icc/TKICCTrafoBuilder.h"
#include "numeric/TKTrafoList.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) return 0;
    const size_t body = size - 3;
    const size_t split = body ? (size_t(data[0]) << 8 | data[1]) % (body + 1) : 0;
    const uint8_t modes = data[2];
    const uint8_t* first = data + 3;
    TKRefPtr<TKICCProfile> profiles[2] = {fuzz::ReadProfile(first, split),
                                          fuzz::ReadProfile(first + split, body - split)};
    if (!profiles[0] || !profiles[1]) return 0;
    auto intentOf = [](int32_t code) { return code == 4 ? TKICCTrafoBuilder::kHeaderIntent : code; };
    const int32_t intents[2] = {intentOf(modes % 5), intentOf((modes / 5) % 5)};
    TKICCProfile* const list[2] = {profiles[0].Get(), profiles[1].Get()};
    auto chain = TKMakeRef<TKTrafoList>();
    if (fuzz::Try([&] { TKConcatICCProfiles(chain.Get(), 2, list, intents, (modes / 25) % 2); }))
        fuzz::EvaluateSome(*chain);
    return 0;
}
