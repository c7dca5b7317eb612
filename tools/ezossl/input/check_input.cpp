// SPDX-License-Identifier: MIT
// check_input.cpp - see check_input.h.

#include "input/check_input.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "input/alsa_capture.h"
#include "input/audio_file.h"
#include "input/resampler.h"

namespace {

constexpr std::size_t kChunk = 4096; // samples per channel
constexpr int kBestRate = 16000;     // Hz

int working_rate(int input_rate, const TrackingOptions &options)
{
    if (options.rate != 0)
        return options.rate;
    return is_supported_rate(input_rate) ? input_rate : kBestRate;
}

// Picks the microphones out of what comes in, and brings them to the rate.
class PairCollector
{
public:
    PairCollector(const InputLayout &layout, int rate) : layout_(layout)
    {
        if (layout.rate != rate)
            resampler_.emplace(layout.rate, rate);
    }

    // Interleaved, full scale 1; `count` per channel.
    void add(const float *samples, std::size_t count)
    {
        const auto channels = static_cast<std::size_t>(layout_.channels);
        couples_.clear();
        for (std::size_t n = 0; n < count; n++)
            for (const int microphone : layout_.microphone)
                couples_.push_back(samples[n * channels + static_cast<std::size_t>(microphone)]);
        append(resampler_ ? resampler_->process(couples_.data(), count, false) : couples_);
    }

    std::vector<int16_t> finish()
    {
        if (resampler_)
            append(resampler_->process(nullptr, 0, true));
        return std::move(collected_);
    }

private:
    void append(const std::vector<float> &couples)
    {
        const std::size_t filled = collected_.size();
        collected_.resize(filled + couples.size());
        std::size_t clamped = 0; // shows as clipped
        to_int16(couples.data(), collected_.data() + filled, couples.size(), clamped);
    }

    InputLayout layout_;
    std::optional<Resampler> resampler_;
    std::vector<float> couples_;
    std::vector<int16_t> collected_;
};

} // namespace

PairSamples read_pair(const std::string &path, const TrackingOptions &options)
{
    AudioReader audio(path);
    const int rate = working_rate(audio.rate(), options);
    const InputLayout layout = options.layout(audio.path(), audio.rate(), audio.channels());
    PairCollector collector(layout, rate);
    std::vector<float> chunk(kChunk * static_cast<std::size_t>(audio.channels()));
    auto left = static_cast<std::size_t>(kLongestSeconds * audio.rate());
    sf_count_t there = 0;
    while (const std::size_t got = audio.read(chunk.data(), std::min(kChunk, left))) {
        collector.add(chunk.data(), got);
        left -= got;
        there += static_cast<sf_count_t>(got);
    }
    const bool is_cut = left == 0 && audio.read(chunk.data(), 1) > 0;
    const std::string remark = is_cut ? std::string() : audio.length_remark(there);
    if (!remark.empty())
        note(remark);
    const bool is_lossy = !audio.encoding_remark().empty();
    return {audio.path(), rate, collector.finish(), is_cut, layout, is_lossy};
}

PairSamples capture_pair(const std::string &device, double seconds, const TrackingOptions &options)
{
    const int wanted_rate = options.rate != 0 ? options.rate : kBestRate;
    const int wanted_channels = options.channels.empty()
                                    ? EZOSSL_MIC_COUNT
                                    : std::max(options.channels[0], options.channels[1]);
    watch_for_interrupts();
    AlsaCapture capture(device, wanted_rate, wanted_channels);
    const int rate = working_rate(capture.rate(), options);
    const InputLayout layout = options.layout(device, capture.rate(), capture.channels());
    PairCollector collector(layout, rate);
    std::vector<int16_t> samples(kChunk * static_cast<std::size_t>(capture.channels()));
    std::vector<float> scaled(samples.size());
    auto left = static_cast<std::size_t>(std::lround(seconds * capture.rate()));
    while (left > 0) {
        const std::size_t got = capture.read(samples.data(), std::min(kChunk, left));
        if (interrupts() > 0)
            throw EndWith{kInterrupted};
        std::transform(samples.begin(), samples.end(), scaled.begin(),
                       [](int16_t sample) { return static_cast<float>(sample) / 32768.0f; });
        collector.add(scaled.data(), got);
        left -= got;
    }
    if (const long gaps = capture.overruns() + capture.suspends(); gaps > 0)
        note(device + ": sound is missing in " + counted(gaps, "place") +
             ", which may pass for a fault; check again");
    return {device, rate, collector.finish(), false, layout, false};
}
