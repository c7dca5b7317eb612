// SPDX-License-Identifier: MIT
// plot.cpp - the figure of angle and level against time. The rose is in rose.cpp.

#include "plot/plot.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

#include "plot/plot_text.h"
#include "plot/svg.h"
#include "plot/time_axis.h"

namespace {

// The sheet has three panels above one another, with a common time axis. A unit is a pixel at full
// size.
constexpr double kWidth = 800.0;
constexpr double kLeft = 78.0;
constexpr double kRight = 750.0;
constexpr double kAngleTop = 68.0;
constexpr double kAngleBottom = 296.0;
constexpr double kRowsTop = 306.0; // of the rows for the reasons why there is no angle
constexpr double kRowHeight = 14.0;
constexpr double kLevelTop = kRowsTop + kRowHeight * (kStatusCount - 1) + 16.0;
constexpr double kLevelBottom = kLevelTop + 74.0;
constexpr double kHeight = kLevelBottom + 50.0;
constexpr size_t kTitleCharacters = 70;

// With more blocks than this, marks are thin, to stay distinct.
constexpr size_t kManyBlocks = 300;

// Places that differ by less than half a unit look equal.
double on_grid(double x)
{
    return std::round(2.0 * x) / 2.0;
}

double angle_y(double degrees)
{
    return kAngleBottom + (degrees + 90.0) / 180.0 * (kAngleTop - kAngleBottom);
}

void draw_frame(SvgDrawing &drawing, double top, double bottom)
{
    SvgPath frame;
    frame.move({kLeft, top}).line({kRight, top}).line({kRight, bottom}).line({kLeft, bottom});
    drawing.path("frame", frame.close());
}

void draw_time_axis(SvgDrawing &drawing, const TimeAxis &time)
{
    for (const double tick : time.ticks()) {
        const double x = time.x(tick);
        drawing.line("grid", {x, kAngleTop}, {x, kAngleBottom});
        drawing.line("grid", {x, kLevelTop}, {x, kLevelBottom});
        drawing.line("frame", {x, kLevelBottom}, {x, kLevelBottom + 4.0});
        drawing.text("middle", {x, kLevelBottom + 18.0}, time.label(tick));
    }
    drawing.text("middle", {(kLeft + kRight) / 2.0, kLevelBottom + 38.0},
                 std::string("time [") + time.unit() + "]");
}

void draw_angle_axis(SvgDrawing &drawing)
{
    for (int angle = -90; angle <= 90; angle += 30) {
        const double y = angle_y(angle);
        drawing.line(angle == 0 ? "grid zero" : "grid", {kLeft, y}, {kRight, y});
        drawing.text("right", {kLeft - 8.0, y + 4.0}, angle_text(angle));
    }
    drawing.text_upwards("middle", {20.0, angle_y(0)}, "angle of the sound");
    drawing.text_upwards("middle minor tiny", {kRight + 18.0, angle_y(45)}, "+ microphone 0");
    drawing.text_upwards("middle minor tiny", {kRight + 18.0, angle_y(-45)}, "− microphone 1");
    draw_frame(drawing, kAngleTop, kAngleBottom);
}

// A mark as long as its block, less its round ends; a dot for a short block.
void draw_angles(SvgDrawing &drawing, const std::vector<Block> &blocks, const TimeAxis &time)
{
    const bool many = blocks.size() > kManyBlocks;
    const double thickness = many ? 3.0 : 5.0;
    SvgPath marks;
    std::set<std::pair<double, int>> drawn;
    for (const Block &block : blocks) {
        const double middle = on_grid(time.x((block.start + block.end) / 2.0));
        if (block.status != BlockStatus::ok || !drawn.emplace(middle, block.angle).second)
            continue;
        const double length =
            std::max(0.0, time.x(block.end) - time.x(block.start) - thickness - 1.0);
        marks.move({middle - length / 2.0, angle_y(block.angle)}).across(length);
    }
    drawing.path(many ? "mark narrow" : "mark", marks);
    if (marks.empty())
        drawing.text("middle minor", {(kLeft + kRight) / 2.0, angle_y(0) - 8.0},
                     blocks.empty() ? "no blocks" : "no block has an angle");
}

// Adjacent blocks, and blocks at the same place, are joined.
SvgPath row_of(BlockStatus status, const std::vector<Block> &blocks, const TimeAxis &time, double y)
{
    SvgPath row;
    double from = 0.0;
    double to = -1.0; // nothing yet
    const auto draw_run = [&] {
        if (to >= from)
            row.move({from, y}).across(std::max(to - from, 1.0));
    };
    for (const Block &block : blocks) {
        if (block.status != status)
            continue;
        const double start = on_grid(time.x(block.start));
        if (start > to) {
            draw_run();
            from = start;
        }
        to = on_grid(time.x(block.end));
    }
    draw_run();
    return row;
}

void draw_blocks_without_angle(SvgDrawing &drawing, const std::vector<Block> &blocks,
                               const TimeAxis &time)
{
    double y = kRowsTop + kRowHeight / 2.0;
    for (const StatusDisplay &row : kStatuses) {
        if (row.status == BlockStatus::ok)
            continue;
        drawing.text("right minor tiny", {kLeft - 8.0, y + 4.0}, row.name);
        drawing.path(row.name, row_of(row.status, blocks, time, y));
        drawing.text("minor tiny", {kRight + 8.0, y + 4.0},
                     std::to_string(count_of(blocks, row.status)));
        y += kRowHeight;
    }
}

// The lowest level of the panel: a multiple of 20 dB, well below all sound.
double level_floor(const std::vector<Block> &blocks)
{
    double lowest = -20.0;
    for (const Block &block : blocks) {
        if (std::isfinite(block.level))
            lowest = std::min(lowest, block.level);
    }
    return std::max(-100.0, 20.0 * std::floor((lowest - 2.0) / 20.0));
}

double level_y(double level, double floor)
{
    return kLevelTop + std::clamp(level, floor, 0.0) / floor * (kLevelBottom - kLevelTop);
}

void draw_level_axis(SvgDrawing &drawing, double floor)
{
    const int step = floor < -60.0 ? 40 : 20;
    for (int level = 0; level >= floor; level -= step) {
        const double y = level_y(level, floor);
        drawing.line("grid", {kLeft, y}, {kRight, y});
        drawing.text("right", {kLeft - 8.0, y + 4.0},
                     level < 0 ? "−" + std::to_string(-level) : "0");
    }
    drawing.text_upwards("middle", {20.0, (kLevelTop + kLevelBottom) / 2.0}, "level [dBFS]");
    draw_frame(drawing, kLevelTop, kLevelBottom);
}

// A step per block. Blocks that start in the same unit of width become one step from their highest
// level to their lowest. Digital silence has no level, so it leaves a gap.
void draw_level(SvgDrawing &drawing, const std::vector<Block> &blocks, const TimeAxis &time,
                double floor)
{
    SvgPath line;
    bool is_gap = true;
    for (auto first = blocks.begin(); first != blocks.end();) {
        const double column = std::floor(time.x(first->start));
        double highest = -std::numeric_limits<double>::infinity();
        double lowest = std::numeric_limits<double>::infinity();
        double end = first->end;
        const double start = first->start;
        for (; first != blocks.end() && std::floor(time.x(first->start)) <= column; ++first) {
            highest = std::max(highest, first->level);
            if (std::isfinite(first->level))
                lowest = std::min(lowest, first->level);
            end = first->end;
        }
        const bool was_gap = std::exchange(is_gap, !std::isfinite(highest));
        if (is_gap)
            continue;
        const SvgPoint from = {time.x(start), level_y(highest, floor)};
        was_gap ? line.move(from) : line.line(from);
        line.line({time.x(end), level_y(lowest, floor)});
    }
    drawing.path("level", line);
}

TimeAxis time_axis_of(const std::vector<Block> &blocks)
{
    const double start = blocks.empty() ? 0.0 : blocks.front().start;
    const double end = blocks.empty() ? 0.0 : blocks.back().end;
    return {start, end > start ? end : start + 1.0, kLeft, kRight};
}

} // namespace

std::string angle_plot_svg(const std::vector<Block> &blocks, const std::string &title)
{
    const TimeAxis time = time_axis_of(blocks);
    const double floor = level_floor(blocks);
    const std::string summary = result_text(blocks);
    SvgDrawing drawing(
        kWidth, kHeight, title,
        "Angle of the sound against time, block by block, and the level below: " + summary + '.');
    drawing.text("title", {kLeft, 30.0}, fitting_title(title, kTitleCharacters));
    drawing.text("minor", {kLeft, 52.0}, summary);
    draw_time_axis(drawing, time);
    draw_angle_axis(drawing);
    draw_angles(drawing, blocks, time);
    draw_blocks_without_angle(drawing, blocks, time);
    draw_level_axis(drawing, floor);
    draw_level(drawing, blocks, time, floor);
    return drawing.finished();
}
