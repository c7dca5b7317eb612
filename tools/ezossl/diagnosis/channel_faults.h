// SPDX-License-Identifier: MIT
// channel_faults.h - faults of the channels by themselves. Both take Diagnosis::channels and add
// what they find.

#ifndef EZOSSL_TOOL_CHANNEL_FAULTS_H
#define EZOSSL_TOOL_CHANNEL_FAULTS_H

#include <cstdint>
#include <vector>

#include "diagnosis/diagnosis.h"

// Faults that make further checks useless; true if there is one.
bool find_missing_sound(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                        Diagnosis &diagnosis);
void find_channel_faults(const DiagnosisSettings &settings, Diagnosis &diagnosis);

#endif
