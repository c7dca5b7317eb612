// SPDX-License-Identifier: MIT
// rose.cpp - the figure of how often each angle was found, a half circle.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "base/pi.h"
#include "base/text.h"
#include "plot/plot.h"
#include "plot/plot_text.h"
#include "plot/svg.h"

namespace {

// The sheet has a half circle with the microphones at its centre. A unit is a pixel at full size.
constexpr double kWidth = 720.0;
constexpr double kHeight = 468.0;
constexpr double kMargin = 28.0;
constexpr SvgPoint kCentre = {360.0, 394.0};
constexpr double kHub = 40.0; // radius reserved for the microphones
constexpr double kRim = 280.0;
constexpr size_t kTitleCharacters = 64;
constexpr double kSectorDegrees = 10.0;

// The angles around a multiple of ten degrees; the outer ones end at ±90.
struct Sector {
    double from; // degrees
    double to;
    size_t count;   // of blocks, not 0
    double percent; // of the blocks with an angle

    double middle() const { return (from + to) / 2.0; }
};

std::vector<Sector> sectors_of(const std::vector<Block> &blocks)
{
    std::map<int64_t, size_t> counts;
    for (const Block &block : blocks) {
        if (block.status == BlockStatus::ok)
            counts[std::llround(block.angle / kSectorDegrees)]++;
    }
    const auto decided = static_cast<double>(count_of(blocks, BlockStatus::ok));
    std::vector<Sector> sectors;
    for (const auto &[index, count] : counts) {
        const double middle = static_cast<double>(index) * kSectorDegrees;
        sectors.push_back({std::max(-90.0, middle - kSectorDegrees / 2.0),
                           std::min(90.0, middle + kSectorDegrees / 2.0), count,
                           100.0 * static_cast<double>(count) / decided});
    }
    return sectors;
}

// 0 degrees up, + to the left.
SvgPoint polar(double radius, double degrees)
{
    const double angle = degrees * kPi / 180.0;
    return {kCentre.x - radius * std::sin(angle), kCentre.y - radius * std::cos(angle)};
}

// The baseline that puts the middle of a line of text at this point.
SvgPoint lowered(SvgPoint middle)
{
    return {middle.x, middle.y + 4.0};
}

struct Scale {
    int step; // percent between rings
    int end;  // percent at the rim

