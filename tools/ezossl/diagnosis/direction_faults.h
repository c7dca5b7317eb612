// SPDX-License-Identifier: MIT
// direction_faults.h - faults that show in the band and the directions of the whole sound.

#ifndef EZOSSL_TOOL_DIRECTION_FAULTS_H
#define EZOSSL_TOOL_DIRECTION_FAULTS_H

#include <cstdint>
#include <vector>

#include "diagnosis/block_counts.h"
#include "diagnosis/diagnosis.h"

void find_band_limit(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                     Diagnosis &diagnosis);
// Measures the median direction, and compares it with the lag if nothing else is wrong.
void find_contradiction(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                        Diagnosis &diagnosis);
void find_few_directions(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                         const BlockCounts &counts, Diagnosis &diagnosis);

#endif
