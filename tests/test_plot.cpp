// SPDX-License-Identifier: MIT
// test_plot.cpp - the figures: what is drawn for which blocks, in a well-formed document.

#include "plot/plot.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <tuple>

#include <gtest/gtest.h>
#include <unistd.h>

#include "plot/plot_text.h"

namespace {

constexpr double kDegree = 3.14159265358979324 / 180.0;

void add_block(std::vector<Block> &blocks, BlockStatus status, int angle = 0, double level = -20)
{
    const double start = 0.25 * static_cast<double>(blocks.size());
    level = status == BlockStatus::quiet ? -HUGE_VAL : level;
    blocks.push_back({start, start + 0.25, status, angle, 28, 30, 32, level});
}

using Numbers = std::vector<double>;

// The numbers in all matches of the pattern, in which (#) stands for a number.
std::vector<Numbers> numbers(const std::string &text, std::string pattern)
{
    for (size_t at = 0; (at = pattern.find('#')) != std::string::npos;)
        pattern.replace(at, 1, "-?[\\d.]+");
    const std::regex regex(pattern);
    std::vector<Numbers> result;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
        Numbers &found = result.emplace_back();
        for (size_t i = 1; i < match->size(); ++i)
            found.push_back(std::stod((*match)[i]));
    }
    return result;
}

std::string path(const std::string &svg, const std::string &style)
{
    const size_t at = std::min(svg.size(), svg.find("<path class=\"" + style + '"'));
    return svg.substr(at, svg.find('\n', at) - at);
}

void expect_path(const std::string &svg, const std::string &style, const Numbers &expected)
{
    const auto found = numbers(path(svg, style), "(#)");
    ASSERT_EQ(found.size(), expected.size()) << style << svg;
    for (size_t i = 0; i < found.size(); ++i)
        EXPECT_NEAR(found[i][0], expected[i], 0.4) << style << i << svg;
}

TEST(Plot, MarksTheBlocksWhereItsAxesHaveThem)
{
    std::vector<Block> blocks;
    for (const int angle : {90, 90, -90, 30})
        add_block(blocks, BlockStatus::ok, angle, -10 - angle / 10.0);
    for (const BlockStatus status : {BlockStatus::quiet, BlockStatus::quiet, BlockStatus::disagree,
                                     BlockStatus::quiet, BlockStatus::beyond})
        add_block(blocks, status, 0, -30);
    const std::string plot = angle_plot_svg(blocks, "x");
    const auto x = [](double seconds) { return 78 + 672 * seconds / 2.25; };
    const auto angle_y = [](double angle) { return 182 - 228 * angle / 180; };
    const auto level_y = [](double level) { return 406 - 74 * level / 40; };
    Numbers marks, levels;
    for (const Block &block : blocks) {
        const double start = x(block.start), end = x(block.end), level = level_y(block.level);
        if (block.status == BlockStatus::ok)
            marks.insert(marks.end(), {start + 3, angle_y(block.angle), end - start - 6}); // round
        if (block.status != BlockStatus::quiet)
            levels.insert(levels.end(), {start, level, end, level});
    }
    EXPECT_EQ(numbers(plot, "grid zero\" x1=\"#\" y1=\"(#)\"").at(0)[0], angle_y(0));
    EXPECT_NE(plot.find(".disagree{stroke:#d29922}"), std::string::npos); // in the dark
    const double second = x(1) - x(0);
    expect_path(plot, "mark", marks);
    expect_path(plot, "level", levels);
    EXPECT_EQ(numbers(path(plot, "level"), "M(#)").size(), 3u); // gaps of digital silence
    expect_path(plot, "quiet", {x(1), 313, second / 2, x(1.75), 313, second / 4}); // joined
    expect_path(plot, "disagree", {x(1.5), 341, second / 4});
    expect_path(plot, "beyond", {x(2), 369, second / 4});
    const std::tuple<const char *, double> labels[] = {
        // which are 4 below what they name
        {"\\+90°", angle_y(90)}, {"−60°", angle_y(-60)}, {"−20", level_y(-20)},
        {"−40", level_y(-40)},   {"quiet", 313},         {"disagree", 341},
        {"beyond", 369}};
    for (const auto &[label, y] : labels)
        EXPECT_NEAR(numbers(plot, std::string("y=\"(#)\">") + label + '<').at(0)[0], y + 4, 0.1);
    EXPECT_NEAR(numbers(plot, "x=\"(#)\" y=\"498\">1.5<").at(0)[0], x(1.5), 0.1);
    std::vector<Block> many; // four in a unit of width
    for (int i = 0; i < 2688; ++i)
        add_block(many, BlockStatus::ok, 0, i % 4 == 1 ? -10 : i % 4 == 3 ? -35 : -20);
    const std::string dense = angle_plot_svg(many, "x");
    const auto steps = numbers(path(dense, "level"), "[ML]# (#)L# (#)");
    EXPECT_EQ(steps.size(), 672u);
    for (const Numbers &step : steps) // from the highest to the lowest
        EXPECT_NEAR(step[0] + 1000 * step[1], level_y(-10) + 1000 * level_y(-35), 100) << step[0];
}

