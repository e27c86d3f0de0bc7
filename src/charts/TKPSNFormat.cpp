// The PSN chart text.
#include "charts/TKPSNFormat.h"

#include <charconv>

#include "color/TKColors.h"
#include "io/TKDataBase.h"
#include "io/TKFile.h"

void PSNFormatMatrixReader::ReadString(const TKString& text) {
    TKDataBase base;
    base.FromText(text);
    if (!base.Exists("numPatches") || !base.Exists("PatchesColorspace"))
        TKThrowMsg(FormatErr, "A PSN chart needs \"numPatches\" and \"PatchesColorspace\"");
    const TKString space = base.GetString("PatchesColorspace");
    uint32_t type = GetTypeFromName(space);
    if (!type && space.Length() <= 4 && IsKnownSpace(TKString(space + "    ").Left(4).ToSignature()))
        type = TKString(space + "    ").Left(4).ToSignature();
    const int32_t channels = GetChannelCount(type);
    if (!type || channels < 1) TKThrowMsg(FormatErr, TKString::Format("PatchesColorspace \"%s\" is no colour type", space.CString()));
    const int32_t patches = base.GetInt("numPatches");
    const int32_t acquired = base.GetInt("numAcquiredPatches", patches);
    const TKRefPtr<TKDataBase> section = base.GetSubBase("Patches");
    const int32_t rows = section ? section->Count() : 0;
    if (patches < 0 || acquired < 0 || acquired > patches || rows != acquired)
        TKThrowMsg(FormatErr, TKString::Format("numPatches %d, numAcquiredPatches %d and %d patches in \"Patches\" disagree",
                                               patches, acquired, rows));
    TKMatrix matrix(rows, channels, int32_t(type));
    for (int32_t r = 0; r < rows; ++r) {
        const TKString values = section->Value(r);
        const char* p = values.CString();
        const char* end = p + values.Length();
        int32_t c = 0;
        for (;;) {
            while (p < end && (*p == ' ' || *p == '\t' || *p == ';' || *p == ',')) ++p;
            if (p >= end) break;
            double value = 0;
            const auto result = std::from_chars(p, end, value);
            if (result.ec != std::errc() || c >= channels)
                TKThrowMsg(FormatErr, TKString::Format("Patch \"%s\" is no %s colour: \"%s\"", section->Key(r).CString(),
                                                       GetTypeName(type).CString(), values.CString()));
            matrix(r, c++) = value;
            p = result.ptr;
        }
        if (c != channels)
            TKThrowMsg(FormatErr, TKString::Format("Patch \"%s\" has %d of %d values", section->Key(r).CString(), c, channels));
    }
    fMatrix = matrix;
    fPatches = patches;
}

void PSNFormatMatrixReader::ReadFile(const TKFileSpec& spec) {
    TKFile file(spec, 1);
    TKString text;
    file.ReadString(text, -1);
    ReadString(text);
}
