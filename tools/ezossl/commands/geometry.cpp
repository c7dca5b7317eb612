// SPDX-License-Identifier: MIT
// geometry.cpp - the command `ezossl geometry`: what a pair of microphones can resolve. The
// figures come from pair_geometry.cpp.

#include <algorithm>
#include <memory>

#include "base/acoustics.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/options.h"
#include "input/sample_rates.h"
#include "tracking/pair_geometry.h"

namespace {

struct Explanation {
    const char *name;
    const char *text;
};
constexpr Explanation kExplanations[] = {
    {"longest lag", "samples that sound takes from one microphone to the other"},
    {"D", "the library's limit: the longest lag in float arithmetic, truncated to whole samples, "
          "plus one. Frames with lags beyond D + 3 are rejected"},
    {"directions",
     "every frame votes for the nearest of nine directions k, 22.5 degrees apart. The "
     "expected delay of each is D cos(k pi / 8), with D at 25 degrees Celsius. The "
     "number shown counts the directions that a possible lag votes for: a whole "
     "number of samples, no more than the longest lag, within -(D + 3) ... D + 3 "
     "and -128 ... 127"},
    {"first step", "angle of a lag of one sample. Angles between whole lags come from the mean "
                   "over a block and the shape of the correlation's peak"},
    {"seen up to", "angle of the longest lag that a frame can show: 127 samples"},
    {"modes", "bf_mode 0, spectral, sees lags of -128 ... 127 samples. bf_mode 1, time-domain, "
              "compares microphone 0 with itself: it sees lags below 128 and gives no direction"},
};

std::string explanations()
{
    std::string text;
    for (const Explanation &explanation : kExplanations)
        text += format_text("%s%-13s%s", text.empty() ? "" : "\n", explanation.name,
                            wrapped(explanation.text, 13).c_str());
    return text + "\n\ndocs/accuracy.md states how accurate angles are at each spacing, rate and\n"
                  "direction, and where not to use the tool.";
}

struct GeometryArguments {
    ArrayOptions array;
    int rate = 0; // all
};

double widest_spacing_cm(int rate, int temperature)
{
    return 100.0 * kHighestSeenLag * speed_of_sound(temperature) / rate;
}

void print_spacing(const ArrayOptions &array, DataOutput &output)
{
    const double speed = speed_of_sound(array.temperature);
    output.print("spacing %g cm at %d deg Celsius: sound takes %.1f us at %.1f m/s\n",
                 array.spacing_cm, array.temperature, array.spacing_cm * 1e4 / speed, speed);
}

void print_rates(const ArrayOptions &array, DataOutput &output)
{
    output.print("\n%9s  %11s  %4s  %10s  %10s  %10s  %s\n", "rate [Hz]", "longest lag", "D",
                 "directions", "first step", "seen up to", "widest spacing");
    for (const int rate : kSampleRates) {
        const PairGeometry pair(array.spacing_cm, rate, array.temperature);
        const auto reachable = pair.reachable_directions();
        const std::string first_step = pair.longest_possible_lag() >= 1
                                           ? format_text("%.1f deg", pair.angle_of_lag(-1))
                                           : "none";
        output.print(
            "%9d  %11.2f  %4d  %5td of %d  %10s  %6.1f deg  %11.1f cm\n", rate, pair.longest_lag(),
            pair.limit(), std::count(reachable.begin(), reachable.end(), true), kDirectionCount,
            first_step.c_str(), pair.widest_angle(), widest_spacing_cm(rate, array.temperature));
    }
    output.print(
        "\n-r RATE shows one rate lag by lag; ezossl geometry --help explains the columns.\n");
}

// The remark on a lag that exceeds the longest one by this many samples.
const char *remark(double excess)
{
    if (excess <= 0.0)
        return "";
    return excess < 0.5 ? "  longer than the longest lag: rounded up, near the axis"
                        : "  beyond the spacing: echoes and noise";
}

void print_lags(const ArrayOptions &array, int rate, DataOutput &output)
{
    const PairGeometry pair(array.spacing_cm, rate, array.temperature);
    const auto reachable = pair.reachable_directions();
    output.print("rate %d Hz: longest lag %.2f samples, D = %d, directions reachable:", rate,
                 pair.longest_lag(), pair.limit());
    for (int k = 0; k < kDirectionCount; ++k) {
        if (reachable[static_cast<size_t>(k)])
            output.print(" %+g", angle_of_direction(k));
    }
    output.print("\n\n%5s  %11s  %s\n", "lag", "angle [deg]", "votes for direction");
    for (int lag = -pair.longest_accepted_lag(); lag <= pair.longest_accepted_lag(); ++lag) {
        const int direction = pair.direction_of_lag(lag);
        output.print("%+5d  %+11.1f  %d (%+g)%s\n", lag, pair.angle_of_lag(lag), direction,
                     angle_of_direction(direction), remark(std::abs(lag) - pair.longest_lag()));
    }
}

void show_geometry(const GeometryArguments &options, DataOutput &output)
{
    print_spacing(options.array, output);
    if (options.rate == 0)
        print_rates(options.array, output);
    else
        print_lags(options.array, options.rate, output);
    output.finish();
}

} // namespace

RunCommand add_geometry(CLI::App &parser)
{
    const auto options = std::make_shared<GeometryArguments>();
    options->array.add_to(parser);
    parser.add_option("-r,--rate", options->rate, "Show one sample rate, lag by lag")
        ->check(supported_rate());
    parser.footer(explanations());
    return [options](DataOutput &output) { show_geometry(*options, output); };
}
