// SPDX-License-Identifier: MIT
// report.h - everything the user gets from an input: lines, figures, summary.

#ifndef EZOSSL_TOOL_REPORT_H
#define EZOSSL_TOOL_REPORT_H

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "output/figures.h"
#include "output/output_format.h"

// What the user wants. A file without a name is not written.
struct ReportSettings {
    const OutputFormat *format = &kOutputFormats[0];
    std::string output; // instead of standard output
    std::string plot;
    std::string histogram;
    bool per_frame = false;
    int on_change = 0; // degrees by which the angle has to differ; 0 shows every block
    bool realtime = false;
    bool live = false; // blocks get the time of day, and `output` grows block by block
    bool quiet = false;
    bool no_color = false;
};

class Report
{
public:
    // Opens the outputs that the settings name. If flushed, each line appears at once. The
    // audience, if there is one, gets every block before it is printed.
    Report(const ReportSettings &settings, DataOutput &output, bool is_flushed, bool many_inputs,
           BlockWriter *audience = nullptr);

    void begin(const InputInfo &input);
    void block(const Block &block, const std::vector<int> &delays);
    // Prints a fault that affects the blocks, at once.
    void fault(const std::string &name, const std::string &text);
    void end(const SoundSummary &sound);
    // Prints the summary so far on standard error.
    void summarize() const;
    // Makes the output files appear, all or none; without this call there are none.
    void commit();

    // Whether the blocks so far are lost without commit().
    bool is_pending() const { return output_.is_pending(); }

    int64_t blocks() const { return summary_.blocks(); }
    bool is_on_terminal() const { return output_.is_terminal(); }

private:
    bool is_shown(const Block &block);
    void wait_for(double seconds);

    ReportSettings settings_;
    DataOutput &output_;
    bool is_flushed_;
    std::unique_ptr<BlockWriter> writer_;
    BlockWriter *audience_;
    Figures figures_;
    InputInfo input_;
    Summary summary_;
    std::vector<std::string> faults_;
    std::optional<int> last_shown_;
    std::chrono::steady_clock::time_point began_;
};

#endif
