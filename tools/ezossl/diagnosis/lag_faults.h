// SPDX-License-Identifier: MIT
// lag_faults.h - faults in the relation of the two channels.

#ifndef EZOSSL_TOOL_LAG_FAULTS_H
#define EZOSSL_TOOL_LAG_FAULTS_H

#include <cstdint>
#include <vector>

#include "diagnosis/diagnosis.h"

// Measures the lag, segment by segment, and adds what is wrong with it.
void compare_channels(const std::vector<int16_t> &samples, const DiagnosisSettings &settings,
                      Diagnosis &diagnosis);

#endif
