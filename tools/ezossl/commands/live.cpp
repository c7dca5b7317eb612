// SPDX-License-Identifier: MIT
// live.cpp - the command `ezossl live`: a line per block while the microphones listen.

#include <exception>
#include <functional>
#include <memory>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/tracking_options.h"
#include "commands/tracking_run.h"
#include "input/alsa_capture.h"
#include "input/device_stream.h"
#include "input/frame_source.h"
#include "output/report.h"
#include "output/sound_writer.h"

namespace {

struct LiveArguments {
    std::string device = "default";
    TrackingOptions tracking;
    double seconds = 0.0; // of sound; 0 is until an interrupt
    std::string recording;
    bool list = false;
};

// Finds the end of the block in which the first interrupt came.
class EndOfBlock
{
public:
    explicit EndOfBlock(const Report &report) : report_(report) {}

    bool is_reached()
    {
        if (interrupts() == 0)
            blocks_ = report_.blocks();
        return report_.blocks() > blocks_;
    }

private:
    const Report &report_;
    int64_t blocks_ = 0; // before the first interrupt
};

void track_device(FrameSource &source, TrackingRun &run, const Report &report)
{
    EndOfBlock end(report);
    Frame frame;
    while (!end.is_reached() && source.read(frame))
        run.add(frame);
}

void listen(const LiveArguments &options, DataOutput &output)
{
    TrackingOptions tracking = options.tracking;
    tracking.report.live = true;
    tracking.check({});
    tracking.warn();
    watch_for_interrupts();
    auto stream = std::make_unique<DeviceStream>(options.device, capture_rate(tracking.input.rate),
                                                 tracking.input.channels.fewest());
    DeviceStream &device = *stream;
    FrameSource source(std::move(stream), tracking.input);
    source.end_with_interrupts(2);
    if (options.seconds > 0.0)
        source.end_after(options.seconds);
    if (!tracking.report.quiet)
        for (const std::string &remark : source.opening_remarks())
            note(remark);

    const std::unique_ptr<Dial> dial = tracking.open_dial();
    std::optional<SoundWriter> recording;
    if (!options.recording.empty()) {
        recording.emplace(options.recording, device.rate(), device.channels(),
                          SoundWriter::Length::open);
        device.record([&recording](const int16_t *samples, size_t count) {
            recording->write(samples, count);
        });
    }
    // Opened last, because its output may replace a file.
    Report report(tracking.report, output, true, false, dial.get());
    TrackingRun run(tracking, source, report);
    std::exception_ptr failure; // the first one; what was made before it is kept
    const auto attempt = [&failure](const std::function<void()> &step) {
        try {
            step();
        } catch (...) {
            if (!failure)
                failure = std::current_exception();
        }
    };
    attempt([&] { track_device(source, run, report); });
    attempt([&] {
        if (recording)
            recording->finish();
    });
    attempt([&] {
        run.finish();
        report.commit();
    });
    if (failure)
        std::rethrow_exception(failure);
}

void live(const LiveArguments &options, DataOutput &output)
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
    const auto options = std::make_shared<LiveArguments>();
    parser.add_option("-D,--device", options->device, "ALSA device")
        ->type_name("NAME")
        ->capture_default_str();
    parser.add_flag("-l,--list", options->list, "List the devices and exit");
    options->tracking.add_to(parser);
    parser.get_option("--output")
        ->description("Write to this file, which grows by a line per block; - is standard output");
    CLI::Option *const spacing = parser.get_option("--spacing");
    spacing->required(false)->description("Required unless --list is given. " +
                                          spacing->get_description());
    parser.callback([options] {
        if (!options->list && options->tracking.array.spacing_cm == 0.0)
            throw CLI::RequiredError("--spacing");
    });
    parser.add_option("-d,--duration", options->seconds, "Stop after this many seconds of sound")
        ->check(limits(0.001, kLongestSeconds, "seconds"))
        ->type_name("SEC");
    parser
        .add_option("--record", options->recording,
                    "Also record all channels of the device to this WAV or .flac file")
        ->check(file_name())
        ->type_name("FILE.wav");
    return [options](DataOutput &output) { live(*options, output); };
}
