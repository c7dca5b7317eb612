// SPDX-License-Identifier: MIT
// localizer.h - an instance of the library with its buffer, driven in the order that it asks for.

#ifndef EZOSSL_TOOL_LOCALIZER_H
#define EZOSSL_TOOL_LOCALIZER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "EzoSsl.h"

constexpr std::size_t kFrameSamples =
    static_cast<std::size_t>(EZOSSL_FRAME_LENGTH) * EZOSSL_MIC_COUNT;

struct LocalizerSettings {
    int sample_rate;   // Hz
    double spacing_cm; // of the microphones
    int temperature;   // degrees Celsius
    int gate_db;       // dB of full scale
    int block_frames;
};

// What the library says of a block.
struct BlockAnswer {
    const char *no_angle_because; // nullptr if there is an angle
    int angle;                    // degrees
    int accepted_frames;          // frames with a clear delay
};

class Localizer
{
public:
    // Failure if the library refuses the settings.
    explicit Localizer(const LocalizerSettings &settings);
    ~Localizer();
    Localizer(const Localizer &) = delete;
    Localizer &operator=(const Localizer &) = delete;

    void add_frame(const int16_t (&frame)[kFrameSamples]);
    // The answer to the frames since the last block, which start the next one.
    BlockAnswer finish_block();

private:
    std::vector<std::byte> buffer_;
    SslHandle *handle_;
    int accepted_frames_ = 0;
};

#endif
