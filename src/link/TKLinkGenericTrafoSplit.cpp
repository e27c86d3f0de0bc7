// Cutting a trafo into the three stages of a device link, and choosing its grid.
#include <cstdlib>

#include "color/TKColors.h"
#include "link/TKLinkGenericTrafo.h"
#include "link/TKLinkGridChoice.h"
#include "link/TKLinkStages.h"
#include "numeric/TKRefVectorTrafo.h"

namespace {

// The members of a trafo as one flat list.
TKRefPtr<TKTrafoList> Flatten(TKTrafo* trafo) {
    TKRefPtr<TKTrafoList> list = TKMakeRef<TKTrafoList>();
    if (auto* nested = TKCast<TKTrafoList>(trafo, "TKTrafoList"))
        list->AppendList(*nested, true);
    else
        list->Append(trafo, false);
    return list;
}

// A stage member may be a curve stage: it keeps every channel to itself. The test tolerates
// 0.001 of each channel's range.
bool IsCurveStage(const TKTrafo& member, int32_t dim, int32_t inType) {
    return IsChannelSeparable(member, dim, 0.001, inType);
}

// A table of g points inside the front curves must line up with the link's grid: the same
// size, or a grid whose lines include the table's.
bool TableFitsGrid(int32_t g, int32_t grid) {
    if (g <= 2 || grid <= 2 || g == grid) return true;
    return grid > g && (grid - 1) % (g - 1) == 0;
}

int32_t ListDstType(const TKTrafoList& list, int32_t srcType) { return list.GetDstType(srcType); }

// The colour type that reaches member `index` of the list when `srcType` enters it.
int32_t TypeBefore(const TKTrafoList& list, int32_t index, int32_t srcType) {
    for (int32_t i = 0; i < index; ++i)
        if (const TKTrafo* member = list.GetTrafo(i)) srcType = member->GetDstType(srcType);
    return srcType;
}

// A conversion between stage types, and whether curves can carry it: a change such as Lab to XYZ
// mixes the channels, which curves sampled along the neutral axis cannot follow.
TKRefPtr<TKTrafo> StageConversion(int32_t from, int32_t to, bool& separable) {
    TKRefPtr<TKTrafo> conversion = NewStageConversion(from, to);
    separable = IsCurveStage(*conversion, GetTypeChannels(from), from);
    return conversion;
}

// A member that hands each colour aside to a later member binds the chain: split into curves
// and grid, the later member would see the colours the curves were sampled with instead.
bool HandsColoursAside(const TKTrafoList& list) {
    for (int32_t i = 0; i < list.GetCount(); ++i)
        if (TKCast<TKSetRefVectorTrafo>(list.GetTrafo(i), "TKSetRefVectorTrafo")) return true;
    return false;
}

}  // namespace

int32_t TKLinkGenericTrafo::FindGrid(TKTrafo* trafo, int32_t quality) {
    if (!trafo) TKThrow(ArgErr);
    const int32_t srcDim = trafo->GetSrcDim();
    TKRefPtr<TKTrafoList> members = Flatten(trafo);
    int32_t table = -1;
    for (int32_t i = 0; i < members->GetCount() && table <= 2; ++i) {
        TKTrafo* member = members->GetTrafo(i);
        if (member && member->GetSrcDim() == srcDim) table = member->GetInfo(kInfoGridPoints);
    }
    const int32_t d = DefaultGrid(srcDim, quality);
    if (table > d) return table;
    // Fewer points than the quality asks for: the largest grid whose lines include the table's.
    if (table > 2 && table < d) return (d / (table - 1)) * (table - 1) + 1;
    return d;
}

