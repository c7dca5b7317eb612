// SPDX-License-Identifier: MIT
// jsonl_writer.cpp - a JSON object per line: the settings of an input, its blocks, its summary.

#include <cmath>
#include <memory>
#include <new>
#include <type_traits>

#include <cJSON.h>

#include "base/utf8.h"
#include "output/columns.h"

namespace {

// cJSON has nothing but this for memory that fails. A member would be missing.
template <class Result>
Result *require(Result *result)
{
    if (result == nullptr)
        throw std::bad_alloc();
    return result;
}

class Object
{
public:
    Object(const char *type, const std::string &input) : json_(require(cJSON_CreateObject()))
    {
        add("type", type);
        add("input", input);
    }
    void add(const char *name, const std::string &text)
    {
        require(cJSON_AddStringToObject(json_.get(), name, text.c_str()));
    }
    // What is not a number, such as the level of silence, becomes null.
    template <class Arithmetic>
    std::enable_if_t<std::is_arithmetic_v<Arithmetic>> add(const char *name, Arithmetic number)
    {
        require(cJSON_AddNumberToObject(json_.get(), name, static_cast<double>(number)));
    }
    void add(const char *name, const Number &number)
    {
        const double steps = std::pow(10.0, number.decimals); // and no digits beyond
        add(name, std::round(number.value * steps) / steps);
    }
    void add(const char *name, std::monostate /*none*/)
    {
        require(cJSON_AddNullToObject(json_.get(), name));
    }
    void add(const char *name, const List &list)
    {
        cJSON *const array = require(cJSON_AddArrayToObject(json_.get(), name));
        for (const std::optional<int> number : list)
            append(array, number ? cJSON_CreateNumber(*number) : cJSON_CreateNull());
    }

    void add(const char *name, const std::vector<std::string> &texts)
    {
        cJSON *const array = require(cJSON_AddArrayToObject(json_.get(), name));
        for (const std::string &text : texts)
            append(array, cJSON_CreateString(text.c_str()));
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
        const std::unique_ptr<char, Free> text(require(cJSON_PrintUnformatted(json_.get())));
        output.print("%s\n", text.get());
    }

private:
    struct Free {
        void operator()(cJSON *json) const { cJSON_Delete(json); }
        void operator()(char *text) const { cJSON_free(text); }
    };

    static void append(cJSON *array, cJSON *item) { cJSON_AddItemToArray(array, require(item)); }

    std::unique_ptr<cJSON, Free> json_;
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
