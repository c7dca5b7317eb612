// SPDX-License-Identifier: MIT
// parallel_inputs.h - several inputs at a time, each in its own process, because the library draws
// from rand(), which is process-wide. The results come in the order of the inputs.

#ifndef EZOSSL_TOOL_PARALLEL_INPUTS_H
#define EZOSSL_TOOL_PARALLEL_INPUTS_H

#include <functional>
#include <string>
#include <vector>

#include "output/data_output.h"

constexpr int kMostJobs = 128; // so that open files stay below the usual limit of 1024

struct ParallelInputs {
    const std::vector<std::string> &inputs;
    int jobs;        // processes at a time; 0 is one for each processor
    bool has_header; // the first line of each input's results is a header, printed once for all
    bool quiet;

    // Does the work for each input. An input that fails prints nothing to the output, and does not
    // stop the others. Returns the exit status; `done` counts the inputs that did not fail.
    int run(DataOutput &output, const std::function<void(const std::string &)> &work,
            size_t &done) const;
};

#endif
