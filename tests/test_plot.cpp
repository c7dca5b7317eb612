// SPDX-License-Identifier: MIT
// test_plot.cpp - the figures: what is drawn for which blocks, in a document that is well formed.

#include "plot/plot.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

namespace {

void add_block(std::vector<Block> &blocks, BlockStatus status, int angle = 0)
{
    const double start = 0.25 * static_cast<double>(blocks.size());
    const double level = status == BlockStatus::quiet ? -HUGE_VAL : -20.0;
    blocks.push_back({start, start + 0.25, status, angle, 28, 30, 32, level});
}

// Separate parts of the path of a style.
auto parts(const std::string &svg, const std::string &style)
{
    const std::size_t at = std::min(svg.size(), svg.find("<path class=\"" + style + "\""));
    const std::string path = svg.substr(at, svg.find('\n', at) - at);
    return std::count(path.begin(), path.end(), 'M');
}

TEST(Plot, MarksWhatTheBlocksAre)
{
    std::vector<Block> blocks;
    for (const int angle : {90, 90, -90, 30})
        add_block(blocks, BlockStatus::ok, angle);
    for (const BlockStatus status : {BlockStatus::quiet, BlockStatus::quiet, BlockStatus::disagree,
                                     BlockStatus::quiet, BlockStatus::beyond})
        add_block(blocks, status);
    const std::string plot = angle_plot_svg(blocks, "x");
    EXPECT_EQ(parts(plot, "mark"), 4) << plot;
    EXPECT_EQ(parts(plot, "quiet"), 2) << plot; // neighbours join
    EXPECT_EQ(parts(plot, "disagree") + parts(plot, "beyond"), 2) << plot;
    EXPECT_EQ(parts(plot, "level"), 3) << plot; // with gaps where there is digital silence
    const std::string rose = angle_rose_svg(blocks, "x");
    for (const char *text : {"+85° to +90°: 2 blocks, 50 %", ">4 of 9 blocks with an angle (44 %), "
                                                             "median +60°<"})
        EXPECT_NE(rose.find(text), std::string::npos) << text << rose;
    EXPECT_NE(angle_rose_svg({blocks[0]}, "x").find("class=\"median\" d=\"M80 "),
              std::string::npos); // +90 is on the left
}

TEST(Plot, IsSmallAndWellFormedWhateverItShows)
{
    const std::string file = ::testing::TempDir() + "plot.svg";
    std::vector<Block> day;
    for (int i = 0; i < 340000; i++)
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
}

} // namespace
