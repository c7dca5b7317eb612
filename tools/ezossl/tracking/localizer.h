// SPDX-License-Identifier: MIT
// localizer.h - an instance of the library with its buffer, called in the required order.

#ifndef EZOSSL_TOOL_LOCALIZER_H
#define EZOSSL_TOOL_LOCALIZER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "EzoSsl.h"
#include "base/frame.h"
#include "tracking/block.h"
#include "tracking/pair_geometry.h"
#include "tracking/random_numbers.h"

// The library's bf_mode.
enum class DelayMode { vote = 0, time_domain = 1 };

struct DelayModeName {
    DelayMode mode;
    const char *name;
};
constexpr DelayModeName kDelayModes[] = {{DelayMode::vote, "vote"},
                                         {DelayMode::time_domain, "delay"}};

constexpr int kLibraryBlockFrames = 32; // the length for which its thresholds are made

struct LocalizerSettings {
    int sample_rate;   // Hz
    double spacing_cm; // of the microphones
    int temperature;   // degrees Celsius
    int gate_db;       // dB of full scale
    int block_frames;
    DelayMode mode = DelayMode::vote;
    int gain_db = 0;
};

class Localizer
{
public:
    // The same frames give the same blocks. Failure if the library refuses the settings.
    explicit Localizer(const LocalizerSettings &settings);
    ~Localizer();
    Localizer(const Localizer &) = delete;
    Localizer &operator=(const Localizer &) = delete;

    void add_frame(const int16_t (&frame)[kFrameSamples]);
    bool is_block_complete() const { return frames() == settings_.block_frames; }
    // The result for the frames since the last block. The next frame starts another block. In the
    // time-domain mode every block is undecided.
    Block finish_block();

    // The delay of each frame of the block so far, EZOSSL_REJECTED_FRAME if it has no clear one.
    const std::vector<int> &delays() const { return delays_; }
    int frames() const { return static_cast<int>(delays_.size()); }
    double frame_seconds() const { return double{EZOSSL_FRAME_LENGTH} / settings_.sample_rate; }
    // Samples that the gain took beyond 16 bits, where they wrapped around.
    int64_t wrapped() const { return wrapped_; }

private:
    void amplify(int16_t (&frame)[kFrameSamples]);
    void begin_block();

    LocalizerSettings settings_;
    PairGeometry geometry_;
    int loudest_; // the largest sample that the gain leaves within 16 bits
    std::vector<std::byte> buffer_;
    SslHandle *handle_;
    RandomNumbers random_numbers_; // that the library draws
    std::vector<int> delays_;
    double energy_ = 0.0; // of the block, full scale 1
    int64_t blocks_ = 0;
    int64_t wrapped_ = 0;
};

#endif