void TKLinkGenericTrafo::SplitTrafo(TKTrafo* trafo, TKTrafoList& front, TKTrafoList& middle, TKTrafoList& back,
                                    int32_t quality) {
    if (!trafo) TKThrow(ArgErr);
    while (front.GetCount() > 0) front.RemoveLast();
    while (middle.GetCount() > 0) middle.RemoveLast();
    while (back.GetCount() > 0) back.RemoveLast();
    const int32_t srcDim = trafo->GetSrcDim();
    const int32_t srcType = trafo->GetSrcType();
    const int32_t dstType = trafo->GetDstType(srcType);
    const int32_t grid = DefaultGrid(srcDim, quality);
    TKRefPtr<TKTrafoList> work = Flatten(trafo);
    const bool bound = HandsColoursAside(*work);

    // 1. Front curves, from the start, as long as members keep their channels apart.
    int32_t dim = srcDim > 0 ? srcDim : GetTypeChannels(srcType);
    while (!bound && work->GetCount() > 0) {
        TKTrafo* member = work->GetTrafo(0);
        if (!member || !IsCurveStage(*member, dim, ListDstType(front, srcType))) break;
        if (!TableFitsGrid(member->GetInfo(kInfoGridPoints), grid)) break;
        front.Append(member, false);
        work->RemoveFirst();
    }
    // 2. Back curves, from the end.
    const int32_t outDim = trafo->GetDstDim(srcDim > 0 ? srcDim : dim);
    while (!bound && work->GetCount() > 0) {
        TKTrafo* member = work->GetTrafo(work->GetCount() - 1);
        const int32_t memberDim = member && member->GetSrcDim() > 0 ? member->GetSrcDim() : outDim;
        const int32_t memberIn = TypeBefore(*work, work->GetCount() - 1, ListDstType(front, srcType));
        if (!member || !IsCurveStage(*member, memberDim, memberIn)) break;
        back.Prepend(member, false);
        work->RemoveLast();
    }
    // 3. The middle is what remains; a fully separable trafo gets a conversion that carries the
    // types across, and keeps all its curvature in the curves.
    const int32_t frontOut = front.GetCount() ? ListDstType(front, srcType) : srcType;
    if (work->GetCount() == 0) {
        const int32_t backIn = back.GetCount() ? back.GetSrcType() : frontOut;
        middle.Append(NewStageConversion(frontOut, front.GetCount() ? backIn : srcType).Get(), false);
    } else {
        middle.AppendList(*work, true);
    }
    // 4. Neighbouring stages must agree on the colour type; a conversion joins the curves beside
    // it only where they can carry it.
    bool separable = false;
    const int32_t middleIn = middle.GetSrcType();
    if (front.GetCount() && frontOut && middleIn && frontOut != middleIn) {
        const TKRefPtr<TKTrafo> conversion = StageConversion(frontOut, middleIn, separable);
        separable ? front.Append(conversion.Get(), false) : middle.Prepend(conversion.Get(), false);
    }
    const int32_t middleOut = ListDstType(middle, middle.GetSrcType() ? middle.GetSrcType() : frontOut);
    const int32_t backIn = back.GetSrcType();
    if (back.GetCount() && middleOut && backIn && middleOut != backIn) {
        const TKRefPtr<TKTrafo> conversion = StageConversion(middleOut, backIn, separable);
        separable ? back.Prepend(conversion.Get(), false) : middle.Append(conversion.Get(), false);
    }
    const int32_t lastOut = back.GetCount() ? ListDstType(back, backIn ? backIn : middleOut) : middleOut;
    if (lastOut && dstType && lastOut != dstType) {
        const TKRefPtr<TKTrafo> conversion = StageConversion(lastOut, dstType, separable);
        separable || back.GetCount() ? back.Append(conversion.Get(), false) : middle.Append(conversion.Get(), false);
    }

    // 5. XYZ encoding: the grid sees XYZ through gamma curves that put the white at 0.875 of each
    // axis, so its nodes are spent on colours rather than on the unused top of the XYZ range.
    if (srcType == int32_t(TKXYZSpace) && dstType != int32_t(TKXYZSpace) && dstType != int32_t(TKReflSpace) &&
        front.GetCount() && middle.GetCount() && back.GetCount()) {
        const TKVector white = GetWhite(TKXYZSpace);
        front.Append(NewXYZEncoding(white, kXYZWhiteShare, false).Get(), false);
        middle.Prepend(NewXYZEncoding(white, kXYZWhiteShare, true).Get(), false);
    }
}
