// Run-time choice of the pixel kernels' instruction set by processor features.
#include "link/TKLinkKernelIsa.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "foundation/TKError.h"

namespace {

constexpr int32_t kUnchosen = -1;

// What the environment and the processor give; computed on first use.
TKLinkIsa NaturalIsa() {
    static const TKLinkIsa natural = [] {
        const char* wanted = std::getenv("TINTARA_KERNELS");
        for (TKLinkIsa isa : {TKLinkIsa::kScalar, TKLinkIsa::kAvx2})
            if (wanted && std::strcmp(wanted, TKLinkIsaName(isa)) == 0 && TKLinkIsaAvailable(isa)) return isa;
        return TKLinkIsaAvailable(TKLinkIsa::kAvx2) ? TKLinkIsa::kAvx2 : TKLinkIsa::kScalar;
    }();
    return natural;
}

std::atomic<int32_t> gForcedIsa{kUnchosen};

}  // namespace

const char* TKLinkIsaName(TKLinkIsa isa) {
    switch (isa) {
        case TKLinkIsa::kScalar: return "scalar";
        case TKLinkIsa::kAvx2: return "avx2";
    }
    return "unknown";
}

bool TKLinkIsaAvailable(TKLinkIsa isa) {
    switch (isa) {
        case TKLinkIsa::kScalar: return true;
        case TKLinkIsa::kAvx2:
#if TK_LINK_HAS_AVX2
            // The runtime's check covers the operating system's support of the wide registers.
            return __builtin_cpu_supports("avx2");
#else
            return false;
#endif
    }
    return false;
}

std::vector<TKLinkIsa> TKLinkAvailableIsas() {
    std::vector<TKLinkIsa> isas;
    for (TKLinkIsa isa : {TKLinkIsa::kScalar, TKLinkIsa::kAvx2})
        if (TKLinkIsaAvailable(isa)) isas.push_back(isa);
    return isas;
}

TKLinkIsa TKLinkKernelIsa() {
    const int32_t forced = gForcedIsa.load(std::memory_order_relaxed);
    return forced == kUnchosen ? NaturalIsa() : TKLinkIsa(forced);
}

void TKLinkForceKernelIsa(TKLinkIsa isa) {
    if (!TKLinkIsaAvailable(isa)) TKThrowMsg(ArgErr, "this processor can't run the kernels of that instruction set");
    gForcedIsa.store(int32_t(isa), std::memory_order_relaxed);
}

void TKLinkReleaseKernelIsa() { gForcedIsa.store(kUnchosen, std::memory_order_relaxed); }
