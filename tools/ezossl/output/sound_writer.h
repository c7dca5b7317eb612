// SPDX-License-Identifier: MIT
// sound_writer.h - writes a file of 16-bit samples: a scene, or the sound of a device.

#ifndef EZOSSL_TOOL_SOUND_WRITER_H
#define EZOSSL_TOOL_SOUND_WRITER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

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

    // Failure if the file cannot be written. It appears with finish(); only then the samples go
    // into a pipe. A file of open length can be read up to its last second even if the program is
    // killed before that. PendingFile describes standard output.
    SoundWriter(const std::string &path, int rate, int channels, Length length,
                int standard_output = PendingFile::kNoStandardOutput);

    // Interleaved; `count` per channel.
    void write(const int16_t *samples, size_t count);
    // After a failed write the file appears only if its beginning can be read. The companions
    // appear with it.
    void finish(std::vector<PendingFile *> companions = {});

private:
    bool holds_sound() const;
    void pour();
    void require(bool is_done);

    PendingFile target_;
    SoundFile file_;
    Descriptor memory_; // holds what goes into a pipe, because libsndfile returns to the header
    bool keeps_header_ = false; // up to date with the samples
    size_t update_after_;       // samples per channel: a second of them
    size_t since_update_ = 0;
    bool has_failed_ = false;
};

#endif
