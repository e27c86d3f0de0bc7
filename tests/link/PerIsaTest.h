// Test suites that run once per instruction set the processor has, with the pixel kernels (and
// everything else that picks its instruction set the same way) forced onto it.
#pragma once

#include <gtest/gtest.h>

#include "link/TKLinkKernelIsa.h"

class PerIsaTest : public ::testing::TestWithParam<TKLinkIsa> {
protected:
    void SetUp() override { TKLinkForceKernelIsa(GetParam()); }
    void TearDown() override { TKLinkReleaseKernelIsa(); }
};

#define TK_INSTANTIATE_PER_ISA(Suite)                                              \
    INSTANTIATE_TEST_SUITE_P(Isa, Suite, ::testing::ValuesIn(TKLinkAvailableIsas()), \
                             [](const ::testing::TestParamInfo<TKLinkIsa>& info) { return TKLinkIsaName(info.param); })
