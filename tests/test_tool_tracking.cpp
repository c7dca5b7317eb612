// SPDX-License-Identifier: MIT
// test_tool_tracking.cpp - from frames to blocks: votes, gate, smoothing, reasons; and the band of
// the sound.

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "base/sample_format.h"
#include "base/text.h"
#include "base/wall_clock.h"
#include "input/band_limit.h"
#include "input/resampler.h"
#include "output/advice.h"
#include "output/summary.h"
#include "plot/time_axis.h"
#include "tracking/agreement.h"
#include "tracking/smoother.h"

using namespace std::chrono_literals;

namespace {

constexpr int kNone = EZOSSL_REJECTED_FRAME;
using Kind = FrameVote::Kind;

// Sorts all votes, and counts for each those at most 0.2 further in the sine.
DirectionVote::Result plain_result(const std::vector<FrameVote> &votes, size_t window)
{
    std::vector<int> angles;
    int beyond = 0;
    const size_t frames = std::min(window, votes.size());
    for (size_t i = votes.size() - frames; i < votes.size(); ++i) {
        if (votes[i].kind == Kind::angle)
            angles.push_back(votes[i].angle);
        beyond += votes[i].kind == Kind::beyond;
    }
    std::sort(angles.begin(), angles.end());
    const auto sine = [](int angle) { return std::sin(angle * 3.14159265358979324 / 180.0); };
    std::vector<size_t> firsts; // of the ranges that are equally full
    int most = 0;
    for (size_t i = 0; i < angles.size(); ++i) {
        const auto inside = static_cast<int>(
            std::count_if(angles.begin() + static_cast<std::ptrdiff_t>(i), angles.end(),
                          [&](int angle) { return sine(angle) <= sine(angles[i]) + 0.2 + 1e-9; }));
        if (inside > most)
            firsts.clear();
        most = std::max(most, inside);
        if (inside == most)
            firsts.push_back(i);
    }
    const int angle = most == 0 ? 0 : angles[firsts[firsts.size() / 2] + (most - 1) / 2];
    const int clear = beyond + static_cast<int>(angles.size());
    const int share = static_cast<int>(std::ceil(static_cast<double>(frames) * 7 / 50));
    const int quorum = std::max(share, window < 20 ? static_cast<int>(window + 1) / 2 : 10);
    const BlockStatus status = beyond >= quorum && beyond > most ? BlockStatus::beyond
                               : most >= quorum                  ? BlockStatus::ok
                               : clear < quorum                  ? BlockStatus::few_clear
                               : 4 * most >= 3 * quorum          ? BlockStatus::near_miss
                                                                 : BlockStatus::disagree;
    return {status, angle, most, clear, static_cast<int>(frames)};
}

TEST(DirectionVote, IsTheFullestRangeOfTheLastFrames)
{
    std::mt19937 generator(1);
    const auto below = [&generator](int count) { return static_cast<int>(generator() % count); };
    int met[kStatusCount] = {};
    for (const size_t window : {1, 7, 32, 64, 75, 128}) {
        DirectionVote vote(window);
        std::vector<FrameVote> votes;
        int angle_share = 0, beyond_share = 0, spread = 1, centre = 0;
        for (int i = 0; i < 4000; ++i) {
            if (i % 150 == 0) { // another scene
                angle_share = below(3) == 0 ? 100 : below(40);
                beyond_share = below(3) == 0 ? below(100) : 0;
                spread = 1 + below(3) * below(90);
                centre = below(181) - 90;
            }
            FrameVote next{below(2) == 0 ? Kind::silent : Kind::unclear};
            if (below(100) < beyond_share)
                next = {Kind::beyond};
            else if (below(100) < angle_share)
                next = {Kind::angle, std::clamp(centre + below(2 * spread + 1) - spread, -90, 90)};
            vote.add(next);
            votes.push_back(next);
            const DirectionVote::Result is = vote.result(), wanted = plain_result(votes, window);
            ASSERT_EQ(is.status, wanted.status) << window << ' ' << i;
            ASSERT_EQ(is.agreeing, wanted.agreeing) << window << ' ' << i;
            ASSERT_EQ(is.clear, wanted.clear) << window << ' ' << i;
            ASSERT_EQ(is.frames, wanted.frames) << window << ' ' << i;
            if (is.agreeing > 0) {
                ASSERT_EQ(is.angle, wanted.angle) << window << ' ' << i;
            }
            ++met[index_of(is.status)];
        }
    }
    for (const BlockStatus status : {BlockStatus::ok, BlockStatus::few_clear, BlockStatus::disagree,
                                     BlockStatus::near_miss, BlockStatus::beyond})
        EXPECT_GT(met[index_of(status)], 100) << display_of(status).name;
}

TEST(NoiseGate, FollowsTheNoiseOfHalfAMinute)
{
    const struct {
        double level;
        int seconds; // of so many segments
        bool is_quiet;
        double gate;
    } steps[] = {
        {-90.0, 1, true, -80},  // below what counts
        {-80.0, 1, true, -80},  //
        {-79.5, 1, false, -80}, // never lower
        {-40.0, 1, false, -73.5},
        {-30.0, 27, false, -73.5},
        {-90.0, 1, true, -73.5}, // does not become the floor, but time passes
        {-30.0, 1, false, -40},  // floor -40, yet 10 dB below the loudest; -79.5 is too old
        {-50.0, 1, true, -44},
        {-44.0, 1, true, -44}, // at the gate
        {-43.9, 1, false, -44},
        {-52.0, 1, true, -46},
        {-43.0, 29, false, -46},
        {-43.0, 1, true, -40}, // 6 dB above -43, yet 10 dB below the loudest
        {-20.0, 1, false, -37},
    };
    NoiseGate gate(std::nullopt);
    for (const auto &step : steps) {
        for (int i = 0; i < step.seconds; ++i)
            ASSERT_EQ(gate.is_quiet(step.level, 1.0), step.is_quiet) << step.level << ' ' << i;
        EXPECT_NEAR(gate.level(), step.gate, 1e-9) << step.level;
    }
    EXPECT_NEAR(gate.lowest(), -80, 1e-9);
    EXPECT_NEAR(gate.highest(), -37, 1e-9);

    NoiseGate loud(std::nullopt);
    loud.is_quiet(-20, 1.0);
    loud.is_quiet(-20, 1.0);
    EXPECT_NEAR(loud.lowest(), -30, 1e-9); // what it was before any sound does not count

    NoiseGate fixed(-35);
    for (const auto &[level, is_quiet] :
         {std::pair(-20.0, false), {-60.0, true}, {-35.0, true}, {-34.9, false}, {-HUGE_VAL, true}})
        EXPECT_EQ(fixed.is_quiet(level, 40.0), is_quiet) << level;
    EXPECT_EQ(fixed.lowest(), -35);
    EXPECT_EQ(fixed.level(), -35);
    EXPECT_EQ(fixed.highest(), -35);
}

Block a_frame(BlockStatus status, double level, int angle = 0)
{
    return {0.0, 0.0, status, angle, 1, 1, 1, level};
}

// 12 frames of 8 ms are a segment of 8 and one of 4; the moment is two blocks. A frame among
// quiet ones raises its segment by its level less 10 lg of the segment's frames.
TEST(Smoother, GatesSegmentsAndLetsTheirFramesVote)
{
    const struct {
        double first, second; // levels of the loud frame of each segment
        BlockStatus status;
        int voting;
        double level; // of the block, 10 lg of the mean of 10^(level / 10)
    } blocks[] = {
        {-30.5, -33.5, BlockStatus::ok, 12, -39.53}, // segments of -39.5 and -39.5
        {-31.5, -34.5, BlockStatus::quiet, 12, -40.53},
        {-31.5, -33.5, BlockStatus::few_clear, 4, -40.17},
        {-30.5, -34.5, BlockStatus::ok, 12, -39.84},
        {-HUGE_VAL, -HUGE_VAL, BlockStatus::quiet, 8, -HUGE_VAL},
        {-HUGE_VAL, -HUGE_VAL, BlockStatus::quiet, 0, -HUGE_VAL},
    };
    Smoother smoother({16000, 5.8, 20, -80, 12}, 0.192, -40);
    double start = 0.0;
    int frames = 12;
    for (const auto &block : blocks) {
        for (int i = 0; i < 12; ++i) {
            ASSERT_FALSE(smoother.is_block_complete());
            const double level = i == 3 ? block.first : i == 9 ? block.second : -HUGE_VAL;
            smoother.add(a_frame(BlockStatus::ok, level, 21), -i % 3);
        }
        ASSERT_TRUE(smoother.is_block_complete());
        EXPECT_EQ(smoother.delays()[11], -2);
        const Block result = smoother.finish_block();
        EXPECT_TRUE(smoother.delays().empty());
        EXPECT_EQ(result.status, block.status) << start;
        EXPECT_EQ(result.frames_agreeing, block.voting) << start;
        EXPECT_EQ(result.frames_used, block.voting) << start;
        EXPECT_EQ(result.frames_total, frames) << start;
        if (block.status == BlockStatus::ok) {
            EXPECT_EQ(result.angle, 21);
        }
        EXPECT_NEAR(std::max(result.level, -99.0), std::max(block.level, -99.0), 0.01);
        EXPECT_NEAR(result.start, start, 1e-9);
        EXPECT_NEAR(result.end, start += 0.096, 1e-9);
        frames = 24;
    }
}

// 5.8 cm are 2.70 samples: a frame with a delay of 3 votes, one of 4 does not fit the spacing.
TEST(Smoother, TakesAFrameForWhatItsDelaySays)
{
    const struct {
        BlockStatus frame;
        int delay;
        BlockStatus expected;
    } cases[] = {
        {BlockStatus::ok, 3, BlockStatus::ok},
        {BlockStatus::ok, -3, BlockStatus::ok},
        {BlockStatus::ok, 4, BlockStatus::beyond},
        {BlockStatus::ok, -4, BlockStatus::beyond},
        {BlockStatus::ok, kNone, BlockStatus::few_clear},
        {BlockStatus::beyond, 2, BlockStatus::beyond},
        {BlockStatus::few_clear, kNone, BlockStatus::few_clear},
        {BlockStatus::quiet, 1, BlockStatus::few_clear}, // its level is that of the segment
    };
    for (const auto &c : cases) {
        Smoother smoother({16000, 5.8, 20, -80, 4}, 0.032, std::nullopt);
        for (int i = 0; i < 4; ++i)
            smoother.add(a_frame(c.frame, -20), c.delay);
        EXPECT_EQ(smoother.finish_block().status, c.expected) << c.delay;
    }
    EXPECT_EQ(frames_in(0.0121, 16000), 2); // 1.51
    EXPECT_EQ(frames_in(0.0119, 16000), 1);
    EXPECT_EQ(frames_in(0.001, 8000), 1);
}

// Frames of each delay, in the given numbers.
std::vector<int> delays(std::initializer_list<std::pair<int, int>> counts)
{
    std::vector<int> result;
    for (const auto &[count, delay] : counts)
        result.insert(result.begin(), static_cast<size_t>(count), delay);
    return result;
}

TEST(Agreement, CountsAndNamesTheReason)
{
    const std::pair<std::vector<int>, int> counts[] = {
        {{}, 0},
        {{kNone, kNone}, 0},
        {{5}, 1},
        {{3, 1, 2}, 3},
        {{9, 1, 5, 0}, 2}, // the lower of two in the middle
        {{2, 1, 0, -1}, 3},
        {{3, kNone, 5, 3, kNone}, 2},
        {{-2, -4, -3, -3, 9}, 4},
    };
    for (const auto &[list, agreeing] : counts)
        EXPECT_EQ(count_agreeing(list), agreeing) << ::testing::PrintToString(list);

    // Lags of -2, 0 and 2 vote for different directions.
    const PairGeometry geometry(5.8, 16000, 20);
    const std::pair<std::vector<int>, BlockStatus> reasons[] = {
        {delays({{25, kNone}, {7, 0}}), BlockStatus::few_clear},
        {delays({{24, kNone}, {8, 0}}), BlockStatus::disagree},
        {delays({{16, kNone}, {11, 0}, {5, 2}}), BlockStatus::disagree},
        {delays({{16, kNone}, {12, 2}, {4, 0}}), BlockStatus::near_miss},
        {delays({{14, kNone}, {6, -2}, {6, 0}, {6, 2}}), BlockStatus::disagree},
        {delays({{3, kNone}, {1, 0}}), BlockStatus::disagree}, // of 4 frames
        {delays({{4, kNone}, {1, 0}}), BlockStatus::few_clear},
    };
    for (const auto &[list, reason] : reasons)
        EXPECT_EQ(reason_of_undecided(list, geometry), reason) << ::testing::PrintToString(list);
}

// White noise, at this share of full scale.
std::vector<float> noise(size_t samples, float level)
{
    std::mt19937 generator(1);
    std::vector<float> result(samples);
    for (float &sample : result)
        sample = level * (static_cast<float>(generator() % 2001) / 1000.0f - 1.0f);
    return result;
}

void hear(BandLimit &limit, const std::vector<float> &samples)
{
    std::vector<int16_t> rounded(samples.size());
    to_int16(samples.data(), rounded.data(), samples.size());
    for_each_frame(rounded, [&limit](const Frame &frame) { limit.add(frame); });
}

std::optional<int> edge_of(const std::vector<float> &samples, int rate)
{
    BandLimit limit(rate);
    hear(limit, samples);
    return limit.edge();
}

TEST(BandLimit, IsWhereTheSoundOfALowerRateEnds)
{
    const struct {
        int from, rate;
        double floor_db; // of noise at the rate itself, against the density below the edge
        double seconds;
        int edge; // Hz; 0 is none
    } cases[] = {
        {8000, 16000, -200, 3, 4000},  {8000, 32000, -200, 3, 4000},
        {8000, 48000, -200, 3, 4000},  {16000, 32000, -200, 3, 8000},
        {16000, 48000, -200, 3, 8000}, {16000, 16000, -200, 3, 0},
        {48000, 48000, -200, 3, 0},    {8000, 8000, -200, 3, 0},
        {8000, 16000, -41, 3, 4000},   {8000, 16000, -35, 3, 0},
        {8000, 16000, -200, 1.9, 0},   {8000, 16000, -200, 2.1, 4000},
    };
    for (const auto &c : cases) {
        const auto pairs = static_cast<size_t>(c.seconds * c.from);
        const std::vector<float> source = noise(2 * pairs, 0.4f);
        std::vector<float> sound = source;
        if (c.from != c.rate)
            sound = Resampler(c.from, c.rate).process(source.data(), pairs, true);
        // Resampled noise keeps its power, so its density is this much higher.
        const double density = std::sqrt(static_cast<double>(c.rate) / c.from);
        const auto level = static_cast<float>(0.4 * density * std::pow(10.0, c.floor_db / 20.0));
        const std::vector<float> floor = noise(sound.size(), level);
        for (size_t i = 0; i < sound.size(); ++i)
            sound[i] += floor[(i + sound.size() / 2) % sound.size()];
        EXPECT_EQ(edge_of(sound, c.rate).value_or(0), c.edge) << c.from << ' ' << c.rate;
        // A pause does not count as sound.
        sound.insert(sound.begin(), 8 * static_cast<size_t>(c.rate), 0.0f);
        EXPECT_EQ(edge_of(sound, c.rate).value_or(0), c.edge) << c.from << ' ' << c.rate;
    }
    const std::vector<float> source = noise(2 * 24000, 0.4f);
    std::vector<float> sound = Resampler(8000, 16000).process(source.data(), 24000, true);
    for (size_t i = 0; i < sound.size(); ++i) // a whistle of 7 kHz
        sound[i] += 0.1f * std::sin(0.875f * 3.14159265f * std::floor(static_cast<float>(i) / 2));
    EXPECT_EQ(edge_of(sound, 16000), std::nullopt);
    EXPECT_EQ(band_limit_text(8000), "no sound of its own above 8 kHz");
}

// Between points 1 and 2, from 0 to 1.
float held(const float (&points)[4], float)
{
    return points[1];
}

float on_a_line(const float (&points)[4], float place)
{
    return points[1] + (points[2] - points[1]) * place;
}

float on_a_cubic(const float (&points)[4], float place) // through all four
{
    const float x = place;
    return -x * (x - 1) * (x - 2) / 6 * points[0] + (x + 1) * (x - 1) * (x - 2) / 2 * points[1] -
           (x + 1) * x * (x - 2) / 2 * points[2] + (x + 1) * x * (x - 1) / 6 * points[3];
}

TEST(BandLimit, IsWhereAnImageBegins)
{
    float (*const interpolations[])(const float(&)[4], float) = {held, on_a_line, on_a_cubic};
    const struct {
        int from, factor;
        float own; // level of noise at the rate itself, of 0.4 of that at the lower one
        int pause; // seconds
        int edge;
    } cases[] = {
        {8000, 2, 0, 0, 4000},    {8000, 6, 0, 0, 4000}, {16000, 2, 0, 0, 8000},
        {16000, 3, 0, 0, 8000},   {8000, 6, 0, 9, 4000}, // a pause does not count
        {8000, 2, 0.1f, 0, 4000}, {8000, 2, 0.8f, 0, 0},
    };
    for (const auto &c : cases) {
        const int rate = c.from * c.factor;
        const std::vector<float> source = noise(2 * 22 * static_cast<size_t>(c.from) / 10, 0.4f);
        const std::vector<float> own = noise(source.size() * static_cast<size_t>(c.factor), c.own);
        for (const auto interpolate : interpolations) {
            std::vector<float> sound;
            for (size_t i = 2; i + 4 < source.size(); i += 2)
                for (int part = 0; part < c.factor; ++part)
                    for (size_t at = i; at < i + 2; ++at)
                        sound.push_back(
                            own[own.size() - 1 - sound.size()] +
                            interpolate(
                                {source[at - 2], source[at], source[at + 2], source[at + 4]},
                                static_cast<float>(part) / static_cast<float>(c.factor)));
            sound.insert(sound.begin(),
                         2 * static_cast<size_t>(c.pause) * static_cast<size_t>(rate), 0.0f);
            EXPECT_EQ(edge_of(sound, rate).value_or(0), c.edge)
                << c.from << ' ' << c.factor << ' ' << c.own << ' ' << c.pause;
        }
    }
    for (const int period : {16, 32, 128}) { // of a square wave at 16 kHz: a phase, yet no image
        std::vector<float> sound(2 * 48000);
        for (size_t i = 0; i < sound.size(); ++i)
            sound[i] = i / 2 % static_cast<size_t>(period) < static_cast<size_t>(period) * 3 / 8
                           ? 0.3f
                           : -0.3f;
        EXPECT_EQ(edge_of(sound, 16000), std::nullopt) << period;
    }
}

TEST(BandLimit, IsNotFoundInDullSound)
{
    for (const int rate : {16000, 48000}) {
        std::vector<float> sound = noise(6 * static_cast<size_t>(rate), 1.0f);
        const float keep = std::exp(-6.2831853f * 1000.0f / static_cast<float>(rate));
        for (int pass = 0; pass < 3; ++pass) // 18 dB per octave from 1 kHz on
            for (size_t i = 2; i < sound.size(); ++i)
                sound[i] = keep * sound[i - 2] + (1.0f - keep) * sound[i];
        EXPECT_EQ(edge_of(sound, rate), std::nullopt) << rate;
    }
}

// Wide-band sound, then far louder sound up to 4 kHz. Of long sound only some windows are analysed,
// but they stand for all of it.
TEST(BandLimit, OfLongSoundIsThatOfAllOfIt)
{
    const auto seconds = [](size_t count, int rate) {
        return 2 * count * static_cast<size_t>(rate);
    };
    const std::vector<float> low = noise(seconds(40, 8000), 0.4f);
    const std::vector<float> limited =
        Resampler(8000, 16000).process(low.data(), low.size() / 2, true);
    const struct {
        size_t wide, limited; // seconds
        bool is_settled;
        int edge;
    } cases[] = {
        {28, 0, false, 0}, {32, 0, true, 0},      {0, 40, false, 4000},
        {28, 6, false, 0}, {28, 12, false, 4000},
    };
    for (const auto &c : cases) {
        std::vector<float> sound = noise(seconds(c.wide, 16000), 0.004f);
        sound.insert(sound.end(), limited.begin(),
                     limited.begin() + static_cast<std::ptrdiff_t>(seconds(c.limited, 16000)));
        BandLimit limit(16000);
        hear(limit, sound);
        EXPECT_EQ(limit.is_settled(), c.is_settled) << c.wide << ' ' << c.limited;
        EXPECT_EQ(limit.edge().value_or(0), c.edge) << c.wide << ' ' << c.limited;
    }
}

TEST(Advice, IsOneStepWhereFewBlocksOfSoundHaveAnAngle)
{
    const TrackerSettings usual = {{16000, 5.8, 20, -80, 32}, 1.024, std::nullopt};
    TrackerSettings fast = usual, raw = usual, delay = usual;
    fast.localizer.sample_rate = 48000;
    raw.smooth_seconds.reset();
    delay.localizer.mode = DelayMode::time_domain;
    using S = BlockStatus;
    const struct {
        TrackerSettings settings;
        int ok, others;
        S other;
        const char *step; // empty for no advice
    } cases[] = {
        {usual, 4, 5, S::disagree, "'disagree': move the source nearer, or reduce"},
        {usual, 4, 4, S::disagree, ""},
        {usual, 3, 4, S::disagree, ""}, // too few to tell
        {usual, 0, 8, S::near_miss, "'near miss': move the source nearer, or try a longer --sm"},
        {usual, 0, 1, S::quiet, "too quiet: raise the capture gain"},
        {usual, 1, 90, S::quiet, ""},
        {fast, 4, 5, S::disagree, "at 48000 Hz few blocks get an angle: omit -r"},
        {raw, 4, 5, S::near_miss, "omit --raw-blocks"},
        {delay, 0, 0, S::undecided, "omit it to get angles"},
    };
    for (const auto &c : cases) {
        Summary summary;
        for (int i = 0; i < c.ok + c.others; ++i)
            summary.add(a_frame(i < c.ok ? S::ok : c.other, -20, 0));
        const InputInfo input = {"x", {}, c.settings};
        const std::string advice = advice_on(summary, input);
        EXPECT_EQ(advice.empty(), *c.step == '\0') << advice;
        EXPECT_NE(advice.find(c.step), std::string::npos) << advice;
        summary.faults = {"a fault"};
        EXPECT_EQ(advice_on(summary, input).empty(), c.settings.localizer.mode == DelayMode::vote);
    }
}

TEST(Times, AreRoughWithOneUnitAndPreciseToAMillisecond)
{
    const std::pair<double, const char *> cases[] = {
        {0.4, "0 s"}, {119, "119 s"}, {120, "2 min"}, {7199, "120 min"}, {7200, "2 h"}};
    for (const auto &[seconds, text] : cases)
        EXPECT_EQ(rough_time(seconds), text);
    EXPECT_EQ(iso_time(std::chrono::system_clock::time_point(7ms)).substr(19, 4), ".007");
}

TEST(TimeAxis, HasAtMostTenStepsWithLabelsOfOneUnit)
{
    const struct {
        double start, end;
        size_t ticks;
        const char *second, *last, *unit;
    } cases[] = {
        {0, 1, 11, "0.1", "1", "s"},
        {0, 1.01, 6, "0.2", "1", "s"},
        {0, 0.3, 4, "0.1", "0.3", "s"},
        {0.25, 0.75, 5, "0.4", "0.7", "s"},
        {0, 119, 8, "15", "105", "s"},
        {0, 120, 9, "0:15", "2:00", "min:s"},
        {3600, 3600.5, 6, "3600.1", "3600.5", "s"},
        {3590, 3610, 11, "59:52", "60:10", "min:s"},
        {0, 7199, 8, "15:00", "105:00", "min:s"},
        {0, 7200, 9, "0:15", "2:00", "h:min"},
        {90000, 90010, 11, "1500:01", "1500:10", "min:s"},
        {0, 86400, 9, "3:00", "24:00", "h:min"},
        {0, 864001, 6, "48:00", "240:00", "h:min"},
    };
    for (const auto &c : cases) {
        const TimeAxis axis(c.start, c.end, 10, 110);
        const std::vector<double> ticks = axis.ticks();
        ASSERT_EQ(ticks.size(), c.ticks) << c.start << ' ' << c.end;
        EXPECT_EQ(axis.label(ticks[1]), c.second);
        EXPECT_EQ(axis.label(ticks.back()), c.last);
        EXPECT_STREQ(axis.unit(), c.unit) << c.end;
        EXPECT_NEAR(axis.x(c.start), 10, 1e-9);
        EXPECT_NEAR(axis.x(0.25 * c.start + 0.75 * c.end), 85, 1e-9);
    }
}

} // namespace
