// SPDX-License-Identifier: MIT
// live.cpp - the command `ezossl live`: a line per block while the microphones listen.

#include <algorithm>
#include <cmath>
#include <exception>
#include <memory>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/tracking_options.h"
#include "input/alsa_capture.h"
#include "output/recording.h"
#include "output/report.h"
#include "tracking/tracker.h"

namespace {

constexpr int kBestRate = 16000;     // Hz
constexpr double kLongest = 86400.0; // seconds

struct LiveOptions {
    std::string device = "default";
    TrackingOptions tracking;
    double seconds = 0.0; // of sound; 0 is until an interrupt
    std::string recording;
    bool list = false;
};

int wanted_channels(const TrackingOptions &tracking)
{
    if (tracking.channels.empty())
        return EZOSSL_MIC_COUNT;
    return std::max(tracking.channels[0], tracking.channels[1]);
}

// After the first interrupt, the end of the block that it fell into; the second ends at once.
class End
{
public:
    explicit End(const Report &report) : report_(report) {}

    bool is_reached()
    {
        if (interrupts() == 0)
            blocks_ = report_.blocks();
        return interrupts() > 1 || report_.blocks() > blocks_;
    }

private:
    const Report &report_;
    long blocks_ = 0; // when there was no interrupt yet
};

void capture(AlsaCapture &device, Tracker &tracker, Recording *recording, double seconds, End &end)
{
    // As much as the device has in a period, so that a sample waits no longer.
    const auto chunk = static_cast<std::size_t>(device.rate() / 100);
    const auto channels = static_cast<std::size_t>(device.channels());
    const std::size_t limit =
        seconds > 0.0 ? static_cast<std::size_t>(std::lround(seconds * device.rate())) : SIZE_MAX;
    std::vector<int16_t> samples(chunk * channels);
    std::vector<float> scaled(samples.size());
    for (std::size_t done = 0; done < limit && !end.is_reached();) {
        const std::size_t got = device.read(samples.data(), std::min(chunk, limit - done));
        if (recording != nullptr)
            recording->write(samples.data(), got);
        std::transform(samples.begin(), samples.end(), scaled.begin(),
                       [](int16_t sample) { return static_cast<float>(sample) / 32768.0f; });
        tracker.add(scaled.data(), got);
        done += got;
    }
}

void listen(const LiveOptions &options, DataOutput &output)
{
    const TrackingOptions &tracking = options.tracking;
    tracking.check({}, options.recording);
    watch_for_interrupts();
    AlsaCapture device(options.device, tracking.rate != 0 ? tracking.rate : kBestRate,
                       wanted_channels(tracking));
    const InputLayout layout = tracking.layout(options.device, device.rate(), device.channels());
    const LocalizerSettings settings =
        tracking.settings(tracking.rate != 0 ? tracking.rate : kBestRate);
    if (device.rate() != settings.sample_rate && !tracking.quiet)
        note(format_text("%s: captures at %d Hz, brought to %d Hz", options.device.c_str(),
                         device.rate(), settings.sample_rate));

    Report report(tracking, output, true, false);
    std::optional<Recording> recording;
    if (!options.recording.empty())
        recording.emplace(options.recording, device.rate(), device.channels());
    Tracker tracker(layout, settings, [&report](const Block &block, const auto &delays) {
        report.block(block, delays);
    });
    report.begin({options.device, layout, settings});
    End end(report);
    std::exception_ptr failure; // what was heard before is worth as much without the rest
    try {
        capture(device, tracker, recording ? &*recording : nullptr, options.seconds, end);
    } catch (...) {
        failure = std::current_exception();
    }
    if (recording)
        recording->finish();
    Summary summary;
    if (interrupts() == 0)
        summary.dropped_seconds =
            static_cast<double>(tracker.open_samples()) / settings.sample_rate;
    summary.clamped = tracker.clamped();
    summary.wrapped = tracker.wrapped();
    summary.overruns = device.overruns();
    summary.suspends = device.suspends();
    report.end(summary);
    report.commit();
    if (failure)
        std::rethrow_exception(failure);
}

void live(const LiveOptions &options, DataOutput &output)
{
    if (options.list) {
        for (const std::string &device : capture_devices())
            output.print("%s\n", device.c_str());
        output.finish();
        return;
    }
    listen(options, output);
}

} // namespace

RunCommand add_live(CLI::App &parser)
{
    const auto options = std::make_shared<LiveOptions>();
    parser.add_option("-D,--device", options->device, "ALSA device")
        ->type_name("NAME")
        ->capture_default_str();
    parser.add_flag("-l,--list", options->list, "List the devices and end");
    options->tracking.add_to(parser);
    parser.get_option("--spacing")->required(false); // --list does without
    parser.callback([options] {
        if (!options->list && options->tracking.array.spacing_cm == 0.0)
            throw CLI::RequiredError("--spacing");
    });
    parser.add_option("-d,--duration", options->seconds, "End after so many seconds of sound")
        ->check(limits(0.001, kLongest, "seconds"))
        ->type_name("SEC");
    parser
        .add_option("--record", options->recording,
                    "Keep what is heard, all channels of the device, as a WAV file")
        ->type_name("FILE.wav");
    return [options](DataOutput &output) { live(*options, output); };
}
