// TKICCConcatenation: the chain of profile trafos, the direction each profile is used in, the
// second passes of device profiles and the white bridge of the "RelativeLightness" intent.
#include "icc/TKICCConcatenation.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "color/TKIntents.h"
#include "color/TKWhiteXYZTrafo.h"
#include "icc/TKICCTrafoBuilder.h"
#include "io/TKFileSpec.h"

namespace {

const uint32_t kLink = TKICCSig("link");
const uint32_t kAbstract = TKICCSig("abst");
const uint32_t kScanner = TKICCSig("scnr");
const uint32_t kMonitor = TKICCSig("mntr");
const uint32_t kPrinter = TKICCSig("prtr");
const uint32_t kColorSpace = TKICCSig("spac");

// The classes that convert between a colour space and the connection space (or between two
// spaces, for links and abstracts). Named-colour profiles and unknown classes have no such
// tables: a chain cannot be built through them.
bool CanChain(uint32_t deviceClass) {
    return deviceClass == kScanner || deviceClass == kMonitor || deviceClass == kPrinter || deviceClass == kLink ||
           deviceClass == kAbstract || deviceClass == kColorSpace;
}

bool IsCIE(uint32_t type) { return type != 0 && GetColorClass(type) == TKCIEClass; }

uint32_t ClassOf(TKICCProfile& profile) { return profile.GetHeader().deviceClass; }
uint32_t InSpace(TKICCProfile& profile) {
    return TKICCProfileBasic::TranslateOldSpace(profile.GetHeader().colorSpace);
}
uint32_t OutSpace(TKICCProfile& profile) { return TKICCProfileBasic::TranslateOldSpace(profile.GetHeader().pcs); }

// The output type of the chain so far; 0 while it is empty.
uint32_t ListType(const TKTrafoList& list) { return list.GetCount() == 0 ? 0 : uint32_t(list.GetDstType(0)); }

// Appends a trafo, with a conversion in front when the chain delivers another type than it reads.
void AppendTyped(TKTrafoList& list, TKTrafo* trafo) {
    const uint32_t listType = ListType(list);
    const uint32_t inType = uint32_t(trafo->GetSrcType());
    if (listType != 0 && inType != 0 && listType != inType) {
        auto conversion = TKMakeRef<TKDefaultColorTrafo>(listType, inType);
        list.Append(conversion.Get(), false);
    }
    list.Append(trafo, false);
}

// The intent an entry stands for: 20 is the profile's own header intent.
int32_t ResolveIntent(const int32_t* intents, int32_t index, TKICCProfile* profile) {
    const int32_t intent = intents[index];
    if (intent == kTKHeaderIntent && profile) return int32_t(profile->GetHeader().renderingIntent & 0xFFFFu);
    return intent;
}

int32_t PreviousPresent(TKICCProfile* const* profiles, int32_t index) {
    for (int32_t p = index - 1; p >= 0; --p)
        if (profiles[p]) return p;
    return -1;
}

int32_t NextPresent(TKICCProfile* const* profiles, int32_t count, int32_t index) {
    for (int32_t n = index + 1; n < count; ++n)
        if (profiles[n]) return n;
    return -1;
}

TKVector AsXYZ(const TKVector& white) {
    TKVector xyz = white;
    xyz.SetType(TKXYZSpace);
    return xyz;
}

// The largest factor that keeps every channel of `white` times it at or below `limit`.
double FittingScale(const TKVector& white, const TKVector& limit) {
    double scale = 0.0;
    bool any = false;
    for (int32_t c = 0; c < 3; ++c) {
        if (white[c] <= 0.0) continue;
        const double ratio = limit[c] / white[c];
        scale = any ? std::min(scale, ratio) : ratio;
        any = true;
    }
    return any && scale > 0.0 ? scale : 1.0;
}

// Whether the destination reproduces an absolute XYZ colour: sent through its absolute B2A
// table and back through the A2B table, it must come back within `tolerance` of the white's Y.
// A small floor stays for the table's own round-trip noise, so tolerance 0 means "as exactly as
// the tables allow".
bool Reproduces(TKTrafo& b2a, TKTrafo& a2b, const TKVector& xyz, double whiteY, double tolerance) {
    const TKVector device = b2a.Trafo(ConvertColor(uint32_t(b2a.GetSrcType()), xyz));
    const TKVector back = ConvertColor(TKXYZSpace, a2b.Trafo(device));
    const double limit = (tolerance + 0.005) * whiteY;
    for (int32_t c = 0; c < 3; ++c)
        if (std::fabs(back[c] - xyz[c]) > limit) return false;
    return true;
}

// The brightest colour of the source white's chromaticity that the destination device still
// renders, found by bisection on the scale of the white.
TKVector SearchTargetWhite(TKICCProfile& destination, const TKVector& white, double tolerance) {
    TKICCTrafoBuilder builder(&destination);
    TKRefPtr<TKTrafo> b2a = builder.GetB2ATrafo(kTKAbsoluteColorimetric);
    TKRefPtr<TKTrafo> a2b = builder.GetA2BTrafo(kTKAbsoluteColorimetric);
    const double start = FittingScale(white, AsXYZ(destination.GetWhitePoint(true)));
    double lo = 0.0, hi = start * 1.25;
    auto scaled = [&](double s) {
        TKVector xyz = white;
        xyz.Multiply(s);
        return xyz;
    };
    if (Reproduces(*b2a, *a2b, scaled(hi), white[1], tolerance)) return scaled(hi);
    for (int32_t step = 0; step < 40; ++step) {
        const double mid = 0.5 * (lo + hi);
        if (Reproduces(*b2a, *a2b, scaled(mid), white[1], tolerance))
            lo = mid;
        else
            hi = mid;
    }
    // A device that renders nothing near its white is left with the ratio of the whites.
    return scaled(lo > 0.0 ? lo : start);
}

}  // namespace

