// Reading profiles whose tag types disagree with what the tag signature or the table position
// suggests: no tag object may end up with a type its class cannot interpret.
#include <cstring>
#include <vector>

#include "icc/TKICCNumberTags.h"
#include "icc/TKICCProfile.h"
#include "io/TKBuffer.h"
#include "support/TestSupport.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Written(TKICCProfile& profile) {
    TKBuffer out;
    profile.Write(out, 0, false, true);
    uint32_t n = 0;
    const uint8_t* data = out.GetData(&n);
    return Bytes(data, data + n);
}

uint32_t U32At(const Bytes& b, size_t at) {
    return uint32_t(b[at]) << 24 | uint32_t(b[at + 1]) << 16 | uint32_t(b[at + 2]) << 8 | b[at + 3];
}

void PutSig(Bytes& b, size_t at, const char* sig) { std::memcpy(&b[at], sig, 4); }

// The table offset of the tag with `signature`.
uint32_t TagOffset(const Bytes& b, uint32_t signature) {
    for (uint32_t i = 0; i < U32At(b, 128); ++i)
        if (U32At(b, 132 + 12 * i) == signature) return U32At(b, 132 + 12 * i + 4);
    ADD_FAILURE() << "no such tag";
    return 0;
}

// A profile with a white point and an adaptation matrix.
Bytes ProfileWithChad() {
    auto profile = TKMakeRef<TKICCProfile>();
    profile->AddWhitePoint(TKVector({96.42, 100.0, 82.49}, TKXYZSpace));
    auto chad = TKMakeRef<TKChromaticAdaptationTag>();
    chad->SetMatrix(TKMatrix::Identity(3));
    profile->AddTag(chad.Get(), false);
    return Written(*profile);
}

}  // namespace

TEST(ICCTagClass, NamedColourTypeUnderAdaptationSignatureStaysAnAdaptationTag) {
    Bytes bytes = ProfileWithChad();
    PutSig(bytes, TagOffset(bytes, TKICCSig("chad")), "ncl2");
    auto profile = TKMakeRef<TKICCProfile>();
    TKBuffer in(bytes.data(), uint32_t(bytes.size()));
    profile->Read(in, 2);
    TKICCTag* tag = profile->GetTag(TKICCSig("chad"), false);
    ASSERT_NE(tag, nullptr);
    EXPECT_NE(TKCast<TKChromaticAdaptationTag>(tag, "TKChromaticAdaptationTag"), nullptr);
    EXPECT_FALSE(tag->IsValid());  // "ncl2" is not an allowed type for "chad"
    EXPECT_EQ(profile->GetTag(TKICCSig("chad")), nullptr);
}

TEST(ICCTagClass, BodyBehindABaseGetsTheClassOfItsOwnType) {
    // The table is read at offsets from the stream's start, the bodies behind the base: a prefix
    // puts a foreign type where the table looks, the real XYZ body stands behind the base.
    const Bytes profileBytes = ProfileWithChad();
    const uint32_t wtpt = TagOffset(profileBytes, TKICCSig("wtpt"));
    const size_t base = profileBytes.size();
    Bytes stream(base, 0);
    PutSig(stream, wtpt, "ncl2");
    stream.insert(stream.end(), profileBytes.begin(), profileBytes.end());
    auto profile = TKMakeRef<TKICCProfile>();
    TKBuffer in(stream.data(), uint32_t(stream.size()));
    in.Seek(int64_t(base), kSeekStart);
    profile->Read(in, 2);
    auto* white = TKCast<TKICCXYZTag>(profile->GetTag(TKICCSig("wtpt")), "TKICCXYZTag");
    ASSERT_NE(white, nullptr);
    EXPECT_NEAR(profile->GetWhitePoint()[2], 82.49, 0.01);
}
