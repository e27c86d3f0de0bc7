// The fixture of the host's end-to-end tests: runs the executable in a private directory and
// reads its results back.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../HostSupport.h"
#include "../Image.h"
#include "../SampleCoding.h"
#include "tintara.h"

namespace hosttest {

inline std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

inline const std::string kExe = Env("TINTARA_EXE");
inline const std::string kLinks = Env("TINTARA_TEST_LINKS");
inline const std::string kData = Env("TINTARA_TOOLS_DATA");

struct Result {
    int code;
    std::string out, err;
};

inline std::string Slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

class Host : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(kExe.empty()) << "TINTARA_EXE is not set";
        char pattern[] = "/tmp/tintara-host-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir_ = pattern;
    }
    void TearDown() override {
        if (!dir_.empty()) std::system(("chmod -R u+w '" + dir_ + "' && rm -rf '" + dir_ + "'").c_str());
    }
    std::string Path(const std::string& name) const { return dir_ + "/" + name; }
    std::string Link(const std::string& name) const { return kLinks + "/" + name; }

    // Runs the host with `arguments` (shell words), feeding `input` to stdin.
    Result Run(const std::string& arguments, const std::string& input = "") const {
        const std::string out = Path(".stdout"), err = Path(".stderr"), in = Path(".stdin");
        std::ofstream(in) << input;
        const int status =
            std::system(("'" + kExe + "' " + arguments + " <'" + in + "' >'" + out + "' 2>'" + err + "'").c_str());
        Result result{WIFEXITED(status) ? WEXITSTATUS(status) : -1, Slurp(out), Slurp(err)};
        std::remove(out.c_str()), std::remove(err.c_str()), std::remove(in.c_str());
        return result;
    }

    // Files in the work directory, to see that a failed job left nothing behind.
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        if (DIR* d = opendir(dir_.c_str())) {
            while (dirent* entry = readdir(d))
                if (entry->d_name[0] != '.') names.push_back(entry->d_name);
            closedir(d);
        }
        return names;
    }

    std::string dir_;
};

// A sample of an image, whatever its layout and depth.
inline uint32_t Sample(const host::Image& image, uint32_t x, uint32_t y, uint16_t s) {
    const uint64_t pixel = uint64_t(y) * image.width + x;
    const uint64_t at = image.planar ? pixel : pixel * image.samples + s;
    const auto& plane = image.planes[image.planar ? s : 0];
    if (image.bits == 8) return plane[at];
    uint16_t value;
    std::memcpy(&value, &plane[at * 2], 2);
    return value;
}

// A sample as the engine's links take it: gray that stores light turned into ink.
inline uint32_t EngineSample(const host::Image& image, uint32_t x, uint32_t y, uint16_t s) {
    const uint32_t value = Sample(image, x, y, s);
    return host::StoresLight(image) ? (image.bits == 16 ? 65535u : 255u) - value : value;
}

// Natural units of a device type on the library's side: RGB 0-255, everything else 0-100.
inline double Scale(uint32_t type) { return type == 0x52474220 ? 255.0 : 100.0; }

struct LoadedLink {
    TKLinkRef ref;
    explicit LoadedLink(const std::string& path) : ref(TKNewTKLink16Ref()) {
        TKFileSpec* spec = TKName2FileSpec(TKNewFileSpecRef(), path.c_str());
        EXPECT_EQ(TKLoadLink16(ref, spec), 0) << path;
        TKFreeFileSpecRef(spec);
    }
    ~LoadedLink() { TKFreeTKLink16Ref(ref); }
};

// Holds every `step`-th pixel of `out` against TKDoTrafo of the link on the same pixel of `in`;
// returns the largest difference in output units.
inline double LargestDifference(const std::string& linkPath, const host::Image& in, const host::Image& out, uint32_t step) {
    LoadedLink link(linkPath);
    const int32_t srcDim = TKGetTrafoSrcDim(link.ref), dstDim = TKGetTrafoDstDim(link.ref);
    const double inScale = Scale(TKGetTrafoSrcType(link.ref)), outScale = Scale(TKGetTrafoDstType(link.ref));
    const double full = in.bits == 16 ? 65535.0 : 255.0;
    double largest = 0;
    for (uint32_t y = 0; y < in.height; y += step)
        for (uint32_t x = (y * 7) % step; x < in.width; x += step) {
            double src[16], dst[16];
            for (int32_t c = 0; c < srcDim; ++c) src[c] = EngineSample(in, x, y, uint16_t(c)) / full * inScale;
            EXPECT_EQ(TKDoTrafo(link.ref, src, dst), 0);
            for (int32_t o = 0; o < dstDim; ++o)
                largest = std::max(largest, std::fabs(EngineSample(out, x, y, uint16_t(o)) - dst[o] / outScale * full));
        }
    return largest;
}

inline void ExpectOneLineError(const Result& r, const std::string& mentions) {
    EXPECT_EQ(r.code, 1) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_NE(r.err.find(mentions), std::string::npos) << r.err;
}

}  // namespace hosttest

using namespace hosttest;
