// SPDX-License-Identifier: MIT
// alsa_capture.cpp - opens a device with settings near the wanted ones, and restarts it after
// faults.

#include "input/alsa_capture.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>

#include "base/failure.h"
#include "base/text.h"

namespace {

constexpr unsigned kPeriodMicroseconds = 10000; // how long a sample waits at most
// The longest pause in reading that loses no sound: a slow processor needs it to find faults.
constexpr unsigned kBufferMicroseconds = 2000000;
constexpr int kWaitMilliseconds = 200;                     // how long a signal may go unnoticed
constexpr int kPatience = 25;                              // attempts in a row without sound
constexpr int kGoodRates[] = {48000, 32000, 44100, 96000}; // Hz; easy to convert, best first

} // namespace

struct SampleForm {
    snd_pcm_format_t format;
    size_t bytes;
    size_t upper; // place of its upper 16 bits among these
};

namespace {

constexpr SampleForm kForms[] = {
    {SND_PCM_FORMAT_S16_LE, 2, 0},
    {SND_PCM_FORMAT_S32_LE, 4, 2},
    {SND_PCM_FORMAT_S24_3LE, 3, 1},
    {SND_PCM_FORMAT_S24_LE, 4, 1},
};

void take_upper_bits(const unsigned char *from, const SampleForm &form, size_t count, int16_t *to)
{
    for (from += form.upper; count > 0; --count, from += form.bytes)
        *to++ = static_cast<int16_t>(from[0] | from[1] << 8);
}

struct Advice {
    int error;
    const char *text;
};
constexpr Advice kAdvice[] = {
    {ENOENT, "no such device; ezossl live -l lists the devices"},
    {ENODEV, "the device was removed; plug it in again, or see ezossl live -l"},
    {ENXIO, "the device is not connected; plug it in, or see ezossl live -l"},
    {EBUSY, "is in use by another program; end that, or share the device through a dsnoop device"},
    {EACCES, "not permitted; become a member of the group audio"},
    {EPERM, "not permitted; become a member of the group audio"},
};

std::string describe(int code)
{
    for (const Advice &advice : kAdvice) {
        if (advice.error == -code)
            return advice.text;
    }
    return snd_strerror(code);
}

void ignore_message(const char *, int, const char *, int, const char *, ...)
{
}

struct FreeText {
    void operator()(char *text) const { std::free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

Text hint(const void *device, const char *name)
{
    return Text(snd_device_name_get_hint(device, name));
}

} // namespace

AlsaCapture::AlsaCapture(const std::string &device, int rate, int channels) : device_(device)
{
    snd_pcm_t *pcm = nullptr;
    // Non-blocking, because otherwise the call would wait for a device that is in use.
    require(snd_pcm_open(&pcm, device.c_str(), SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK), nullptr);
    pcm_.reset(pcm);
    configure(rate, channels);
    require(snd_pcm_prepare(pcm), "cannot be prepared");
    require(snd_pcm_start(pcm), "cannot be started");
}

void AlsaCapture::configure(int wanted_rate, int wanted_channels)
{
    snd_pcm_hw_params_t *hardware = nullptr;
    require(snd_pcm_hw_params_malloc(&hardware), "out of memory");
    const std::unique_ptr<snd_pcm_hw_params_t, decltype(&snd_pcm_hw_params_free)> owner(
        hardware, snd_pcm_hw_params_free);
    snd_pcm_t *const pcm = pcm_.get();
    require(snd_pcm_hw_params_any(pcm, hardware), "cannot capture");
    // Only the rates of the device itself, because ALSA's own resampling is poor.
    snd_pcm_hw_params_set_rate_resample(pcm, hardware, 0);
    require(snd_pcm_hw_params_set_access(pcm, hardware, SND_PCM_ACCESS_RW_INTERLEAVED),
            "does not interleave its channels; put plug: before its name");
    set_format(hardware);
    set_channels(hardware, wanted_channels);
    set_rate(hardware, wanted_rate);
    set_buffer(hardware);
    require(snd_pcm_hw_params(pcm, hardware), "rejects the settings that it offers");
}

void AlsaCapture::set_format(snd_pcm_hw_params_t *hardware)
{
    snd_pcm_t *const pcm = pcm_.get();
    form_ = std::find_if(std::begin(kForms), std::end(kForms), [&](const SampleForm &form) {
        return snd_pcm_hw_params_test_format(pcm, hardware, form.format) == 0;
    });
    if (form_ == std::end(kForms))
        throw Failure(device_ +
                      ": has no samples of 16, 24 or 32 bits; put plug before its name, as "
                      "in plughw:0,0");
    require(snd_pcm_hw_params_set_format(pcm, hardware, form_->format), "refuses its format");
}

std::string AlsaCapture::wide_format() const
{
    return form_ == std::begin(kForms) ? "" : snd_pcm_format_name(form_->format);
}

void AlsaCapture::set_channels(snd_pcm_hw_params_t *hardware, int wanted)
{
    unsigned most = 0;
    require(snd_pcm_hw_params_get_channels_max(hardware, &most), "does not report its channels");
    if (most < static_cast<unsigned>(wanted))
        throw Failure(device_ + ": " +
                      (most == 1 ? "is mono, and one microphone gives no direction; choose"
                                 : format_text("has no channel %d, only %u; choose others with "
                                               "-c, or",
                                               wanted, most)) +
                      " another device with -D");
    auto channels = static_cast<unsigned>(wanted);
    require(snd_pcm_hw_params_set_channels_min(pcm_.get(), hardware, &channels),
            "does not report its channels");
    require(snd_pcm_hw_params_set_channels_first(pcm_.get(), hardware, &channels),
            "does not report its channels");
    channels_ = static_cast<int>(channels);
}

void AlsaCapture::set_rate(snd_pcm_hw_params_t *hardware, int wanted)
{
    unsigned rate = static_cast<unsigned>(wanted);
    const auto is_offered = [&](int candidate) {
        return snd_pcm_hw_params_test_rate(pcm_.get(), hardware, static_cast<unsigned>(candidate),
                                           0) == 0;
    };
    if (!is_offered(wanted)) {
        const auto *const good =
            std::find_if(std::begin(kGoodRates), std::end(kGoodRates), is_offered);
        if (good != std::end(kGoodRates))
            rate = static_cast<unsigned>(*good);
    }
    require(snd_pcm_hw_params_set_rate_near(pcm_.get(), hardware, &rate, nullptr),
            "offers no sample rate");
    rate_ = static_cast<int>(rate);
}

void AlsaCapture::set_buffer(snd_pcm_hw_params_t *hardware)
{
    unsigned period = kPeriodMicroseconds;
    unsigned buffer = kBufferMicroseconds;
    require(snd_pcm_hw_params_set_period_time_near(pcm_.get(), hardware, &period, nullptr),
            "offers no period");
    require(snd_pcm_hw_params_set_buffer_time_near(pcm_.get(), hardware, &buffer, nullptr),
            "offers no buffer");
}

size_t AlsaCapture::read(int16_t *samples, size_t count)
{
    const bool is_wide = form_ != std::begin(kForms);
    const auto width = static_cast<size_t>(channels_);
    wide_.resize(is_wide ? count * width * form_->bytes : 0);
    void *const place = is_wide ? static_cast<void *>(wide_.data()) : samples;
    snd_pcm_sframes_t got = snd_pcm_readi(pcm_.get(), place, count);
    if (got == -EAGAIN) {
        const int ready = snd_pcm_wait(pcm_.get(), kWaitMilliseconds);
        got = ready < 0 ? ready : 0;
        if (ready > 0 || ready == -EINTR)
            return 0;
    }
    if (got < 0)
        recover(static_cast<int>(got));
    if (is_wide && got > 0)
        take_upper_bits(wide_.data(), *form_, static_cast<size_t>(got) * width, samples);
    attempts_ = got > 0 ? 0 : attempts_ + 1;
    if (attempts_ > kPatience)
        throw Failure(device_ + ": delivers no sound; check the microphones and -D");
    return got > 0 ? static_cast<size_t>(got) : 0;
}

void AlsaCapture::recover(int error)
{
    overruns_ += error == -EPIPE ? 1 : 0;
    suspends_ += error == -ESTRPIPE ? 1 : 0;
    require(snd_pcm_recover(pcm_.get(), error, 1), nullptr);
    if (snd_pcm_state(pcm_.get()) == SND_PCM_STATE_RUNNING)
        return;
    require(snd_pcm_prepare(pcm_.get()), "cannot be prepared again");
    require(snd_pcm_start(pcm_.get()), "cannot be started again");
}

void AlsaCapture::require(int code, const char *what) const
{
    if (code >= 0)
        return;
    if (what == nullptr)
        throw Failure(device_ + ": " + describe(code));
    // `what` says more than "Invalid argument" would.
    throw Failure(device_ + ": " + what + (code == -EINVAL ? "" : ": " + describe(code)));
}

void show_alsa_messages(bool show)
{
    snd_lib_error_set_handler(show ? nullptr : ignore_message);
}

std::vector<std::string> capture_devices()
{
    void **devices = nullptr;
    if (const int code = snd_device_name_hint(-1, "pcm", &devices); code < 0)
        throw Failure(std::string("the devices cannot be listed: ") + snd_strerror(code));
    std::vector<std::string> lines;
    bool is_any = false;
    for (void **device = devices; *device != nullptr; ++device) {
        const Text name = hint(*device, "NAME");
        const Text direction = hint(*device, "IOID"); // absent for both directions
        const Text description = hint(*device, "DESC");
        if (!name || (direction && std::string(direction.get()) != "Input"))
            continue;
        is_any = is_any || std::string(name.get()) != "null"; // "null" captures only silence
        std::string text = description ? description.get() : "";
        std::replace(text.begin(), text.end(), '\n', ' ');
        lines.push_back(std::string(name.get()) + '\t' + text);
    }
    snd_device_name_free_hint(devices);
    if (!is_any)
        note("no capture device found: no microphone is plugged in, or this user may not open it "
             "(see the group audio)");
    return lines;
}
