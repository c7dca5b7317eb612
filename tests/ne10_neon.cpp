// SPDX-License-Identifier: MIT
// ne10_neon.cpp - lets Ne10's NEON code be tested where Ne10 itself would not take it: it looks for
// "neon" in /proc/cpuinfo, where an emulator shows its host and 64-bit Arm another word.

#include "fft.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <ne10/NE10.h>

namespace {

class Neon : public testing::Environment
{
    void SetUp() override
    {
        if (std::getenv("EZOSSL_NE10_NEON") == nullptr)
            return;
        fft_start(); // once, so that it stays with what follows
        ne10_init_dsp(NE10_OK);
        ASSERT_EQ(ne10_fft_r2c_1d_float32, ne10_fft_r2c_1d_float32_neon);
    }
};

const testing::Environment *const neon = testing::AddGlobalTestEnvironment(new Neon);

} // namespace
