// SPDX-License-Identifier: MIT
// wav_header.h - what the header of a WAV file says, even if the file has another length.
// libsndfile corrects the length silently, and believes the length of 0 that streaming programs
// write.

#ifndef EZOSSL_TOOL_WAV_HEADER_H
#define EZOSSL_TOOL_WAV_HEADER_H

#include <cstdint>
#include <optional>
#include <string>

#include "input/input_bytes.h"

struct WavHeader {
    int encoding; // SF_FORMAT_PCM_16 and the like; 0 is an unusual one
    int64_t rate; // Hz; any number if the header is damaged
    int channels;
    int bytes_per_sample; // of one channel
    int64_t data_bytes;   // 0 if the header does not say it

    bool is_plain() const { return encoding != 0; }
    bool is_streamed() const { return data_bytes == 0; }
    int64_t bytes_per_frame() const { return int64_t{channels} * bytes_per_sample; }
    int64_t frames() const { return data_bytes / bytes_per_frame(); }
};

// The first bytes of a file; fewer if it is shorter.
std::string read_start(InputBytes &bytes);

// Continues to read after this start, up to the first sample. Nothing if this is not a WAV file, or
// one that ends before its samples.
std::optional<WavHeader> read_wav_header(InputBytes &bytes, const std::string &start);

#endif
