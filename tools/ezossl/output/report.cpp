// SPDX-License-Identifier: MIT
// report.cpp - hands each block to the writer, the figures and the summary.

#include "output/report.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "output/advice.h"
#include "output/meter.h"
#include "plot/plot.h"

namespace {

// Whether this output can show colours, and the user wants them.
bool wants_color(const ReportSettings &settings, const DataOutput &output)
{
    const char *const no_color = std::getenv("NO_COLOR");
    return output.is_terminal() && !settings.no_color &&
           (no_color == nullptr || *no_color == '\0') && !is_dumb_terminal();
}

// The width that the table's other columns leave, as an odd number; 0 if it is too narrow.
int meter_width(int columns)
{
    constexpr int kOtherColumns = 54;
    constexpr int kWidest = 25;
    constexpr int kNarrowest = 9;
    const int width = std::min(columns - kOtherColumns, kWidest);
    return width < kNarrowest ? 0 : width - (width + 1) % 2;
}

} // namespace

Report::Report(const ReportSettings &settings, DataOutput &output, bool is_flushed,
               bool many_inputs, BlockWriter *audience)
    : settings_(settings), output_(output), is_flushed_(is_flushed || settings.realtime),
      audience_(audience)
{
    figures_.add(settings.plot, angle_plot_svg);
    figures_.add(settings.histogram, angle_rose_svg);
    if (settings.live && !settings.output.empty())
        output.grow(settings.output); // after the figures, because it replaces a file at once
    else if (!settings.output.empty())
        output.redirect(settings.output);
    writer_ = settings.format->make(output, {settings.per_frame, wants_color(settings, output),
                                             many_inputs, output.is_terminal() && locale_is_utf8(),
                                             settings.live, meter_width(output.columns())});
}

void Report::begin(const InputInfo &input)
{
    input_ = input;
    summary_ = Summary();
    faults_.clear();
    figures_.begin();
    last_shown_.reset();
    began_ = std::chrono::steady_clock::now();
    if (audience_ != nullptr)
        audience_->begin(input);
    writer_->begin(input);
}

void Report::block(const Block &block, const std::vector<int> &delays)
{
    if (settings_.realtime)
        wait_for(block.end - input_.layout.start);
    summary_.add(block);
    if (audience_ != nullptr)
        audience_->write(block, delays);
    figures_.add(block);
    if (!is_shown(block))
        return;
    writer_->write(block, delays);
    if (is_flushed_)
        output_.flush();
}

bool Report::is_shown(const Block &block)
{
    if (settings_.on_change == 0)
        return true;
    if (block.status == BlockStatus::quiet && last_shown_) { // the sound has ended
        last_shown_.reset();
        return true;
    }
    if (block.status != BlockStatus::ok ||
        (last_shown_ && std::abs(block.angle - *last_shown_) < settings_.on_change))
        return false;
    last_shown_ = block.angle;
    return true;
}

void Report::wait_for(double seconds)
{
    const std::chrono::duration<double> step(0.05);
    const auto now = [] { return std::chrono::steady_clock::now(); };
    while (std::chrono::duration<double>(now() - began_).count() < seconds && interrupts() == 0) {
        const std::chrono::duration<double> left(
            seconds - std::chrono::duration<double>(now() - began_).count());
        std::this_thread::sleep_for(std::min(step, left));
    }
}

void Report::fault(const std::string &name, const std::string &text)
{
    faults_.push_back(name);
    if (audience_ != nullptr)
        audience_->fault(name, text);
    if (!settings_.quiet)
        note(input_.name + ": " + name + ": " + text);
}

void Report::end(const SoundSummary &sound)
{
    static_cast<SoundSummary &>(summary_) = sound;
    summary_.faults = faults_;
    if (audience_ != nullptr)
        audience_->end(summary_);
    writer_->end(summary_);
    output_.flush();
    figures_.draw(input_);
    summarize();
    if (const std::string advice = advice_on(summary_, input_); !advice.empty() && !settings_.quiet)
        note(advice);
}

void Report::summarize() const
{
    if (!settings_.quiet)
        std::fprintf(stderr, "%s\n", printable(to_text(input_.name, summary_)).c_str());
}

void Report::commit()
{
    output_.finish(figures_.files());
}
