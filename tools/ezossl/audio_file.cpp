// SPDX-License-Identifier: MIT
// audio_file.cpp - see audio_file.h.

#include "audio_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iterator>

#include "failure.h"

bool is_supported_rate(int rate)
{
    return std::find(std::begin(kSampleRates), std::end(kSampleRates), rate) !=
           std::end(kSampleRates);
}

AudioReader::AudioReader(const std::string &path) : path_(path)
{
    // libsndfile calls all of these a "System error".
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw Failure(path + ": no such file");
    if (error)
        throw Failure(path + ": " + error.message());
    if (std::filesystem::is_directory(status))
        throw Failure(path + ": is a directory; give a sound file");
    file_.reset(sf_open(path.c_str(), SFM_READ, &info_));
    if (!file_)
        throw Failure(path + ": not a readable sound file: " + sf_strerror(nullptr));
}

std::size_t AudioReader::read(float *samples, std::size_t count)
{
    const sf_count_t got = sf_readf_float(file_.get(), samples, static_cast<sf_count_t>(count));
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR)
        throw Failure(path_ + ": cannot be read to its end: " + sf_strerror(file_.get()));
    const std::size_t frames = static_cast<std::size_t>(std::max<sf_count_t>(got, 0));
    float *const end = samples + frames * static_cast<std::size_t>(channels());
    if (std::any_of(samples, end, [](float sample) { return std::isnan(sample); }))
        throw Failure(path_ + ": holds samples that are not a number; write it again");
    return frames;
}

void to_int16(const float *from, int16_t *to, std::size_t count, std::size_t &clamped)
{
    for (std::size_t i = 0; i < count; i++) {
        const float scaled = from[i] * 32768.0f;
        const float limited = std::clamp(std::round(scaled), -32768.0f, 32767.0f);
        if (std::fabs(scaled - limited) > 1.0f) // +1 itself is one step too high, and harmless
            clamped++;
        to[i] = static_cast<int16_t>(limited);
    }
}

void write_wav(const std::string &path, const std::string &shown_as, int rate, int channels,
               const std::vector<int16_t> &samples)
{
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SoundFile file(sf_open(path.c_str(), SFM_WRITE, &info));
    if (!file)
        throw Failure(shown_as + ": cannot be written: " + std::strerror(errno));
    const auto count = static_cast<sf_count_t>(samples.size());
    if (sf_write_short(file.get(), samples.data(), count) != count || sf_close(file.release()) != 0)
        throw Failure(shown_as + ": cannot be written to its end: " + std::strerror(errno));
}
