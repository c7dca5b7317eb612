// SPDX-License-Identifier: MIT
// ne10_neon.cpp - has the tests that it is linked with run Ne10's NEON code.

#include "fft.h"

#include <gtest/gtest.h>
#include <ne10/NE10.h>

namespace {

#ifndef __aarch64__
// Ne10 itself takes it where /proc/cpuinfo says "neon"; an emulator shows that of its host.
class Neon : public testing::Environment
{
    void SetUp() override
    {
        fft_start(); // once, so that it stays with what follows
        ne10_init_dsp(NE10_OK);
    }
};

const testing::Environment *const neon = testing::AddGlobalTestEnvironment(new Neon);
#endif

TEST(Ne10, RunsItsNeonCode)
{
    fft_start();
    EXPECT_EQ(ne10_fft_r2c_1d_float32, ne10_fft_r2c_1d_float32_neon);
    EXPECT_EQ(ne10_fft_c2r_1d_float32, ne10_fft_c2r_1d_float32_neon);
}

} // namespace
