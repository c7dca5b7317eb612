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

struct SampleForm;

class AlsaCapture
{
public:
    // Opens the device at this rate or one near it, with this many channels or, if necessary, more.
    // Failure says what is wrong with the device.
    AlsaCapture(const std::string &device, int rate, int channels);

    int rate() const { return rate_; }
    int channels() const { return channels_; }
    // Of the samples, if they have more than 16 bits; otherwise "".
    std::string wide_format() const;
    // How often the device dropped sound because it was not read in time.
    int64_t overruns() const { return overruns_; }
    // How often the machine was suspended meanwhile.
    int64_t suspends() const { return suspends_; }

    // Waits for sound, and gives at most `count` samples per channel, the upper 16 bits of wider
    // ones. Returns 0 if none came for a moment, or a signal interrupted the wait. Failure if the
    // device delivers nothing for long.
    size_t read(int16_t *samples, size_t count);

private:
    void configure(int wanted_rate, int wanted_channels);
    void set_format(snd_pcm_hw_params_t *hardware);
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
    const SampleForm *form_ = nullptr;
    std::vector<unsigned char> wide_; // samples of more than 16 bits
    int rate_ = 0;
    int channels_ = 0;
    int64_t overruns_ = 0;
    int64_t suspends_ = 0;
    int attempts_ = 0; // to read, in a row, without sound
};

// Whether ALSA's library prints to standard error what it also returns as a code.
void show_alsa_messages(bool show);

// A line per capture device: its name, a tab, its description. Prints a note if there is none.
std::vector<std::string> capture_devices();

#endif
