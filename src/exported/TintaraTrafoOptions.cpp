// Trafo options and special trafos: replacement rules, white and observer of CIE trafos, ink
// limits, exception logic around a trafo, and trafos made from a host's callback.
#include <cmath>

#include "color/TKCIETrafo.h"
#include "color/TKColorTrafo.h"
#include "color/TKColors.h"
#include "color/TKSpectral.h"
#include "exported/TKExport.h"
#include "exported/TKLinearizationOption.h"
#include "foundation/TKHandle.h"
#include "numeric/TKCallbackTrafo.h"
#include "numeric/TKRefVectorTrafo.h"
#include "numeric/TKTrafoList.h"
#include "separation/TKColorException.h"
#include "separation/TKDirectColor.h"
#include "separation/TKInkLimitTrafo.h"
#include "separation/TKNumberToken.h"
#include "separation/TKReplaceColorTrafo.h"
#include "tintara.h"

namespace {

bool Is(const char* key, const char* name) { return TKString(key).CompareNoCase(name) == 0; }

// A colour of an option value: a type name and its channel values; empty when the type is
// unknown, a number does not read, or the text ends too early. Complete colours are clipped to
// their type's range.
TKVector ReadColour(const TKString& text, int32_t& position) {
    const TKString name = text.NextToken(&position);
    const uint32_t type = name.IsEmpty() ? 0 : GetTypeFromName(name.CString());
    const int32_t n = GetChannelCount(type);
    if (type == 0 || n < 1 || IsClassMarker(type)) return TKVector();
    TKVector colour(n, int32_t(type));
    for (int32_t i = 0; i < n; ++i) {
        const TKString token = text.NextToken(&position);
        if (!TKReadNumberToken(token.CString(), colour[i])) return TKVector();
    }
    TKClipToRange(colour);
    return colour;
}

struct RuleOptions {
    int32_t mode = 0;
    double tolerance = 1.0;
    bool unknownKey = false;
    bool malformed = false;
};

// Up to two pairs "Mode" n and "Tolerance" x after the colours.
RuleOptions ReadPairs(const TKString& text, int32_t& position) {
    RuleOptions options;
    for (int pair = 0; pair < 2; ++pair) {
        const TKString key = text.NextToken(&position);
        if (key.IsEmpty()) continue;
        const TKString value = text.NextToken(&position);
        double number = 0.0;
        if (key.CompareNoCase("Mode") == 0) {
            if (!value.IsInteger() || value.IsEmpty()) options.malformed = true;
            options.mode = value.ToInt();
        } else if (key.CompareNoCase("Tolerance") == 0) {
            if (TKReadNumberToken(value.CString(), number) && number >= 0.0)
                options.tolerance = number;
            else
                options.malformed = true;
        } else {
            options.unknownKey = true;
        }
    }
    return options;
}

// The replacement trafo in the handle, or a new one around the held trafo that the handle
// takes only once `fill` succeeded, so a failing option leaves the handle as it was.
template <class Fill>
int32_t WithReplaceTrafo(TKTrafoRef ref, Fill&& fill) {
    auto* object = static_cast<TKObject*>(RefObject(ref, nullptr));
    if (!object) return int32_t(TrafoErr);
    if (auto* replace = TKCast<TKReplaceColorTrafo>(object, "TKReplaceColorTrafo")) return fill(*replace);
    auto* trafo = TKCast<TKTrafo>(object, "TKTrafo");
    if (!trafo) return int32_t(TrafoErr);
    TKRefPtr<TKReplaceColorTrafo> replace(new TKReplaceColorTrafo(trafo, false), true);
    const int32_t code = fill(*replace);
    ReplaceRefObject(ref, replace.Get(), false);
    return code;
}

int32_t ReplaceOption(TKTrafoRef ref, const char* key, const TKString& value) {
    if (!RefObject(ref, nullptr)) return int32_t(TrafoErr);
    if (Is(key, "ReplaceMode")) {
        if (!value.IsEmpty() && !value.IsInteger()) return int32_t(ArgErr);
        const uint32_t flags = value.IsEmpty() ? 255u : uint32_t(value.ToInt());
        return WithReplaceTrafo(ref, [&](TKReplaceColorTrafo& replace) {
            replace.SetFlags(flags);
            return int32_t(NoErr);
        });
    }
    const bool gradient = Is(key, "ReplaceGradient");
    int32_t position = 0;
    TKVector colours[4];
    for (int32_t i = 0; i < (gradient ? 4 : 2); ++i) {
        colours[i] = ReadColour(value, position);
        if (colours[i].GetDim() < 1) return int32_t(ArgErr);
    }
    const RuleOptions options = ReadPairs(value, position);
    if (options.malformed) return int32_t(ArgErr);
    return WithReplaceTrafo(ref, [&](TKReplaceColorTrafo& replace) {
        if (gradient)
            replace.AddLineRule(colours[0], colours[1], colours[2], colours[3], options.mode, options.tolerance);
        else
            replace.AddPointRule(colours[0], colours[1], options.mode, options.tolerance);
        return int32_t(options.unknownKey ? ArgErr : NoErr);
    });
}

TKCIETrafo* HeldCIETrafo(TKTrafoRef ref) {
    if (!RefObject(ref, nullptr)) return nullptr;
    return RefObjectAs<TKCIETrafo>(ref, "TKCIETrafo");
}

// The measured white of a CIE trafo: a light given by its spectrum or name, or a colour.
int32_t WhiteBaseOption(TKTrafoRef ref, const TKString& value) {
    TKCIETrafo* trafo = HeldCIETrafo(ref);
    if (!trafo) return int32_t(TrafoErr);
    if (value.IsEmpty()) {
        // A 5000 K black body seen by the 2-degree observer stands for a plain light.
        static const TKVector kDefaultLight = [] {
            TKVector light = GetBlackBodySpectrum(5000.0);
            light.SetType(int32_t(TKEmisSpace));
            return light;
        }();
        trafo->SetWhite(kDefaultLight);
        return int32_t(NoErr);
    }
    TKVector parsed;
    GetColorFromText(parsed, TKEmisSpace, value.CString(), false);
    if (parsed.IsEmpty() || parsed.GetType() == 0) return int32_t(ArgErr);
    if (uint32_t(parsed.GetType()) == TKEmisSpace)
        trafo->SetWhite(parsed);
    else
        trafo->SetWhite(trafo->Convert(parsed, TKXYZSpace));
    return int32_t(NoErr);
}

int32_t ObserverOption(TKTrafoRef ref, const TKString& value) {
    TKCIETrafo* trafo = HeldCIETrafo(ref);
    if (!trafo) return int32_t(TrafoErr);
    // "2" is looked for first, so "12" means the 2-degree observer.
    int32_t degrees = 0;
    if (value.IsEmpty() || value.Find("2") >= 0)
        degrees = 2;
    else if (value.Find("10") >= 0)
        degrees = 10;
    else
        return int32_t(ArgErr);
    trafo->SetObserver(degrees);
    // The white is seen anew by the new observer.
    trafo->SetWhite(trafo->GetIlluminant());
    return int32_t(NoErr);
}

// A total area coverage, optionally followed by limits per channel, behind the trafo.
int32_t InkLimitOption(TKTrafoRef ref, const TKString& value) {
    auto* trafo = RefObjectAs<TKTrafo>(ref, "TKTrafo");
    if (!trafo) return int32_t(TrafoErr);
    int32_t position = 0;
    std::vector<double> numbers;
    for (TKString token = value.NextToken(&position); !token.IsEmpty(); token = value.NextToken(&position)) {
        double number = 0.0;
        if (!TKReadNumberToken(token.CString(), number) || number < 0.0) return int32_t(ArgErr);
        numbers.push_back(number);
    }
    if (numbers.empty()) return int32_t(ArgErr);
    const uint32_t type = uint32_t(trafo->GetDstType(trafo->GetSrcType()));
    TKVector channels;
    if (numbers.size() > 1) channels.SetFromArray(int32_t(numbers.size() - 1), numbers.data() + 1);
    TKRefPtr<TKInkLimitTrafo> limit(new TKInkLimitTrafo(numbers[0], channels), true);
    limit->SetColorType(type);
    TKRefPtr<TKTrafoList> list(new TKTrafoList(), true);
    list->Append(trafo, false);
    list->Append(limit.Get(), false);
    ReplaceRefObject(ref, list.Get(), false);
    return int32_t(NoErr);
}

}  // namespace

