// SPDX-License-Identifier: MIT
// table_writer.cpp - blocks as a table with a direction meter.

#include "base/text.h"
#include "output/block_writer.h"
#include "output/meter.h"

namespace {

constexpr int kMeterWidth = 25; // with it a row fits into 79 columns

std::string direction(const Block &block)
{
    switch (block.status) {
    case BlockStatus::ok:
        return format_text("%+d deg", block.angle);
    case BlockStatus::quiet:
        return "too quiet";
    case BlockStatus::undecided:
        return "undecided";
    case BlockStatus::impossible:
        break;
    }
    return "impossible";
}

class TableWriter : public BlockWriter
{
public:
    TableWriter(DataOutput &output, const WriterStyle &style) : output_(output), style_(style) {}

    void begin(const InputInfo &input) override
    {
        name_ = input.name;
        is_first_ = true;
    }

    void write(const Block &block, const std::vector<int> &delays) override
    {
        if (is_first_)
            write_header();
        is_first_ = false;
        const bool is_ok = block.status == BlockStatus::ok;
        const char *const color = !style_.color ? "" : is_ok ? "\033[32m" : "\033[2m";
        const auto angle = is_ok ? std::optional<int>(block.angle) : std::nullopt;
        output_.print("%s%9.3f %9.3f  %-10s  %4d/%-4d %6.1f  %s%s\n", color, block.start, block.end,
                      direction(block).c_str(), block.frames_used, block.frames_total, block.level,
                      direction_meter(angle, kMeterWidth, !style_.utf8).c_str(),
                      style_.color ? "\033[0m" : "");
        if (style_.per_frame)
            write_delays(delays);
    }

private:
    // With the first block: an input that gives none gets no header either.
    void write_header()
    {
        if (style_.many_inputs)
            output_.print("%s\n", name_.c_str());
        output_.print("%9s %9s  %-10s  %-9s %6s  %s%s\n", "from [s]", "to [s]", "direction",
                      "frames", "dBFS", style_.utf8 ? " " : "", "+90         0         -90");
    }

    void write_delays(const std::vector<int> &delays)
    {
        std::string line = "          delays";
        for (const int delay : delays)
            line += delay == EZOSSL_REJECTED_FRAME ? "  ." : format_text(" %+d", delay);
        output_.print("%s\n", line.c_str());
    }

    DataOutput &output_;
    WriterStyle style_;
    std::string name_;
    bool is_first_ = true;
};

} // namespace

const char *name_of(BlockStatus status)
{
    static constexpr const char *kNames[] = {"ok", "quiet", "undecided", "impossible"};
    return kNames[static_cast<int>(status)];
}

std::unique_ptr<BlockWriter> make_table_writer(DataOutput &output, const WriterStyle &style)
{
    return std::make_unique<TableWriter>(output, style);
}
