// SPDX-License-Identifier: MIT
// jsonl_writer.cpp - a JSON object per line: the settings of an input, its blocks, its summary.

#include <cmath>
#include <type_traits>

#include <cJSON.h>

#include "base/utf8.h"
#include "output/columns.h"

namespace {

class Object
{
public:
    Object(const char *type, const std::string &input) : json_(cJSON_CreateObject())
    {
        add("type", type);
        add("input", input);
    }
    ~Object() { cJSON_Delete(json_); }
    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    void add(const char *name, const std::string &text)
    {
        cJSON_AddStringToObject(json_, name, text.c_str());
    }
    // What is not a number, such as the level of silence, becomes null.
    template <class Arithmetic>
    std::enable_if_t<std::is_arithmetic_v<Arithmetic>> add(const char *name, Arithmetic number)
    {
        cJSON_AddNumberToObject(json_, name, static_cast<double>(number));
    }
    void add(const char *name, const Number &number)
    {
        const double steps = std::pow(10.0, number.decimals); // and no digits beyond
        add(name, std::round(number.value * steps) / steps);
    }
    void add(const char *name, std::monostate /*none*/) { cJSON_AddNullToObject(json_, name); }
    void add(const char *name, const List &list)
    {
        cJSON *const array = cJSON_AddArrayToObject(json_, name);
        for (const std::optional<int> number : list)
            cJSON_AddItemToArray(array, number ? cJSON_CreateNumber(*number) : cJSON_CreateNull());
    }

    void add(const char *name, const std::vector<std::string> &texts)
    {
        cJSON *const array = cJSON_AddArrayToObject(json_, name);
        for (const std::string &text : texts)
            cJSON_AddItemToArray(array, cJSON_CreateString(text.c_str()));
    }
    template <class Type>
    void add(const char *name, const std::optional<Type> &value)
    {
        if (value)
            add(name, *value);
        else
            add(name, std::monostate());
    }

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
    JsonlWriter(DataOutput &output, const WriterStyle &style)
        : output_(output), columns_(columns_for(style))
    {
    }

    void begin(const InputInfo &input) override
    {
        name_ = valid_utf8(input.name);
        const LocalizerSettings &settings = input.settings.localizer;
        Object object("start", name_);
        object.add("version", EZOSSL_VERSION);
        object.add("input_rate_hz", input.layout.rate);
        object.add("input_channels", input.layout.channels);
        object.add("channels",
                   List{input.layout.microphone[0] + 1, input.layout.microphone[1] + 1});
        object.add("rate_hz", settings.sample_rate);
        object.add("spacing_cm", settings.spacing_cm);
        object.add("temperature_c", settings.temperature);
        if (input.settings.gate_db)
            object.add("gate_dbfs", *input.settings.gate_db);
        else
            object.add("gate_dbfs", "auto");
        object.add("block_frames", settings.block_frames);
        object.add("smooth_s", input.settings.smooth_seconds);
        object.add("gain_db", settings.gain_db);
        object.add("mode", kDelayModes[static_cast<int>(settings.mode)].name);
        object.print(output_);
    }

    void write(const Block &block, const std::vector<int> &delays) override
    {
        Object object("block", name_);
        for (const Column &column : columns_)
            std::visit([&](const auto &value) { object.add(column.name, value); },
                       column.value({block, delays}));
        object.print(output_);
    }

    void end(const Summary &summary) override
    {
        Object object("summary", name_);
        object.add("blocks", summary.blocks());
        object.add("decided", summary.count(BlockStatus::ok));
        for (const StatusDisplay &row : kStatuses) {
            if (row.status != BlockStatus::ok)
                object.add(row.name, summary.count(row.status));
        }
        object.add("decided_share", Number{summary.decided_share(), 4});
        object.add("median_deg", summary.count(BlockStatus::ok) > 0
                                     ? std::optional<double>(summary.median())
                                     : std::nullopt);
        if (summary.gate) {
            object.add("gate_lowest_dbfs", Number{summary.gate->lowest, 2});
            object.add("gate_highest_dbfs", Number{summary.gate->highest, 2});
            object.add("gate_last_dbfs", Number{summary.gate->last, 2});
        }
        object.add("band_limit_hz", summary.band_limit);
        object.add("faults", summary.faults);
        object.add("overruns", summary.overruns);
        object.add("suspends", summary.suspends);
        object.add("dropped_s", Number{summary.dropped_seconds, 6});
        object.add("clamped_samples", summary.clamped);
        object.add("wrapped_samples", summary.wrapped);
        object.print(output_);
    }

private:
    DataOutput &output_;
    std::vector<Column> columns_;
    std::string name_;
};

} // namespace

std::unique_ptr<BlockWriter> make_jsonl_writer(DataOutput &output, const WriterStyle &style)
{
    return std::make_unique<JsonlWriter>(output, style);
}
