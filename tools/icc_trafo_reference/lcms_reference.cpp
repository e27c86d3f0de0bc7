// Reference values for the profile-to-trafo tests, computed by Little CMS 2 (an independent
// engine) on the same profiles. Builds and runs by hand:
//   g++ -O2 -o /tmp/lcms_reference lcms_reference.cpp -llcms2
//   /tmp/lcms_reference <tests/data dir>
// It writes icc-trafo/lcms-reference.csv and icc-trafo/lcms-blackpoints.csv, and the v4 CMYK
// profile icc-trafo/FOGRA39L-v4-mAB.icc (FOGRA39L resampled by Little CMS into "mAB "/"mBA "
// tables with v4 Lab encoding).
// Units as the engine under test uses them: inks 0..100, RGB 0..255, gray 0 (white)..100 (black), Lab.
#include <lcms2.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

struct Case {
    const char* name;  // file under tests/data
};

uint32_t gSeed = 12345;
double Random() {  // a fixed LCG, so the CSV is reproducible
    gSeed = gSeed * 1664525u + 1013904223u;
    return double(gSeed >> 8) / double(1u << 24);
}

int Channels(cmsColorSpaceSignature space) { return cmsChannelsOf(space); }

cmsUInt32Number DeviceFormat(cmsColorSpaceSignature space) {
    switch (space) {
        case cmsSigCmykData: return TYPE_CMYK_DBL;
        case cmsSigRgbData: return TYPE_RGB_DBL;
        case cmsSigGrayData: return TYPE_GRAY_DBL;
        case cmsSigLabData: return TYPE_Lab_DBL;
        default: return 0;
    }
}

// lcms device doubles <-> the engine's units.
double ToEngine(cmsColorSpaceSignature space, double v) {
    if (space == cmsSigRgbData) return v * 255.0;
    if (space == cmsSigGrayData) return 100.0 - v * 100.0;
    return v;
}
double FromEngine(cmsColorSpaceSignature space, double v) {
    if (space == cmsSigRgbData) return v / 255.0;
    if (space == cmsSigGrayData) return (100.0 - v) / 100.0;
    return v;
}

double RandomEngine(cmsColorSpaceSignature space) {
    if (space == cmsSigRgbData) return Random() * 255.0;
    return Random() * 100.0;
}

void RandomLab(double lab[3]) {
    lab[0] = Random() * 100.0;
    lab[1] = Random() * 160.0 - 80.0;
    lab[2] = Random() * 160.0 - 80.0;
}

void Dump(FILE* out, const char* name, const char* direction, int intent, const double* in, int inCount,
          const double* res, int outCount) {
    fprintf(out, "%s,%s,%d", name, direction, intent);
    for (int i = 0; i < 4; ++i) fprintf(out, ",%.6f", i < inCount ? in[i] : 0.0);
    for (int i = 0; i < 4; ++i) fprintf(out, ",%.6f", i < outCount ? res[i] : 0.0);
    fprintf(out, "\n");
}

