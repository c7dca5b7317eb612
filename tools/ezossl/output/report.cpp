// SPDX-License-Identifier: MIT
// report.cpp - hands each block to the writer, the figures and the summary.

#include "output/report.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>
#include <utility>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "input/sample_rates.h"
#include "output/meter.h"
#include "plot/plot.h"

namespace {

constexpr double kGoodShare = 0.5; // of the blocks that are not quiet
constexpr int kFewestToJudge = 8;  // blocks

// Whether the user can see colours on this output, and wants them.
bool wants_color(const ReportSettings &settings, const DataOutput &output)
{
    const char *const no_color = std::getenv("NO_COLOR");
    const char *const terminal = std::getenv("TERM");
    return output.is_terminal() && !settings.no_color &&
           (no_color == nullptr || *no_color == '\0') && terminal != nullptr &&
           std::strcmp(terminal, "dumb") != 0;
}

// What the table's other columns leave, as an odd number; 0 if that is too narrow.
int meter_width(int columns)
{
    constexpr int kOtherColumns = 54;
    constexpr int kWidest = 25;
    constexpr int kNarrowest = 9;
    const int width = std::min(columns - kOtherColumns, kWidest);
    return width < kNarrowest ? 0 : width - (width + 1) % 2;
}

// The name of the file, and what the angles rest on.
std::string figure_title(const InputInfo &input)
{
    return std::filesystem::path(input.name).filename().string() +
           format_text(", %g cm, %d Hz", input.settings.localizer.spacing_cm,
                       input.settings.localizer.sample_rate);
}

} // namespace

Report::Report(const ReportSettings &settings, DataOutput &output, bool is_live, bool many_inputs,
               BlockWriter *audience)
    : settings_(settings), output_(output), is_live_(is_live || settings.realtime),
      audience_(audience)
{
    using NamedDrawing = std::pair<std::string, Drawing>;
    for (const auto &[path, drawing] : {NamedDrawing(settings.plot, angle_plot_svg),
                                        NamedDrawing(settings.histogram, angle_rose_svg)}) {
        if (path.empty())
            continue;
        figures_.emplace_back(path, drawing);
    }
    if (settings.live && !settings.output.empty())
        output.grow(settings.output); // after the figures, as it replaces a file at once
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
    drawn_.clear();
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
    if (!figures_.empty())
        drawn_.push_back(block);
    if (!is_shown(block))
        return;
    writer_->write(block, delays);
    if (is_live_)
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
    for (const Figure &figure : figures_)
        figure.file.write(figure.svg(drawn_, figure_title(input_)));
    summarize();
    if (!settings_.quiet)
        advise();
}

void Report::summarize() const
{
    if (!settings_.quiet)
        std::fprintf(stderr, "%s\n", printable(to_text(input_.name, summary_)).c_str());
}

// The one step that helps most; a fault was told with its remedy already.
void Report::advise() const
{
    const LocalizerSettings &settings = input_.settings.localizer;
    const bool few_have_angles = summary_.heard() >= kFewestToJudge &&
                                 static_cast<double>(summary_.count(BlockStatus::ok)) <
                                     kGoodShare * static_cast<double>(summary_.heard());
    const std::string name = input_.name + ": ";
    if (settings.mode == DelayMode::time_domain)
        note("--mode delay reports a constant delay and no direction; omit it to get angles");
    else if (!faults_.empty())
        return;
    else if (summary_.heard() == 0)
        note(name + "all blocks are too quiet: " + display_of(BlockStatus::quiet).next_step);
    else if (few_have_angles && settings.sample_rate > kBestRate)
        note(name + format_text("at %d Hz few blocks get an angle: omit -r", settings.sample_rate));
    else if (const StatusDisplay &reason = display_of(summary_.main_reason()); few_have_angles)
        note(name + "few blocks get an angle, mostly '" + reason.words + "': " + reason.next_step);
}

void Report::commit()
{
    for (Figure &figure : figures_)
        figure.file.sync(); // the first name appears when little else can fail
    output_.finish();
    for (Figure &figure : figures_)
        figure.file.commit();
}
