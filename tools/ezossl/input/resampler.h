// SPDX-License-Identifier: MIT
// resampler.h - a stream of sample pairs at another rate. Both microphones go through the same
// converter, so that both are delayed alike.

#ifndef EZOSSL_TOOL_RESAMPLER_H
#define EZOSSL_TOOL_RESAMPLER_H

#include <cstddef>
#include <memory>
#include <vector>

#include <soxr.h>

class Resampler
{
public:
    Resampler(int from_rate, int to_rate);

    // Takes pairs and returns those that they complete. The filter's delay is compensated: pair n
    // of the whole output belongs to the time n / to_rate. Up to 40 ms are held back; with
    // `is_last` they come out too, and nothing may follow.
    const std::vector<float> &process(const float *samples, size_t pairs, bool is_last);

private:
    struct Delete {
        void operator()(soxr *state) const { soxr_delete(state); }
    };
    struct Progress { // in pairs
        size_t used;
        size_t made;
    };
    // Appends to result_; called without samples, the held-back pairs.
    Progress convert(const float *samples, size_t pairs);

    double ratio_;
    std::unique_ptr<soxr, Delete> state_;
    std::vector<float> made_; // begins with the pairs of the last conversion
    std::vector<float> result_;
};

#endif
