// SPDX-License-Identifier: MIT
// recording.h - what a device delivers, kept as a WAV file.

#ifndef EZOSSL_TOOL_RECORDING_H
#define EZOSSL_TOOL_RECORDING_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "input/audio_file.h"
#include "output/pending_file.h"

// 16-bit samples. The file appears with finish().
class Recording
{
public:
    Recording(const std::string &path, int rate, int channels);

    // Interleaved; `count` per channel.
    void write(const int16_t *samples, std::size_t count);
    void finish();

private:
    [[noreturn]] void fail();

    PendingFile target_;
    SoundFile file_;
};

#endif
