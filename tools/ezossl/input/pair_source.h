// SPDX-License-Identifier: MIT
// pair_source.h - the two microphones of a stream at the wanted rate: picks their channels,
// resamples them, and ends where the user wants it.

#ifndef EZOSSL_TOOL_PAIR_SOURCE_H
#define EZOSSL_TOOL_PAIR_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "input/channels.h"
#include "input/resampler.h"
#include "input/sample_stream.h"

class PairSource
{
public:
    // The microphones are channels of the stream, from 0; the rate is in Hz.
    PairSource(std::unique_ptr<SampleStream> stream, const Microphones &microphones, int rate);

    // Reading ends at once after this many interrupts. Without this call, one is enough.
    void end_with_interrupts(int count) { interrupts_to_end_ = count; }
    // Skips to this second of the stream, or to an interrupt. Failure if the stream ends before.
    void skip_to(double seconds);
    // Makes reading end this many seconds after the current position.
    void end_after(double seconds);

    // The next pairs, full scale 1, microphone 0 first; empty if there are none for a moment,
    // nullptr at the end. The last ones are those that the resampler holds back, unless an
    // interrupt ended the reading.
    const std::vector<float> *read();

    const SampleStream &stream() const { return *stream_; }
    int64_t position() const { return position_; } // samples per channel taken from the stream
    double seconds() const { return static_cast<double>(position_) / stream_->rate(); }
    double start() const { return start_; } // second that skip_to() was told, or 0
    std::optional<double> end() const; // second of the stream at which reading ends, if it is known
    bool is_at_limit() const { return position_ == limit_; } // of end_after()
    // At the end: whether end_after() cut something off. Takes a sample from the stream to see.
    bool is_cut();

private:
    std::optional<size_t> read_until(int64_t end);
    int64_t samples_in(double seconds) const;

    std::unique_ptr<SampleStream> stream_;
    Microphones microphones_;
    std::optional<Resampler> resampler_;
    std::vector<float> chunk_; // of the stream
    std::vector<float> pairs_; // of the microphones, at the stream's rate
    double start_ = 0.0;
    int64_t position_ = 0;
    int64_t limit_ = std::numeric_limits<int64_t>::max();
    int interrupts_to_end_ = 1;
    bool is_over_ = false;
};

#endif