TKRefPtr<TKTrafo> TKConcatBridge(TKICCProfile& source, TKICCProfile& destination, int32_t intent) {
    if (intent != kTKRelativeLightness) return {};
    if (!IsCIE(OutSpace(source)) || !IsCIE(OutSpace(destination))) return {};
    const TKVector white = AsXYZ(source.GetWhitePoint(true));
    const uint32_t sourceClass = ClassOf(source);
    TKVector target;
    if (sourceClass == kMonitor || sourceClass == kPrinter) {
        target = SearchTargetWhite(destination, white, sourceClass == kMonitor ? 0.02 : 0.0);
    } else {
        target = white;
        target.Multiply(FittingScale(white, AsXYZ(destination.GetWhitePoint(true))));
    }
    target.SetType(TKXYZSpace);
    return TKRefPtr<TKTrafo>(new TKWhiteXYZTrafo(white, target, 0), true);
}

bool AppendProfile(TKTrafoList* list, TKICCProfile* profile, int32_t intent, bool asSource) {
    if (!list && !profile) return asSource;
    if (!list || !profile) TKThrow(ArgErr);
    const uint32_t listType = ListType(*list);
    const uint32_t inSpace = InSpace(*profile);
    const uint32_t outSpace = OutSpace(*profile);
    const uint32_t deviceClass = ClassOf(*profile);
    if (!CanChain(deviceClass)) TKThrowMsg(TrafoCreationErr, "profile class cannot be chained");
    const bool passesThrough = deviceClass == kLink || deviceClass == kAbstract;

    bool forward;
    if (!asSource && !passesThrough) {
        if (listType != 0 && !IsCompatible(listType, outSpace)) {
            if (!IsCompatible(listType, inSpace)) TKThrow(WrongDataType);
            forward = true;
        } else {
            forward = false;
        }
    } else if (listType == 0 || IsCompatible(listType, inSpace)) {
        forward = true;
    } else if (IsCompatible(listType, outSpace)) {
        forward = false;
    } else {
        TKThrow(WrongDataType);
    }

    TKICCTrafoBuilder builder(profile);
    TKRefPtr<TKTrafo> trafo =
        forward ? builder.GetA2BTrafo(intent, TKICCTrafoBuilder::kOwnGrid) : builder.GetB2ATrafo(intent);
    AppendTyped(*list, trafo.Get());
    return forward ? IsDeviceSpace(outSpace) : true;
}

