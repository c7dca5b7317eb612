// SPDX-License-Identifier: MIT
// csv_writer.cpp - blocks as comma-separated values, one header line for all inputs.

#include "base/text.h"
#include "output/block_writer.h"

namespace {

std::string quoted(const std::string &field)
{
    if (field.find_first_of(",\"\r\n") == std::string::npos)
        return field;
    std::string text = "\"";
    for (const char c : field)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + '"';
}

class CsvWriter : public BlockWriter
{
public:
    CsvWriter(DataOutput &output, const WriterStyle &style) : output_(output), style_(style) {}

    void begin(const InputInfo &input) override { name_ = quoted(input.name); }

    void write(const Block &block, const std::vector<int> &delays) override
    {
        if (is_first_)
            output_.print("file,t_start,t_end,angle_deg,status,frames_used,frames_total,"
                          "level_dbfs%s\n",
                          style_.per_frame ? ",frame_delays" : "");
        is_first_ = false;
        const bool is_ok = block.status == BlockStatus::ok;
        output_.print("%s,%.6f,%.6f,%s,%s,%d,%d,%.2f%s\n", name_.c_str(), block.start, block.end,
                      is_ok ? std::to_string(block.angle).c_str() : "", name_of(block.status),
                      block.frames_used, block.frames_total, block.level,
                      style_.per_frame ? list(delays).c_str() : "");
    }

private:
    // One field: a delay or x per frame.
    static std::string list(const std::vector<int> &delays)
    {
        std::string field;
        for (const int delay : delays) {
            field += field.empty() ? ',' : ' ';
            field += delay == EZOSSL_REJECTED_FRAME ? "x" : std::to_string(delay);
        }
        return field;
    }

    DataOutput &output_;
    WriterStyle style_;
    std::string name_;
    bool is_first_ = true;
};

} // namespace

std::unique_ptr<BlockWriter> make_csv_writer(DataOutput &output, const WriterStyle &style)
{
    return std::make_unique<CsvWriter>(output, style);
}
