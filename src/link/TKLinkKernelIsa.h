// Which instruction set the pixel kernels of links run on: the widest one this processor has,
// unless TINTARA_KERNELS=scalar in the environment or a forced choice (tests, benchmarks) says
// otherwise. Every instruction set gives the same output bits; only the speed differs.
#pragma once

#include <cstdint>
#include <vector>

// Builds for x86-64 with GCC or Clang carry the AVX2 kernels (compiled for AVX2 function by
// function, so the library still runs on any x86-64); other builds have the scalar ones only.
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define TK_LINK_HAS_AVX2 1
#else
#define TK_LINK_HAS_AVX2 0
#endif

// Compiles every function between the two for AVX2; only files whose functions run after a
// check of TKLinkIsaAvailable use them.
#if defined(__clang__)
#define TK_AVX2_FUNCTIONS_BEGIN _Pragma("clang attribute push(__attribute__((target(\"avx2\"))), apply_to = function)")
#define TK_AVX2_FUNCTIONS_END _Pragma("clang attribute pop")
#else
#define TK_AVX2_FUNCTIONS_BEGIN _Pragma("GCC push_options") _Pragma("GCC target(\"avx2\")")
#define TK_AVX2_FUNCTIONS_END _Pragma("GCC pop_options")
#endif

enum class TKLinkIsa : uint8_t {
    kScalar,  // one pixel at a time, on any processor
    kAvx2,    // eight pixels per step, x86-64 with AVX2
};

// The name of an instruction set as TINTARA_KERNELS takes it: "scalar", "avx2".
const char* TKLinkIsaName(TKLinkIsa isa);

// True if this build has kernels for `isa` and this processor can run them.
bool TKLinkIsaAvailable(TKLinkIsa isa);

// Every instruction set TKLinkIsaAvailable accepts, scalar first.
std::vector<TKLinkIsa> TKLinkAvailableIsas();

// The instruction set the kernels use now: the forced one, else the environment's choice when
// it names an available set, else the widest available. Read once, then one atomic load.
TKLinkIsa TKLinkKernelIsa();

// Forces the kernels onto `isa` for the whole process; ArgErr if it isn't available.
void TKLinkForceKernelIsa(TKLinkIsa isa);
// Returns to the choice of the environment and the processor.
void TKLinkReleaseKernelIsa();