TEST(Plot, RosesHaveSectorsAsLongAsTheirShare)
{
    std::vector<Block> blocks;
    for (const int angle : {90, 90, 90, 88, -90, 30, 27, 34, 36, -4})
        add_block(blocks, BlockStatus::ok, angle);
    add_block(blocks, BlockStatus::quiet);
    const std::string rose = angle_rose_svg(blocks, "x");
    const auto rings = numbers(rose, "x=\"(#)\" y=\"410\">(#) %<"); // of the left axis
    const auto sectors = numbers(rose, "class=\"sector\" d=\"M# #L(#) (#)A[^<]*<title>[+−]*(#)° to "
                                       "[+−]*(#)°: (#) block");
    const std::vector<Numbers> expected = {
        {-90, -85, 1}, {-5, 5, 1}, {25, 35, 3}, {35, 45, 1}, {85, 90, 4}};
    ASSERT_EQ(rings.size(), 4u) << rose; // 10 % each
    EXPECT_EQ(rings[3][0], 80);
    ASSERT_EQ(sectors.size(), expected.size()) << rose;
    for (size_t i = 0; i < expected.size(); ++i) {
        const double from = expected[i][0], count = expected[i][2]; // 10 % each; + is left
        const double radius = 360 - rings[0][0] + (count - 1) * (rings[0][0] - rings[1][0]);
        EXPECT_NEAR(sectors[i][0], 360 - radius * std::sin(from * kDegree), 0.2) << from;
        EXPECT_NEAR(sectors[i][1], 394 - radius * std::cos(from * kDegree), 0.2) << from;
        EXPECT_EQ(sectors[i][2], std::fabs(from));
        EXPECT_EQ(sectors[i][3], std::fabs(expected[i][1]));
        EXPECT_EQ(sectors[i][4], count);
    }
    for (const char *text :
         {"+85° to +90°: 4 blocks, 40 %", ">10 of 11 blocks with an angle (91 %), median +35°<"})
        EXPECT_NE(rose.find(text), std::string::npos) << text << rose;
    EXPECT_NE(angle_rose_svg({blocks[0]}, "x").find("class=\"median\" d=\"M80 "),
              std::string::npos); // +90 is on the left
    blocks.assign(40, blocks[5]);
    blocks[0].angle = 0;
    blocks[1].angle = blocks[2].angle = 10; // leaves no room for the count of its neighbour
    EXPECT_EQ(numbers(angle_rose_svg(blocks, "x"), "halo middle tiny\" x=\"#\" y=\"#\">(#)<"),
              std::vector<Numbers>({{37}, {2}}));
}

TEST(Plot, IsSmallAndWellFormedWhateverItShows)
{
    const std::string file = ::testing::TempDir() + std::to_string(getpid()) + "plot.svg";
    std::vector<Block> day;
    for (int i = 0; i < 340000; ++i)
        add_block(day, i % 3 == 0 ? BlockStatus::disagree : BlockStatus::ok, i % 20);
    for (const std::vector<Block> &blocks : {{}, {day[0]}, {day[1]}, day}) {
        for (const auto &draw : {angle_plot_svg, angle_rose_svg}) {
            const std::string svg = draw(blocks, std::string(200, 'x') + "<&\">\x01\xE9 \xC3\xA9");
            EXPECT_LT(svg.size(), 500000u);
            EXPECT_NE(svg.find("x&lt;&amp;&quot;&gt;\xEF\xBF\xBD\xEF\xBF\xBD \xC3\xA9</title>"),
                      std::string::npos);
            std::ofstream(file) << svg;
            EXPECT_EQ(std::system(("python3 -c 'import sys, xml.dom.minidom as xml; "
                                   "xml.parse(sys.argv[1])' " +
                                   file)
                                      .c_str()),
                      0);
        }
    }
    std::remove(file.c_str());
    EXPECT_EQ(fitting_title("αβγδε", 5), "αβγδε");
    EXPECT_EQ(fitting_title("xαβγδε", 5), "…βγδε");
}

} // namespace
