// SPDX-License-Identifier: MIT
// audio_file.h - sound files through libsndfile: samples in, samples out, clear refusals.

#ifndef EZOSSL_TOOL_AUDIO_FILE_H
#define EZOSSL_TOOL_AUDIO_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sndfile.h>

#include "input/wav_header.h"

// Sample rates that the library takes, in Hz.
constexpr int kSampleRates[] = {8000, 16000, 32000, 48000};
bool is_supported_rate(int rate);

struct CloseSoundFile {
    void operator()(SNDFILE *file) const { sf_close(file); }
};
using SoundFile = std::unique_ptr<SNDFILE, CloseSoundFile>;

// 16-bit little-endian samples without a header.
struct RawFormat {
    int rate; // Hz
    int channels;
};

// A sound file that is read from start to end. Every member throws a Failure that names the file.
class AudioReader
{
public:
    // The path - is standard input. A pipe has to carry WAV, or samples without a header.
    explicit AudioReader(const std::string &path, std::optional<RawFormat> raw = std::nullopt);
    ~AudioReader();
    AudioReader(const AudioReader &) = delete;
    AudioReader &operator=(const AudioReader &) = delete;

    const std::string &path() const { return path_; }
    int rate() const { return info_.samplerate; }
    int channels() const { return info_.channels; }
    // Samples per channel that are there; a huge number for a stream that does not tell.
    sf_count_t length() const { return info_.frames; }
    // Samples per channel that the header promises, which may be more; 0 if it does not say.
    sf_count_t promised() const { return promised_; }
    // What to tell of an encoding that throws away what the ear does not miss, such as the phase;
    // empty for others.
    std::string encoding_remark() const;
    // What to tell if only `there` samples per channel were found; empty if that is all.
    std::string length_remark(sf_count_t there) const;

    // Up to `count` interleaved samples per channel, full scale 1; fewer at the end only, or where
    // the file is damaged. Refuses samples that are not a number. (Reading 16-bit integers instead
    // would wrap or scale what a float file holds, depending on its peak.)
    std::size_t read(float *samples, std::size_t count);

private:
    void open(int descriptor);
    void open_samples(int descriptor, const WavHeader &header);

    std::string path_;
    SF_INFO info_{};
    SoundFile file_;
    sf_count_t promised_ = 0;
    sf_count_t position_ = 0;
    bool is_raw_ = false;
    bool lacks_end_ = false;
};

// Full scale 1 to 16 bits, rounded to the nearest. What lies beyond full scale is clamped, and
// counted.
void to_int16(const float *from, int16_t *to, std::size_t count, std::size_t &clamped);

// Writes a 16-bit WAV file; `samples` are interleaved. Failure names `shown_as`.
void write_wav(const std::string &path, const std::string &shown_as, int rate, int channels,
               const std::vector<int16_t> &samples);

#endif
