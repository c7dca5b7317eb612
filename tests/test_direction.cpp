// SPDX-License-Identifier: MIT
// test_direction.cpp - what a reset of the votes leaves, byte by byte.

#include "support.h"

#include <cstring>
#include <gtest/gtest.h>

namespace {

TEST(Direction, TheResetEmptiesTheVotesAndNothingElse)
{
    Instance ssl(Instance::kRunning);
    Instance expected(Instance::kRunning);
    for (SslHandle *const each : {ssl.get(), expected.get()}) {
        int32_t angle;
        each->vote_count[0][9] = 1;
        each->vote_count[0][2] = 20;
        each->vote_delay_sum[0][2] = 15;
        each->energy_sum = 1e4f;
        EXPECT_EQ(EzoSsl_Get_Direction(each, &angle), 0);
        each->direction_vector[0] = each->direction_vector[1] = 1;
    }
    std::memset(expected->vote_count, 0, sizeof expected->vote_count);
    std::memset(expected->vote_delay_sum, 0, sizeof expected->vote_delay_sum);
    for (float *field :
         {&expected->frame_energy, &expected->energy_sum, &expected->cos_ratio[0],
          &expected->cos_ratio_sum, &expected->cos_ratio_mean, &expected->pair_weight[0],
          &expected->pair_weight_sum, &expected->weighted_cos, &expected->direction_vector[0],
          &expected->direction_vector[1]})
        *field = 0;
    expected->order.direction_state = 2;
    expected->order.mapping_state = 1;
    EXPECT_EQ(EzoSsl_Reset_Mapping(ssl), 0);
    ssl->fft.fft_cfg = expected->fft.fft_cfg = nullptr;
    EXPECT_EQ(std::memcmp(ssl.get(), expected.get(), 15908), 0);
}

} // namespace
