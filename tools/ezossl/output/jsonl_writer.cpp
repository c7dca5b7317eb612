// SPDX-License-Identifier: MIT
// jsonl_writer.cpp - a JSON object per line: the settings of an input, its blocks, its summary.

#include <cmath>

#include <cJSON.h>

#include "base/utf8.h"
#include "output/block_writer.h"

namespace {

// To the microsecond or the hundredth, and no digits beyond.
double rounded(double value, double steps)
{
    return std::round(value * steps) / steps;
}

class Object
{
public:
    Object(const char *type, const std::string &input) : json_(cJSON_CreateObject())
    {
        add("type", type);
        add("input", input.c_str());
    }
    ~Object() { cJSON_Delete(json_); }
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    void add(const char *name, const char *text) { cJSON_AddStringToObject(json_, name, text); }
    // What is no number becomes null.
    void add(const char *name, double number) { cJSON_AddNumberToObject(json_, name, number); }
    void add_null(const char *name) { cJSON_AddNullToObject(json_, name); }
    cJSON *add_list(const char *name) { return cJSON_AddArrayToObject(json_, name); }

    void print(DataOutput &output) const
    {
        char *const text = cJSON_PrintUnformatted(json_);
        output.print("%s\n", text);
        cJSON_free(text);
    }

private:
    cJSON *json_;
};

class JsonlWriter : public BlockWriter
{
public:
    JsonlWriter(DataOutput &output, const WriterStyle &style) : output_(output), style_(style) {}

    void begin(const InputInfo &input) override
    {
        name_ = valid_utf8(input.name);
        const LocalizerSettings &settings = input.settings;
        Object object("start", name_);
        object.add("version", EZOSSL_VERSION);
        object.add("input_rate_hz", input.layout.rate);
        object.add("input_channels", input.layout.channels);
        cJSON *const channels = object.add_list("channels");
        for (const int channel : input.layout.microphone)
            cJSON_AddItemToArray(channels, cJSON_CreateNumber(channel + 1));
        object.add("rate_hz", settings.sample_rate);
        object.add("spacing_cm", settings.spacing_cm);
        object.add("temperature_c", settings.temperature);
        object.add("gate_dbfs", settings.gate_db);
        object.add("block_frames", settings.block_frames);
        object.add("gain_db", settings.gain_db);
        object.add("mode", settings.mode == DelayMode::vote ? "vote" : "delay");
        object.print(output_);
    }

    void write(const Block &block, const std::vector<int> &delays) override
    {
        Object object("block", name_);
        object.add("t_start", rounded(block.start, 1e6));
        object.add("t_end", rounded(block.end, 1e6));
        if (block.status == BlockStatus::ok)
            object.add("angle_deg", block.angle);
        else
            object.add_null("angle_deg");
        object.add("status", name_of(block.status));
        object.add("frames_used", block.frames_used);
        object.add("frames_total", block.frames_total);
        object.add("level_dbfs", rounded(block.level, 100.0));
        if (style_.per_frame)
            add_delays(object.add_list("frame_delays"), delays);
        object.print(output_);
    }

    void end(const Summary &summary) override
    {
        Object object("summary", name_);
        object.add("blocks", static_cast<double>(summary.blocks));
        object.add("decided", static_cast<double>(summary.decided));
        object.add("quiet", static_cast<double>(summary.quiet));
        object.add("decided_share", rounded(summary.decided_share(), 1e4));
        if (summary.decided > 0)
            object.add("median_deg", summary.median());
        else
            object.add_null("median_deg");
        object.add("overruns", static_cast<double>(summary.overruns));
        object.add("suspends", static_cast<double>(summary.suspends));
        object.add("dropped_s", rounded(summary.dropped_seconds, 1e6));
        object.add("clamped_samples", static_cast<double>(summary.clamped));
        object.add("wrapped_samples", static_cast<double>(summary.wrapped));
        object.print(output_);
    }

private:
    static void add_delays(cJSON *list, const std::vector<int> &delays)
    {
        for (const int delay : delays)
            cJSON_AddItemToArray(list, delay == EZOSSL_REJECTED_FRAME ? cJSON_CreateNull()
                                                                      : cJSON_CreateNumber(delay));
    }

    DataOutput &output_;
    WriterStyle style_;
    std::string name_;
};

} // namespace

std::unique_ptr<BlockWriter> make_jsonl_writer(DataOutput &output, const WriterStyle &style)
{
    return std::make_unique<JsonlWriter>(output, style);
}
