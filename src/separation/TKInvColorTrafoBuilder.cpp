// Inverse colour trafos by kind, and their self-test on reachable targets.
#include "separation/TKInvColorTrafoBuilder.h"

#include <algorithm>
#include <random>

#include "color/TKCIEConverter.h"
#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "foundation/TKDebug.h"
#include "io/TKGlobalData.h"
#include "separation/TKGCRSeparation.h"

namespace {
constexpr uint32_t kLab = TKColorSig("Lab ");
}  // namespace

TKInvColorTrafoBuilder::TKInvColorTrafoBuilder(TKTrafo* forward, TKTrafo* start, TKColorSeparationBase* separation)
    : fForward(forward, false), fStart(start, false), fSeparation(separation, false) {
    if (!fForward) TKThrowMsg(PtrInvalid, "inverse without a forward trafo");
}

const char* TKInvColorTrafoBuilder::KindName(Kind kind) {
    switch (kind) {
        case kKeepSeparation0: return "TKInvColorTrafoKeepSeparation(0)";
        case kKeepSeparation1: return "TKInvColorTrafoKeepSeparation(1)";
        case kBlackAmount: return "TKInvColorTrafoBlackAmount";
        case kPreferBlack: return "TKInvColorTrafoPreferBlack";
        case kOptimizeBlack: return "TKInvColorTrafoOptimizeBlack";
        case kOptimizeCMY: return "TKInvColorTrafoOptimizeCMY";
        case kOptimizeCMYK: return "TKInvColorTrafoOptimizeCMYK";
        case kBalanceColorants: return "TKInvColorTrafoBalanceColorants";
        case kSeparation: return "TKInvColorTrafoSeparation";
        case kNoBlack: return "TKInvColorTrafoNoBlack";
        case kPlain: return "TKInvColorTrafo";
        case kFindNext: return "TKFindNextColorTrafo";
    }
    return "";
}

TKRefPtr<TKInvColorTrafo> TKInvColorTrafoBuilder::MakeInverse(Kind kind) const {
    TKTrafo* start = fStart.Get();
    TKTrafo* forward = fForward.Get();
    TKColorSeparationBase* separation = fSeparation.Get();
    TKInvColorTrafo* made = nullptr;
    switch (kind) {
        case kKeepSeparation0:
        case kKeepSeparation1:
            made = new TKInvColorTrafoKeepSeparation(start, forward, 0.5, kind == kKeepSeparation0 ? 0 : 1, false);
            break;
        case kBlackAmount: made = new TKInvColorTrafoBlackAmount(start, forward, separation, false); break;
        case kPreferBlack: made = new TKInvColorTrafoPreferBlack(start, forward, separation, false); break;
        case kOptimizeBlack: made = new TKInvColorTrafoOptimizeBlack(start, forward, false); break;
        case kOptimizeCMY: made = new TKInvColorTrafoOptimizeCMY(start, forward, false); break;
        case kOptimizeCMYK: made = new TKInvColorTrafoOptimizeCMYK(start, forward, false); break;
        case kBalanceColorants: made = new TKInvColorTrafoBalanceColorants(start, forward, false); break;
        case kSeparation: made = new TKInvColorTrafoSeparation(start, forward, separation, false); break;
        case kNoBlack: made = new TKInvColorTrafoNoBlack(start, forward, false); break;
        case kPlain: made = new TKInvColorTrafo(start, forward, false); break;
        default: TKThrowMsg(ArgErr, "no search form of this kind");
    }
    return TKRefPtr<TKInvColorTrafo>(made, true);
}

TKRefPtr<TKTrafoList> TKInvColorTrafoBuilder::MakeTrafo(Kind kind, int32_t gridPoints) const {
    TKRefPtr<TKTrafoList> list(new TKTrafoList(), true);
    list->Append(new TKDefaultColorTrafo(0, kLab), true);
    if (kind == kFindNext)
        list->Append(TKFindNextColorTrafo::FromForward(*fForward, gridPoints).Detach(), true);
    else
        list->Append(MakeInverse(kind).Detach(), true);
    return list;
}

std::vector<TKInvColorTrafoBuilder::TestResult> TKInvColorTrafoBuilder::SelfTest(int32_t count, double tolerance) const {
    const int32_t logLevel = TKGlobalData::GetInt(kLogLevelKey, 0);
    // The forms with black from a separation are tried with the given one, or a smooth GCR.
    TKRefPtr<TKColorSeparationBase> separation = fSeparation;
    if (!separation) separation = TKNewSeparation("GCRSmooth", TKVector(), 0.0, 100.0, 400.0);
    TKInvColorTrafoBuilder builder(fForward.Get(), fStart.Get(), separation.Get());
    std::mt19937 random(123456789);
    std::uniform_real_distribution<double> ink(0.0, 100.0), nudge(-15.0, 15.0);
    std::vector<TestResult> results;
    for (int32_t k = 0; k < kTestedKinds; ++k) {
        const Kind kind = Kind(k);
        TestResult result;
        result.name = KindName(kind);
        TKRefPtr<TKInvColorTrafo> inverse = builder.MakeInverse(kind);
        auto* parametric = static_cast<TKParametricInvColorTrafo*>(inverse->Cast("TKParametricInvColorTrafo"));
        const uint32_t type = inverse->DeviceType();
        for (int32_t i = 0; i < count; ++i) {
            // A target the form can reach: the parameters of a colour near the frame, laid onto it.
            TKVector frame(GetChannelCount(type), int32_t(type)), near(GetChannelCount(type), int32_t(type));
            for (int32_t c = 0; c < frame.GetDim(); ++c) {
                frame[c] = ink(random);
                near[c] = std::clamp(frame[c] + nudge(random), 0.0, 100.0);
            }
            parametric->SetFrame(frame);
            parametric->SetRefVector(frame);
            const TKVector reachable = inverse->FinishColor(parametric->FromParameters(parametric->ToParameters(near)));
            const TKVector target = ConvertColor(kLab, fForward->Trafo(reachable));
            inverse->SetStartVector(frame);
            const TKVector found = inverse->Trafo(target);
            const double delta = target.Distance(ConvertColor(kLab, fForward->Trafo(found)));
            ++result.count;
            result.deltaSum += delta;
            result.deltaMax = std::max(result.deltaMax, delta);
            if (delta > tolerance) ++result.errCount;
        }
        if (logLevel > 0) {
            DebugPrintf(kDebugTest1, "%s, Test=%d\n", result.name, int(result.count));
            DebugPrintf(kDebugTest1, "errCount=%d / deltaSum=%g / deltaMax=%g\n", int(result.errCount), result.deltaSum,
                        result.deltaMax);
        }
        results.push_back(result);
    }
    return results;
}
