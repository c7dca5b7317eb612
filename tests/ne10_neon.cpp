// SPDX-License-Identifier: MIT
// ne10_neon.cpp - makes the tests that it is linked with run Ne10's NEON code.

#include "fft.h"

#include <gtest/gtest.h>
#include <ne10/NE10.h>

namespace {

#ifndef __aarch64__
// Ne10 itself uses it if /proc/cpuinfo says "neon", but an emulator shows that of its host.
class Neon : public testing::Environment
{
    void SetUp() override
    {
        fft_start(); // runs only once, so it cannot undo the next call
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
