// SPDX-License-Identifier: MIT
// input_bytes.h - reads the bytes of a sound file or of a pipe, and remembers why a read failed.
// Some decoders of libsndfile fill up what they cannot read with silence, and report no error.

#ifndef EZOSSL_TOOL_INPUT_BYTES_H
#define EZOSSL_TOOL_INPUT_BYTES_H

#include <cstddef>
#include <cstdint>

#include <sndfile.h>

#include "base/descriptor.h"
#include "base/sound_file.h"

class InputBytes
{
public:
    explicit InputBytes(Descriptor descriptor);
    InputBytes(const InputBytes &) = delete;
    InputBytes &operator=(const InputBytes &) = delete;

    // Reads fewer bytes only at the end, on an interrupt, or if it fails.
    size_t read(void *bytes, size_t count);

    // As lseek(), which fails for a pipe.
    int64_t seek(int64_t offset, int whence);

    // The largest number if the input is a pipe.
    int64_t size();

    // From the first byte of a file, or from the next one of a pipe. This object must outlive it.
    SoundFile open_sound(SF_INFO &info);

    int descriptor() const { return descriptor_.get(); }
    bool is_pipe() const { return is_pipe_; }
    int failure() const { return failure_; } // an errno; 0 if nothing has failed

private:
    void note_failure();

    Descriptor descriptor_;
    int failure_ = 0;
    bool is_pipe_;
};

#endif
