// SPDX-License-Identifier: MIT
// resampler.h - a stream of sample couples at another rate. Both microphones go through the same
// call, so that nothing comes between them.

#ifndef EZOSSL_TOOL_RESAMPLER_H
#define EZOSSL_TOOL_RESAMPLER_H

#include <cstddef>
#include <memory>
#include <vector>

#include <samplerate.h>

class Resampler
{
public:
    Resampler(int from_rate, int to_rate);

    // Couples in, and those that they complete. With `is_last`, also what was held back.
    const std::vector<float> &process(const float *samples, std::size_t couples, bool is_last);

private:
    struct Delete {
        void operator()(SRC_STATE *state) const { src_delete(state); }
    };
    double ratio_;
    std::unique_ptr<SRC_STATE, Delete> state_;
    std::vector<float> result_;
};

#endif
