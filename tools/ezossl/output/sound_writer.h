// SPDX-License-Identifier: MIT
// sound_writer.h - a file of 16-bit samples: a scene, or what a device delivers.

#ifndef EZOSSL_TOOL_SOUND_WRITER_H
#define EZOSSL_TOOL_SOUND_WRITER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/sound_file.h"
#include "output/pending_file.h"

// FLAC if the name ends in .flac, otherwise WAV.
class SoundWriter
{
public:
    enum class Length {
        bounded, // to less than the 4 GiB that plain WAV can hold
        open,    // RF64, which is plain WAV as long as it is small enough
    };

    // Failure shows now if the file cannot be written. It appears with finish(). Of open length, it
    // can be read up to its last second even if the program is killed before that.
    SoundWriter(const std::string &path, int rate, int channels, Length length);

    // Interleaved; `count` per channel.
    void write(const int16_t *samples, std::size_t count);
    void finish();

private:
    [[noreturn]] void fail();

    PendingFile target_;
    SoundFile file_;
    bool keeps_header_ = false; // true to the samples
    std::size_t update_after_;  // samples per channel: a second of them
    std::size_t since_update_ = 0;
};

#endif
