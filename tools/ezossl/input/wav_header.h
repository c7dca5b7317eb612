// SPDX-License-Identifier: MIT
// wav_header.h - what the header of a WAV file says, whatever is behind it. libsndfile corrects the
// length in silence, and takes a length of 0, which programs write that stream, at its word.

#ifndef EZOSSL_TOOL_WAV_HEADER_H
#define EZOSSL_TOOL_WAV_HEADER_H

#include <cstdint>
#include <optional>

struct WavHeader {
    int encoding; // SF_FORMAT_PCM_16 and the like
    int rate;     // Hz
    int channels;
    int bytes_per_sample; // of one channel
    uint32_t data_bytes;

    // Whoever streams does not know the length, and writes 0 or the largest number it has.
    bool is_streamed() const { return data_bytes == 0 || data_bytes >= 0x7ffff000u; }
    int64_t bytes_per_frame() const { return int64_t{channels} * bytes_per_sample; }
    int64_t frames() const { return data_bytes / bytes_per_frame(); }
};

// Reads as far as the first sample. Nothing if this is no WAV file, or one of an unusual encoding.
std::optional<WavHeader> read_wav_header(int descriptor);

#endif
