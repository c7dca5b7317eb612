// SPDX-License-Identifier: MIT
// test_plot.cpp - the figures: what is drawn for which blocks, in a document that is well formed.

#include "plot.h"

#include <cmath>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

namespace {

Block a_block(int index, BlockStatus status, int angle = 0)
{
    return {0.25 * index, 0.25 * index + 0.25, status, angle, 30, 32, -HUGE_VAL};
}

std::size_t count(const std::string &text, const std::string &what)
{
    std::size_t times = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        times++;
    return times;
}

// The outline of the first path of the style; empty if there is none.
std::string outline(const std::string &svg, const std::string &style)
{
    const std::string opening = "<path class=\"" + style + "\" d=\"";
    const std::size_t at = svg.find(opening);
    const std::size_t start = at + opening.size();
    return at == std::string::npos ? "" : svg.substr(start, svg.find('"', start) - start);
}

TEST(Plot, MarksWhatTheBlocksAre)
{
    std::vector<Block> blocks;
    for (const int angle : {90, 90, -90, 30})
        blocks.push_back(a_block(static_cast<int>(blocks.size()), BlockStatus::ok, angle));
    for (const BlockStatus status : {BlockStatus::quiet, BlockStatus::quiet, BlockStatus::undecided,
                                     BlockStatus::quiet, BlockStatus::impossible})
        blocks.push_back(a_block(static_cast<int>(blocks.size()), status));
    const std::string plot = angle_plot_svg(blocks, "x");
    EXPECT_EQ(count(outline(plot, "mark"), "M"), 4u) << plot;
    EXPECT_EQ(count(outline(plot, "quiet"), "M"), 2u) << plot; // two blocks in a row join
    EXPECT_EQ(count(outline(plot, "undecided") + outline(plot, "impossible"), "M"), 2u) << plot;

    const std::string rose = angle_rose_svg(blocks, "x");
    EXPECT_EQ(count(rose, "<path class=\"sector\""), 3u) << rose;
    EXPECT_NE(rose.find("+85° to +90°: 2 blocks, 50 %"), std::string::npos) << rose;
    EXPECT_NE(rose.find("4 of 9 blocks with an angle (44 %), median +60°"), std::string::npos);
    EXPECT_EQ(outline(angle_rose_svg({blocks[0]}, "x"), "median").find("M80 "), 0u); // + is left
}

TEST(Plot, IsSmallAndWellFormedWhateverItShows)
{
    const std::string file = ::testing::TempDir() + "plot.svg";
    std::vector<Block> day;
    for (int i = 0; i < 340000; i++)
        day.push_back(a_block(i, i % 3 == 0 ? BlockStatus::undecided : BlockStatus::ok, i % 20));
    for (const std::vector<Block> &blocks : {{}, {day[0]}, {day[1]}, day}) {
        for (const auto &draw : {angle_plot_svg, angle_rose_svg}) {
            const std::string svg = draw(blocks, std::string(200, 'x') + "<&\">\x01\xE9 \xC3\xA9");
            EXPECT_LT(svg.size(), 500000u);
            EXPECT_NE(svg.find("x&lt;&amp;&quot;&gt;?? \xC3\xA9</title>"), std::string::npos);
            std::ofstream(file) << svg;
            EXPECT_EQ(std::system(("python3 -c 'import sys, xml.dom.minidom as xml\n"
                                   "xml.parse(sys.argv[1])' " +
                                   file)
                                      .c_str()),
                      0);
        }
    }
}

} // namespace