void TKConcatICCProfiles(TKTrafoList* list, int32_t count, TKICCProfile* const* profiles, const int32_t* intents,
                         int32_t lastMode) {
    if (!list) {
        if (count > 0) TKThrow(ArgErr);
        return;
    }
    if (count <= 0) return;
    if (!profiles) TKThrow(ArgErr);

    int32_t present = 0;
    for (int32_t i = 0; i < count; ++i) present += profiles[i] ? 1 : 0;

    int32_t working = intents ? ResolveIntent(intents, 0, profiles[0]) : 0;
    bool nextIsSource = true;
    for (int32_t i = 0; i < count; ++i) {
        TKICCProfile* profile = profiles[i];
        if (!profile) continue;
        if (intents && IsDeviceSpace(ListType(*list))) working = ResolveIntent(intents, i, profile);

        // The first slot never opens a bridge: the chain's own source is taken as it comes.
        const int32_t previous = PreviousPresent(profiles, i);
        if (previous > 0 && IsCIE(ListType(*list))) {
            TKRefPtr<TKTrafo> bridge = TKConcatBridge(*profiles[previous], *profile, working);
            if (bridge) AppendTyped(*list, bridge.Get());
        }

        nextIsSource = AppendProfile(list, profile, working, nextIsSource);
        if (intents) working = ResolveIntent(intents, i, profile);

        const uint32_t deviceClass = ClassOf(*profile);
        if (deviceClass != kScanner && deviceClass != kMonitor && deviceClass != kPrinter) continue;
        const int32_t next = NextPresent(profiles, count, i);
        const bool lastOne = next < 0;
        const bool listCIE = IsCIE(ListType(*list));
        bool again;
        if (count > 1) {
            const bool nextIsLink = !lastOne &&
                                    (ClassOf(*profiles[next]) == kLink || ClassOf(*profiles[next]) == kAbstract) &&
                                    IsDeviceSpace(InSpace(*profiles[next]));
            // A device profile between two others is passed both ways, unless a link takes over
            // its device values directly.
            again = (listCIE && nextIsLink) || (!listCIE && !lastOne && !nextIsLink) ||
                    (lastMode == 1 && lastOne && !listCIE);
        } else {
            // A profile that stands alone goes out again through its other table on request:
            // device values in, device values out.
            again = lastMode == 1 && present == 1;
        }
        if (again) nextIsSource = AppendProfile(list, profile, working, nextIsSource);
    }
}

void TKConcatICCProfilesByFile(TKTrafoList* list, int32_t count, TKFileSpec* const* fileSpecs,
                               const int32_t* intents, int32_t lastMode) {
    if (count > kTKMaxConcatProfiles) TKThrow(BufferTooSmall);
    if (!fileSpecs) TKThrow(ArgErr);
    if (count <= 0) {
        TKConcatICCProfiles(list, count, nullptr, intents, lastMode);
        return;
    }
    // The profiles live in counted pointers, so that a file that fails to read releases those
    // read before it.
    std::vector<TKRefPtr<TKICCProfile>> held;
    held.resize(size_t(count));
    std::vector<TKICCProfile*> profiles(size_t(count), nullptr);
    for (int32_t i = 0; i < count; ++i) {
        if (!fileSpecs[i]) continue;
        held[size_t(i)] = TKMakeRef<TKICCProfile>();
        held[size_t(i)]->ReadFile(*fileSpecs[i], 2);
        profiles[size_t(i)] = held[size_t(i)].Get();
    }
    TKConcatICCProfiles(list, count, profiles.data(), intents, lastMode);
}