void Profile(FILE* out, FILE* bp, const std::string& dir, const char* name, int samples) {
    cmsHPROFILE profile = cmsOpenProfileFromFile((dir + "/" + name).c_str(), "r");
    if (!profile) {
        fprintf(stderr, "cannot open %s\n", name);
        return;
    }
    const cmsColorSpaceSignature space = cmsGetColorSpace(profile);
    const cmsColorSpaceSignature pcs = cmsGetPCS(profile);
    const bool link = cmsGetDeviceClass(profile) == cmsSigLinkClass;
    const int inCh = Channels(space);
    const int outCh = Channels(link ? pcs : cmsSigLabData);
    // The Lab side as a v2 profile: Little CMS then applies no black point scaling of its own.
    cmsHPROFILE lab = cmsCreateLab2Profile(nullptr);
    for (int intent = 0; intent < 4; ++intent) {
        if (link && intent > 0) break;
        cmsHTRANSFORM a2b = link ? cmsCreateTransform(profile, DeviceFormat(space), nullptr, DeviceFormat(pcs), intent, cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE)
                                 : cmsCreateTransform(profile, DeviceFormat(space), lab, TYPE_Lab_DBL, intent, cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
        if (a2b) {
            for (int s = 0; s < samples; ++s) {
                double in[4], lcmsIn[4], res[4];
                for (int c = 0; c < inCh; ++c) {
                    in[c] = RandomEngine(space);
                    lcmsIn[c] = FromEngine(space, in[c]);
                }
                cmsDoTransform(a2b, lcmsIn, res, 1);
                if (link)
                    for (int c = 0; c < outCh; ++c) res[c] = ToEngine(pcs, res[c]);
                Dump(out, name, "A2B", intent, in, inCh, res, outCh);
            }
            cmsDeleteTransform(a2b);
        }
        if (link) continue;
        cmsHTRANSFORM b2a = cmsCreateTransform(lab, TYPE_Lab_DBL, profile, DeviceFormat(space), intent, cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
        if (b2a) {
            for (int s = 0; s < samples; ++s) {
                double in[3], res[4];
                RandomLab(in);
                cmsDoTransform(b2a, in, res, 1);
                for (int c = 0; c < inCh; ++c) res[c] = ToEngine(space, res[c]);
                Dump(out, name, "B2A", intent, in, 3, res, inCh);
            }
            cmsDeleteTransform(b2a);
        }
        if (!link && intent < 3) {
            cmsCIEXYZ black, dest;
            cmsDetectBlackPoint(&black, profile, intent, 0);
            cmsDetectDestinationBlackPoint(&dest, profile, intent, 0);
            fprintf(bp, "%s,%d,%.6f,%.6f,%.6f,%.6f,%.6f,%.6f\n", name, intent, black.X * 100, black.Y * 100,
                    black.Z * 100, dest.X * 100, dest.Y * 100, dest.Z * 100);
        }
    }
    cmsCloseProfile(lab);
    cmsCloseProfile(profile);
}

// FOGRA39L as a v4 profile with "mAB "/"mBA " tables sampled by Little CMS (v4 Lab encoding).
void MakeV4(const std::string& dir) {
    cmsHPROFILE src = cmsOpenProfileFromFile((dir + "/icc/FOGRA39L-cmyk-v2.icc").c_str(), "r");
    cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
    cmsHPROFILE v4 = cmsCreateProfilePlaceholder(nullptr);
    cmsSetProfileVersion(v4, 4.3);
    cmsSetDeviceClass(v4, cmsSigOutputClass);
    cmsSetColorSpace(v4, cmsSigCmykData);
    cmsSetPCS(v4, cmsSigLabData);
    cmsWriteTag(v4, cmsSigMediaWhitePointTag, cmsD50_XYZ());
    cmsMLU* desc = cmsMLUalloc(nullptr, 1);
    cmsMLUsetASCII(desc, "en", "US", "FOGRA39L v4 test tables");
    cmsWriteTag(v4, cmsSigProfileDescriptionTag, desc);
    cmsMLUfree(desc);
    for (int intent = 0; intent < 3; ++intent) {
        const cmsTagSignature a2bTag = cmsTagSignature(cmsSigAToB0Tag + intent);
        const cmsTagSignature b2aTag = cmsTagSignature(cmsSigBToA0Tag + intent);
        cmsHTRANSFORM fwd = cmsCreateTransform(src, TYPE_CMYK_16, lab, TYPE_Lab_16, intent, cmsFLAGS_NOOPTIMIZE);
        cmsPipeline* a2b = cmsPipelineAlloc(nullptr, 4, 3);
        cmsStage* clut = cmsStageAllocCLut16bit(nullptr, 11, 4, 3, nullptr);
        cmsStageSampleCLut16bit(clut, [](const cmsUInt16Number in[], cmsUInt16Number out[], void* cargo) -> cmsInt32Number {
            cmsDoTransform(static_cast<cmsHTRANSFORM>(cargo), in, out, 1);
            return 1;
        }, fwd, 0);
        cmsPipelineInsertStage(a2b, cmsAT_END, cmsStageAllocToneCurves(nullptr, 4, nullptr));
        cmsPipelineInsertStage(a2b, cmsAT_END, clut);
        cmsPipelineInsertStage(a2b, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
        cmsWriteTag(v4, a2bTag, a2b);
        cmsPipelineFree(a2b);
        cmsDeleteTransform(fwd);

        cmsHTRANSFORM back = cmsCreateTransform(lab, TYPE_Lab_16, src, TYPE_CMYK_16, intent, cmsFLAGS_NOOPTIMIZE);
        cmsPipeline* b2a = cmsPipelineAlloc(nullptr, 3, 4);
        cmsStage* clut2 = cmsStageAllocCLut16bit(nullptr, 17, 3, 4, nullptr);
        cmsStageSampleCLut16bit(clut2, [](const cmsUInt16Number in[], cmsUInt16Number out[], void* cargo) -> cmsInt32Number {
            cmsDoTransform(static_cast<cmsHTRANSFORM>(cargo), in, out, 1);
            return 1;
        }, back, 0);
        cmsPipelineInsertStage(b2a, cmsAT_END, cmsStageAllocToneCurves(nullptr, 3, nullptr));
        cmsPipelineInsertStage(b2a, cmsAT_END, clut2);
        cmsPipelineInsertStage(b2a, cmsAT_END, cmsStageAllocToneCurves(nullptr, 4, nullptr));
        cmsWriteTag(v4, b2aTag, b2a);
        cmsPipelineFree(b2a);
        cmsDeleteTransform(back);
    }
    cmsSaveProfileToFile(v4, (dir + "/icc-trafo/FOGRA39L-v4-mAB.icc").c_str());
    cmsCloseProfile(v4);
    cmsCloseProfile(lab);
    cmsCloseProfile(src);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: lcms_reference <tests/data>\n");
        return 1;
    }
    const std::string dir = argv[1];
    MakeV4(dir);
    FILE* out = fopen((dir + "/icc-trafo/lcms-reference.csv").c_str(), "w");
    FILE* bp = fopen((dir + "/icc-trafo/lcms-blackpoints.csv").c_str(), "w");
    if (!out || !bp) return 1;
    fprintf(out, "# Little CMS %d, cmsCreateTransform with a v2 Lab profile, no optimisation, double formats\n", LCMS_VERSION);
    fprintf(out, "# profile,direction,intent,in0..in3,out0..out3\n");
    fprintf(bp, "# Little CMS %d: cmsDetectBlackPoint and cmsDetectDestinationBlackPoint, XYZ times 100\n", LCMS_VERSION);
    const char* profiles[] = {"icc/FOGRA39L-cmyk-v2.icc", "icc-trafo/FOGRA29L.icc", "icc/sRGB-v2.icc", "icc/sRGB-v4.icc",
                              "icc/Gray-v2.icc", "icc/GrayLab-v2.icc", "icc-trafo/FOGRA39L-v4-mAB.icc",
                              "icc/FOGRA39-to-FOGRA29-link-v2.icc", "icc/sRGB-to-FOGRA39-link-v2.icc"};
    for (const char* name : profiles) Profile(out, bp, dir, name, 100);
    fclose(out);
    fclose(bp);
    return 0;
}