extern "C" {

int32_t TKSetTrafoOption(TKTrafoRef ref, const char* key, const char* value) {
    if (!key || !*key) return int32_t(NoErr);
    if (!ref) return TK_ARG_ERROR();
    const TKString text(value ? value : "");
    return TKGuardCode([&] {
        if (Is(key, "ReplaceMode") || Is(key, "ReplaceSpot") || Is(key, "ReplaceGradient"))
            return ReplaceOption(ref, key, text);
        if (Is(key, "WhiteBase")) return WhiteBaseOption(ref, text);
        if (Is(key, "Observer")) return ObserverOption(ref, text);
        if (Is(key, "InkLimit")) return InkLimitOption(ref, text);
        if (TKIsLinearizationOption(key)) return TKSetLinearizationOption(ref, key, text);
        return int32_t(NoErr);
    });
}

TKTrafoRef TKNewExceptionTrafoRef(TKTrafoRef ref, int32_t mode, double percent, const char* settings) {
    auto* trafo = RefObjectAs<TKTrafo>(ref, "TKTrafo");
    if (!trafo) return nullptr;
    if (!std::isfinite(percent) || percent < 0.0) {
        TK_ARG_ERROR();
        return nullptr;
    }
    return TKGuardRef([&]() -> TKTrafoRef {
        const uint32_t srcType = uint32_t(trafo->GetSrcType());
        const uint32_t dstType = uint32_t(trafo->GetDstType(int32_t(srcType)));
        // The exception logic compares colours by their types: a trafo whose dimensions
        // contradict its types cannot be wrapped.
        const int32_t srcDim = trafo->GetSrcDim(), dstDim = trafo->GetDstDim(srcDim);
        if ((srcType && srcDim && GetChannelCount(srcType) != srcDim) || (dstType && dstDim && GetChannelCount(dstType) != dstDim))
            throw TKError(DimMismatch, "the trafo's dimensions do not match its colour types", __FILE__, __LINE__);
        TKRefPtr<TKColorException> exception(new TKColorException(srcType, dstType), true);
        exception->SetMode(uint32_t(mode));
        exception->SetTolerance(percent * 0.01);
        exception->ParseSettings(TKString(settings ? settings : ""));
        TKRefPtr<TKTrafoList> list(new TKTrafoList(), true);
        list->Append(new TKSetRefVectorTrafo(exception.Get(), false), true);
        list->Append(trafo, false);
        list->Append(exception.Get(), false);
        TKTrafoRef made = NewRef(list.Get(), false);
        return made;
    });
}

TKTrafoRef TKNewCustomTrafoRef(int32_t srcDim, int32_t dstDim, uint32_t srcType, uint32_t dstType,
                               TKCustomTrafoProc callback, void* userData) {
    return TKGuardRef([&]() -> TKTrafoRef {
        const auto isColourType = [](uint32_t type) {
            return IsKnownSpace(type) && !IsClassMarker(type) && GetChannelCount(type) > 0;
        };
        TKRefPtr<TKTrafo> made;
        if (!callback) {
            if (!isColourType(srcType) || !isColourType(dstType)) return nullptr;
            made.Reset(new TKDefaultColorTrafo(srcType, dstType), true);
        } else {
            if (srcDim == 0 && isColourType(srcType)) srcDim = GetChannelCount(srcType);
            // The destination type's count goes into the source dimension: this is the settled
            // behaviour of the call, and a host that wants a destination dimension passes it.
            if (dstDim == 0 && isColourType(dstType)) srcDim = GetChannelCount(dstType);
            made.Reset(new TKCallbackTrafo(srcDim, dstDim, srcType, dstType, callback, userData), true);
        }
        return NewRef(made.Get(), false);
    });
}

}  // extern "C"
