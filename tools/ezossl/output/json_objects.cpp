// SPDX-License-Identifier: MIT
// json_objects.cpp - the members of the objects for settings, blocks and summary.

#include "output/json_objects.h"

#include "base/utf8.h"

JsonObjects::JsonObjects(const WriterStyle &style) : columns_(columns_for(style))
{
}

JsonObject JsonObjects::of_type(const char *type) const
{
    JsonObject object;
    object.add("type", type);
    object.add(kInputColumn, name_);
    return object;
}

std::string JsonObjects::begin(const InputInfo &input)
{
    name_ = valid_utf8(input.name);
    const LocalizerSettings &settings = input.settings.localizer;
    JsonObject object = of_type("start");
    object.add("version", EZOSSL_VERSION);
    object.add("input_rate_hz", input.layout.rate);
    object.add("input_channels", input.layout.channels);
    object.add("channels", List{input.layout.microphone[0] + 1, input.layout.microphone[1] + 1});
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
    return object.text();
}

std::string JsonObjects::block(const Block &block, const std::vector<int> &delays) const
{
    JsonObject object = of_type("block");
    for (const Column &column : columns_)
        std::visit([&](const auto &value) { object.add(column.name, value); },
                   column.value({block, delays}));
    return object.text();
}

std::string JsonObjects::summary(const Summary &summary) const
{
    JsonObject object = of_type("summary");
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
    return object.text();
}
