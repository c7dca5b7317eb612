// SPDX-License-Identifier: MIT
// alsa_capture.h - 16-bit samples from an ALSA device.

#ifndef EZOSSL_TOOL_ALSA_CAPTURE_H
#define EZOSSL_TOOL_ALSA_CAPTURE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <alsa/asoundlib.h>

class AlsaCapture
{
public:
    // Opens the device at the rate or one near to it, with so many channels or, if need be, more.
    // Failure says what is wrong with the device.
    AlsaCapture(const std::string &device, int rate, int channels);

    int rate() const { return rate_; }
    int channels() const { return channels_; }
    // Times that the device had to drop sound because nobody took it in time.
    long overruns() const { return overruns_; }
    // Times that the machine slept in between.
    long suspends() const { return suspends_; }

    // What has come, at most `count` samples per channel, as soon as there is some; 0 if there was
    // none for a moment, or a signal came. Failure when the device stays silent for long.
    std::size_t read(int16_t *samples, std::size_t count);

private:
    void configure(int wanted_rate, int wanted_channels);
    void set_channels(snd_pcm_hw_params_t *hardware, int wanted);
    void set_rate(snd_pcm_hw_params_t *hardware, int wanted);
    void set_buffer(snd_pcm_hw_params_t *hardware);
    void recover(int error);
    void require(int code, const char *what) const;

    struct Close {
        void operator()(snd_pcm_t *pcm) const { snd_pcm_close(pcm); }
    };
    std::string device_;
    std::unique_ptr<snd_pcm_t, Close> pcm_;
    int rate_ = 0;
    int channels_ = 0;
    long overruns_ = 0;
    long suspends_ = 0;
    int attempts_ = 0; // in a row, without sound
};

// The library of ALSA prints to standard error what it tells its caller as well.
void show_alsa_messages(bool show);

// A line per device that captures: its name, a tab, what it is. A note if there is none.
std::vector<std::string> capture_devices();

#endif
