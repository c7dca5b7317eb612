// SPDX-License-Identifier: MIT
// wav_writer.h - a WAV file of 16-bit samples: a scene, or what a device delivers.

#ifndef EZOSSL_TOOL_WAV_WRITER_H
#define EZOSSL_TOOL_WAV_WRITER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/sound_file.h"
#include "output/pending_file.h"

class WavWriter
{
public:
    // Failure shows now if the file cannot be written. It appears with finish().
    WavWriter(const std::string &path, int rate, int channels);

    // Interleaved; `count` per channel.
    void write(const int16_t *samples, std::size_t count);
    void finish();

private:
    [[noreturn]] void fail();

    PendingFile target_;
    SoundFile file_;
};

#endif
