// SPDX-License-Identifier: MIT
// table_writer.cpp - blocks as a table with a direction meter, for people.

#include "base/text.h"
#include "output/block_writer.h"
#include "output/meter.h"

namespace {

std::string direction(const Block &block)
{
    const std::string text = block.status == BlockStatus::ok ? format_text("%+d deg", block.angle)
                                                             : display_of(block.status).words;
    return block.has_gap ? text + '!' : text;
}

// A column of text before the meter. A negative width aligns it to the left, as in printf.
struct TextColumn {
    const char *gap; // before the column
    const char *heading;
    int width;
    std::string (*text)(const Block &block);
};
constexpr TextColumn kTextColumns[] = {
    {"", "from [s]", 9, [](const Block &block) { return format_text("%.3f", block.start); }},
    {" ", "to [s]", 9, [](const Block &block) { return format_text("%.3f", block.end); }},
    {"  ", "direction", -10, direction},
    {"  ", "agreeing", -9,
     [](const Block &block) {
         return format_text("%4d/%d", block.frames_agreeing, block.frames_total);
     }},
    {" ", "dBFS", 6, [](const Block &block) { return format_text("%.1f", block.level); }},
};

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
        const auto angle = is_ok ? std::optional<int>(block.angle) : std::nullopt;
        output_.print("%s", !style_.color ? "" : is_ok ? "\033[32m" : "\033[2m");
        for (const TextColumn &column : kTextColumns)
            write_cell(column, column.text(block));
        if (style_.meter_width > 0)
            output_.print("  %s", direction_meter(angle, style_.meter_width, !style_.utf8).c_str());
        output_.print("%s\n", style_.color ? "\033[0m" : "");
        if (style_.per_frame)
            write_delays(delays);
    }

private:
    // Written with the first block, so that an input without blocks has no header.
    void write_header()
    {
        if (style_.many_inputs)
            output_.print("%s\n", printable(name_).c_str());
        for (const TextColumn &column : kTextColumns)
            write_cell(column, column.heading);
        if (style_.meter_width > 0) // a scale as wide as the meter, with 0 in its middle
            output_.print("  %s+90%*s%*s", style_.utf8 ? " " : "", style_.meter_width / 2 - 2, "0",
                          style_.meter_width / 2, "-90");
        output_.print("\n");
    }

    void write_cell(const TextColumn &column, const std::string &text)
    {
        output_.print("%s%*s", column.gap, column.width, text.c_str());
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

std::unique_ptr<BlockWriter> make_table_writer(DataOutput &output, const WriterStyle &style)
{
    return std::make_unique<TableWriter>(output, style);
}
