// SPDX-License-Identifier: MIT
// columns.cpp - the name and the value of each column, in the order of CSV.

#include "output/columns.h"

#include <algorithm>
#include <iterator>

#include "base/wall_clock.h"

namespace {

Value whole(int number)
{
    return Number{static_cast<double>(number), 0};
}

Value seconds(double time)
{
    return Number{time, 6};
}

Value angle_of(const Block &block)
{
    return block.status == BlockStatus::ok ? whole(block.angle) : Value();
}

Value list_of(const std::vector<int> &delays)
{
    List list;
    for (const int delay : delays)
        list.push_back(delay == EZOSSL_REJECTED_FRAME ? std::nullopt : std::optional<int>(delay));
    return list;
}

constexpr Column kColumns[] = {
    {"time", [](const BlockRow &row) { return Value(iso_time(row.block.time)); },
     &WriterStyle::live},
    {"t_start", [](const BlockRow &row) { return seconds(row.block.start); }},
    {"t_end", [](const BlockRow &row) { return seconds(row.block.end); }},
    {"angle_deg", [](const BlockRow &row) { return angle_of(row.block); }},
    {"status", [](const BlockRow &row) { return Value(display_of(row.block.status).name); }},
    {"frames_agreeing", [](const BlockRow &row) { return whole(row.block.frames_agreeing); }},
    {"frames_used", [](const BlockRow &row) { return whole(row.block.frames_used); }},
    {"frames_total", [](const BlockRow &row) { return whole(row.block.frames_total); }},
    {"level_dbfs",
     [](const BlockRow &row) {
         return Value(Number{row.block.level, 2});
     }},
    {"sound_lost", [](const BlockRow &row) { return whole(row.block.has_gap ? 1 : 0); },
     &WriterStyle::live},
    {"frame_delays", [](const BlockRow &row) { return list_of(row.delays); },
     &WriterStyle::per_frame},
};

} // namespace

std::vector<Column> columns_for(const WriterStyle &style)
{
    std::vector<Column> wanted;
    std::copy_if(std::begin(kColumns), std::end(kColumns), std::back_inserter(wanted),
                 [&style](const Column &column) {
                     return column.only_if == nullptr || style.*column.only_if;
                 });
    return wanted;
}