    double radius(double percent) const { return kHub + percent / end * (kRim - kHub); }
};

Scale scale_for(const std::vector<Sector> &sectors)
{
    double highest = 0.0;
    for (const Sector &sector : sectors)
        highest = std::max(highest, sector.percent);
    for (const int step : {2, 5, 10, 20}) {
        if (highest > 0.0 && highest <= 5 * step)
            return {step, step * static_cast<int>(std::ceil(highest / step))};
    }
    return {20, 100};
}

SvgPath half_ring(double radius)
{
    SvgPath path;
    path.move(polar(radius, 90.0)).arc(radius, true, polar(radius, -90.0));
    return path;
}

void draw_grid(SvgDrawing &drawing, const Scale &scale)
{
    for (int percent = 0; percent <= scale.end; percent += scale.step) {
        const double radius = scale.radius(percent);
        drawing.path(percent < scale.end ? "grid" : "frame", half_ring(radius));
        if (percent > 0.0)
            drawing.text("middle minor tiny", {kCentre.x - radius, kCentre.y + 16.0},
                         std::to_string(percent) + " %");
    }
    for (int angle = -90; angle <= 90; angle += 30) {
        const char *const style = std::abs(angle) == 90 ? "frame" : "grid";
        drawing.line(style, polar(kHub, angle), polar(kRim, angle));
        drawing.text("middle", lowered(polar(kRim + 26.0, angle)), angle_text(angle));
    }
}

void draw_sector(SvgDrawing &drawing, const Sector &sector, double radius)
{
    SvgPath outline;
    outline.move(polar(kHub, sector.from)).line(polar(radius, sector.from));
    outline.arc(radius, false, polar(radius, sector.to)).line(polar(kHub, sector.to));
    outline.arc(kHub, true, polar(kHub, sector.from)).close();
    drawing.path("sector", outline,
                 angle_text(sector.from) + " to " + angle_text(sector.to) + ": " +
                     counted(static_cast<int64_t>(sector.count), "block") + ", " +
                     svg_number(sector.percent) + " %");
}

// Writes the count of a sector beyond its end, or inside if the end is at the rim. If neighbouring
// short sectors leave no room for all counts, the larger ones come first.
void draw_counts(SvgDrawing &drawing, std::vector<Sector> sectors, const Scale &scale)
{
    std::stable_sort(sectors.begin(), sectors.end(),
                     [](const Sector &a, const Sector &b) { return a.count > b.count; });
    std::vector<SvgPoint> taken;
    for (const Sector &sector : sectors) {
        const std::string text = std::to_string(sector.count);
        const double width = 7.0 * static_cast<double>(text.size()) + 4.0;
        const double end = scale.radius(sector.percent);
        const bool is_inside = end + 18.0 > kRim;
        const SvgPoint at = polar(is_inside ? end - 14.0 : end + 10.0, sector.middle());
        const auto overlaps = [&](SvgPoint other) {
            return std::fabs(other.x - at.x) < width && std::fabs(other.y - at.y) < 12.0;
        };
        if (std::any_of(taken.begin(), taken.end(), overlaps))
            continue;
        taken.push_back(at);
        drawing.text(is_inside ? "on middle tiny" : "halo middle tiny", lowered(at), text);
    }
    drawing.text("minor tiny right", {kWidth - kMargin, 52.0}, "numbers: blocks in 10°");
}

void draw_microphones(SvgDrawing &drawing)
{
    drawing.line("frame", {kCentre.x - 18.0, kCentre.y}, {kCentre.x + 18.0, kCentre.y});
    for (const int microphone : {0, 1}) {
        const SvgPoint at = {kCentre.x + (microphone == 0 ? -18.0 : 18.0), kCentre.y};
        drawing.circle("microphone", at, 9.0);
        drawing.text("on tiny middle", lowered(at), std::to_string(microphone));
    }
    drawing.text("middle minor", {kCentre.x, kCentre.y + 32.0}, "microphones, from above");
    drawing.text("minor", {kCentre.x - kRim, kCentre.y + 52.0}, "+ side: microphone 0");
    drawing.text("minor right", {kCentre.x + kRim, kCentre.y + 52.0}, "− side: microphone 1");
}

// A pointer at the rim, and what it means.
void draw_median(SvgDrawing &drawing, double median)
{
    SvgPath pointer;
    pointer.move(polar(kRim, median)).line(polar(kRim + 13.0, median - 1.6));
    pointer.line(polar(kRim + 13.0, median + 1.6)).close();
    drawing.path("median", pointer, "median " + angle_text(median));
    const SvgPoint key = {kWidth - kMargin - 52.0, 71.0};
    SvgPath sign;
    sign.move(key).line({key.x - 6.0, key.y - 11.0}).line({key.x + 6.0, key.y - 11.0}).close();
    drawing.path("median", sign);
    drawing.text("minor tiny right", {kWidth - kMargin, 70.0}, "median");
}

} // namespace

std::string angle_rose_svg(const std::vector<Block> &blocks, const std::string &title)
{
    const std::vector<Sector> sectors = sectors_of(blocks);
    const Scale scale = scale_for(sectors);
    const std::string summary = result_text(blocks);
    SvgDrawing drawing(kWidth, kHeight, title,
                       "How often each angle was found, seen from above, microphone 0 on the "
                       "left: " +
                           summary + '.');
    drawing.text("title", {kMargin, 30.0}, fitting_title(title, kTitleCharacters));
    drawing.text("minor", {kMargin, 52.0}, summary);
    draw_grid(drawing, scale);
    draw_microphones(drawing);
    if (sectors.empty()) {
        drawing.text("halo middle minor", polar((kHub + kRim) / 2.0, 0.0),
                     blocks.empty() ? "no blocks" : "no block has an angle");
        return drawing.finished();
    }
    for (const Sector &sector : sectors)
        draw_sector(drawing, sector, scale.radius(sector.percent));
    draw_counts(drawing, sectors, scale);
    draw_median(drawing, median_angle(blocks));
    return drawing.finished();
}
