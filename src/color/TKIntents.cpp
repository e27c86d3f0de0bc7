// The intent table: one row per named code, with the kind of XYZ stage it makes.
#include "color/TKIntents.h"

#include <cstring>
#include <utility>

#include "color/TKBlackCompensationTrafo.h"
#include "color/TKBrightenerCorrectionTrafo.h"
#include "color/TKCompressionTrafos.h"
#include "color/TKCustomRenderingXYZTrafo.h"
#include "color/TKWhiteXYZTrafo.h"
#include "color/TKXYZStages.h"

namespace {

enum class Stage {
    kPerceptual, kWhite, kAbsolute, kCopy, kBlackCompensation, kBrightener, kRelative, kWhiteY,
    kCustom, kMinBlack, kMinWhite, kMinBoth, kBase, kTest,
};

struct IntentRow {
    int32_t code;
    const char* name;
    Stage stage;
};

constexpr IntentRow kIntents[] = {
    {0, "Perceptual", Stage::kPerceptual},
    {1, "RelativeColorimetric", Stage::kWhite},
    {2, "Saturation", Stage::kAbsolute},
    {3, "AbsoluteColorimetric", Stage::kCopy},
    {9, "BlackCompensationPerceptual", Stage::kBlackCompensation},
    {10, "BlackCompensation", Stage::kBlackCompensation},
    {11, "AbsolutePerceptual", Stage::kWhite},
    {12, "AbsLightenerCompensation", Stage::kBrightener},
    {13, "GamutCompression", Stage::kPerceptual},
    {14, "PerceptualCompression", Stage::kPerceptual},
    {15, "RelativeCompression", Stage::kRelative},
    {16, "AbsoluteCompression", Stage::kAbsolute},
    {17, "TKRelative", Stage::kWhite},
    {18, "TKAbsolute", Stage::kCopy},
    {19, "RelativeLightness", Stage::kWhiteY},
    {21, "CustomRendering1", Stage::kCustom},
    {22, "CustomRendering2", Stage::kCustom},
    {23, "CustomRendering3", Stage::kCustom},
    {24, "CustomRendering4", Stage::kCustom},
    {25, "CustomRendering5", Stage::kCustom},
    {26, "MinimumBlackCompression", Stage::kMinBlack},
    {27, "MinimumWhiteCompression", Stage::kMinWhite},
    {28, "MinimumCompression", Stage::kMinBoth},
    {29, "XYZ Scaling", Stage::kBase},
    {30, "TKTestCompression", Stage::kTest},
};

const IntentRow* FindRow(int32_t code) {
    for (const IntentRow& row : kIntents)
        if (row.code == code) return &row;
    return nullptr;
}

template <class T, class... Args>
TKRefPtr<TKXYZTrafoBase> Make(Args&&... args) {
    return TKRefPtr<TKXYZTrafoBase>(new T(std::forward<Args>(args)...), true);
}

}  // namespace

const char* GetIntentName(int32_t code) {
    const IntentRow* row = FindRow(code);
    return row ? row->name : "Unknown RI";
}

int32_t GetIntentCode(const char* name) {
    if (!name) return -1;
    for (const IntentRow& row : kIntents)
        if (std::strcmp(row.name, name) == 0) return row.code;
    return -1;
}

TKString GetIntentNameList() {
    TKString list;
    for (const IntentRow& row : kIntents) {
        if (!list.IsEmpty()) list += '\t';
        list += row.name;
    }
    return list;
}

bool IsCustomIntent(int32_t code) { return code >= kTKCustomRendering1 && code <= kTKCustomRendering5; }

TKRefPtr<TKXYZTrafoBase> CreateXYZStage(int32_t code, bool smoothBlack) {
    const IntentRow* row = FindRow(code);
    switch (row ? row->stage : Stage::kCopy) {
        case Stage::kPerceptual: return Make<TKPercCompressionTrafo>(smoothBlack);
        // The relative intents adapt between whites with the plain XYZ scaling of code 0.
        case Stage::kWhite: return Make<TKWhiteXYZTrafo>(int32_t(0));
        case Stage::kAbsolute: return Make<TKAbsCompressionTrafo>(smoothBlack);
        case Stage::kCopy: return Make<TKDummyXYZTrafo>(smoothBlack);
        case Stage::kBlackCompensation: return Make<TKBlackCompensationTrafo>(smoothBlack);
        case Stage::kBrightener: return Make<TKBrightenerCorrectionTrafo>(2, smoothBlack);
        case Stage::kRelative: return Make<TKRelCompressionTrafo>(smoothBlack);
        case Stage::kWhiteY: return Make<TKWhiteYTrafo>(smoothBlack);
        case Stage::kCustom: return Make<TKCustomRenderingXYZTrafo>(code, smoothBlack);
        case Stage::kMinBlack: return Make<TKMinCompressionTrafo>(smoothBlack, true, false);
        case Stage::kMinWhite: return Make<TKMinCompressionTrafo>(smoothBlack, false, true);
        case Stage::kMinBoth: return Make<TKMinCompressionTrafo>(smoothBlack, true, true);
        case Stage::kBase: return Make<TKXYZTrafoBase>(smoothBlack);
        case Stage::kTest: return Make<TKTestCompressionTrafo>(smoothBlack);
    }
    return Make<TKDummyXYZTrafo>(smoothBlack);
}
