// SPDX-License-Identifier: MIT
// frame_source.h - converts every kind of input to the frames that the library takes. Opens
// nothing: a file or a device is opened as a SampleStream.

#ifndef EZOSSL_TOOL_FRAME_SOURCE_H
#define EZOSSL_TOOL_FRAME_SOURCE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/frame.h"
#include "input/channels.h"
#include "input/input_layout.h"
#include "input/pair_source.h"
#include "input/sample_stream.h"

// What the user asks for.
struct InputSettings {
    ChannelChoice channels;
    int rate = 0; // Hz at which the input is analysed; 0 lets analysis_rate() decide
};

class FrameSource
{
public:
    // `band_limit` is the frequency in Hz above which the stream is known to have no sound. Failure
    // if the stream does not have the channels.
    FrameSource(std::unique_ptr<SampleStream> stream, const InputSettings &settings,
                std::optional<int> band_limit = std::nullopt);

    // Choose the part to read, before reading; see PairSource.
    void skip_to(double seconds) { pairs_.skip_to(seconds); }
    void end_after(double seconds) { pairs_.end_after(seconds); }
    void end_with_interrupts(int count) { pairs_.end_with_interrupts(count); }

    const SampleStream &stream() const { return pairs_.stream(); }
    InputLayout layout() const;
    double start() const { return pairs_.start(); }     // second that skip_to() was told, or 0
    double seconds() const { return pairs_.seconds(); } // of the stream, read so far
    std::string progress() const;                       // seconds() as text: "a.wav: 3 s of 9 s"
    int rate() const { return rate_; }                  // Hz, of the frames
    std::optional<int> band_limit() const { return band_limit_; }

    // False at the end; a remainder that is shorter than a frame stays unread.
    bool read(Frame &frame);
    // All pairs up to the end, including a remainder that is shorter than a frame. Calls `at_work`
    // after each chunk of the stream.
    std::vector<int16_t> read_all(const std::function<void()> &at_work = [] {});

    // At the end: whether end_after() cut something off. Takes a sample from the stream to see.
    bool is_cut() { return pairs_.is_cut(); }

    int64_t read_pairs() const { return read_pairs_; } // so far, including the unread rest
    size_t unread_pairs() const { return (ready_.size() - used_) / EZOSSL_MIC_COUNT; }
    int64_t clamped() const { return clamped_; } // samples beyond full scale

    // Notes for the user before and after reading, without empty ones.
    std::vector<std::string> opening_remarks() const;
    std::string length_remark() const;

private:
    bool refill();
    std::string band_remark() const;
    std::string rate_remark() const;

    Microphones microphones_;
    int wanted_rate_; // 0 is not given
    std::optional<int> band_limit_;
    int rate_;
    PairSource pairs_;
    std::vector<int16_t> ready_;
    size_t used_ = 0; // samples of these
    int64_t read_pairs_ = 0;
    int64_t clamped_ = 0;
};

#endif
