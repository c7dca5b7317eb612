// SPDX-License-Identifier: MIT
// room.cpp - the image method (J. B. Allen and D. A. Berkley, "Image method for efficiently
// simulating small-room acoustics", J. Acoust. Soc. Am. 65, 1979), with pulses between the samples,
// as the small delays of the pair require.

#include "scene/room.h"

#include <algorithm>
#include <cmath>

#include "base/failure.h"
#include "base/pi.h"
#include "base/text.h"
#include "scene/fractional_delay.h"

namespace {

constexpr double kWallMargin = 0.1; // metres from the source to every wall
// Off the middle of the room, where echoes would coincide.
constexpr Point kPairPlace = {0.47, 0.28, 0.43}; // of width, depth, height

// An image along one axis: its place, and the number of walls that have reflected it.
struct AxisImage {
    double coordinate;
    int reflections;
};

std::vector<AxisImage> images_along(double size, double source, double receiver, double reach)
{
    std::vector<AxisImage> images;
    const int last = static_cast<int>(std::ceil(reach / (2.0 * size))) + 1;
    for (int n = -last; n <= last; ++n) {
        for (int turned = 0; turned <= 1; ++turned) {
            const double place = (1 - 2 * turned) * source + 2.0 * n * size - receiver;
            if (std::fabs(place) <= reach)
                images.push_back({place, std::abs(n - turned) + std::abs(n)});
        }
    }
    return images;
}

// Calls visit(distance, reflections) for every image within `reach`.
template <class Visit>
void for_each_image(const Point &size, const Point &source, const Point &receiver, double reach,
                    const AtWork &at_work, Visit visit)
{
    std::vector<AxisImage> axis[3];
    for (size_t i = 0; i < 3; ++i)
        axis[i] = images_along(size[i], source[i], receiver[i], reach);
    double planes = 0.0;
    for (const AxisImage &x : axis[0]) {
        at_work(planes++ / static_cast<double>(axis[0].size()));
        for (const AxisImage &y : axis[1]) {
            const double flat = x.coordinate * x.coordinate + y.coordinate * y.coordinate;
            if (flat > reach * reach)
                continue;
            for (const AxisImage &z : axis[2]) {
                const double distance = std::sqrt(flat + z.coordinate * z.coordinate);
                if (distance <= reach)
                    visit(distance, x.reflections + y.reflections + z.reflections);
            }
        }
    }
}

// Energy of the images by time and number of reflections, for walls that reflect everything.
class EnergyMap
{
public:
    EnergyMap(const Point &size, const Point &source, const Point &receiver, double sound_speed,
              double seconds, const AtWork &at_work)
    {
        for_each_image(size, source, receiver, seconds * sound_speed, at_work,
                       [&](double distance, int reflections) {
                           add(distance / sound_speed, reflections, 1.0 / (distance * distance));
                       });
    }

    // Three times the time from -5 to -25 dB of the energy still to come (M. R. Schroeder, "New
    // method of measuring reverberation time", J. Acoust. Soc. Am. 37, 1965).
    double reverberation_time(double reflection) const
    {
        std::vector<double> to_come(energy_.size() + 1, 0.0);
        for (size_t t = energy_.size(); t-- > 0;) {
            double factor = 1.0;
            double sum = 0.0;
            for (const double energy : energy_[t]) {
                sum += energy * factor;
                factor *= reflection * reflection;
            }
            to_come[t] = to_come[t + 1] + sum;
        }
        return 3.0 * (time_below(to_come, -25.0) - time_below(to_come, -5.0));
    }

private:
    static constexpr double kStep = 0.001; // seconds

    void add(double time, int reflections, double energy)
    {
        const auto t = static_cast<size_t>(time / kStep);
        const auto order = static_cast<size_t>(reflections);
        if (energy_.size() <= t)
            energy_.resize(t + 1);
        if (energy_[t].size() <= order)
            energy_[t].resize(order + 1);
        energy_[t][order] += energy;
    }

    static double time_below(const std::vector<double> &to_come, double db)
    {
        const double limit = to_come.front() * std::pow(10.0, db / 10.0);
        size_t t = 0;
        while (t + 1 < to_come.size() && to_come[t] > limit)
            ++t;
        return kStep * static_cast<double>(t);
    }

    std::vector<std::vector<double>> energy_;
};

// The length of the path of the last echo, in metres.
double reach_of(const RoomSettings &settings, double sound_speed)
{
    return settings.distance + settings.rt60 * sound_speed;
}

double find_reflection(const EnergyMap &energy, double rt60)
{
    double low = 0.0;
    double high = 1.0;
    for (int i = 0; i < 30; ++i) {
        const double middle = 0.5 * (low + high);
        (energy.reverberation_time(middle) < rt60 ? low : high) = middle;
    }
    return 0.5 * (low + high);
}

// All images have the same sign, so they add up at 0 Hz. This is the paper's high-pass of 100 Hz.
void remove_low_end(std::vector<float> &response, int rate)
{
    const double w = 2.0 * kPi * 100.0 / rate;
    const double r = std::exp(-w);
    double y1 = 0.0;
    double y2 = 0.0;
    for (float &sample : response) {
        const double y0 = 2.0 * r * std::cos(w) * y1 - r * r * y2 + double{sample};
        sample = static_cast<float>(y0 - (1.0 + r) * y1 + r * y2);
        y2 = y1;
        y1 = y0;
    }
}

} // namespace

double echo_count(const RoomSettings &settings, double sound_speed)
{
    const double volume = settings.size[0] * settings.size[1] * settings.size[2];
    return 4.0 / 3.0 * kPi * std::pow(reach_of(settings, sound_speed), 3) / volume;
}

Room::Room(const RoomSettings &settings, double spacing, double sound_speed, int rate,
           const AtWork &at_work)
    : settings_(settings), spacing_(spacing), sound_speed_(sound_speed), rate_(rate)
{
    check_pair();
    Point ahead = place_at(0.0); // or as far as the room reaches
    ahead[1] = std::min(ahead[1], settings.size[1] - kWallMargin);
    const EnergyMap energy(settings.size, ahead, middle_of_pair(), sound_speed,
                           1.25 * settings.rt60, [&](double) { at_work(0.0); });
    reflection_ = find_reflection(energy, settings.rt60);
}

// Microphone 0 is nearer to a wall.
void Room::check_pair() const
{
    if (middle_of_pair()[0] - 0.5 * spacing_ < kWallMargin)
        throw UsageFailure(
            format_text("microphones %g m apart would be outside the room of %gx%gx%g "
                        "m, or too near a wall; enlarge --room",
                        spacing_, settings_.size[0], settings_.size[1], settings_.size[2]));
    if (settings_.distance < spacing_)
        throw UsageFailure(format_text("at %g m the source is too near microphones %g m apart; "
                                       "enlarge --distance",
                                       settings_.distance, spacing_));
}

Point Room::middle_of_pair() const
{
    Point middle{};
    for (size_t i = 0; i < 3; ++i)
        middle[i] = kPairPlace[i] * settings_.size[i];
    return middle;
}

// Microphone 0, at the smaller x, is on the side of the positive angles.
Point Room::place_at(double angle_deg) const
{
    Point place = middle_of_pair();
    place[0] -= settings_.distance * std::sin(angle_deg * kPi / 180.0);
    place[1] += settings_.distance * std::cos(angle_deg * kPi / 180.0);
    return place;
}

Point Room::source_at(double angle_deg) const
{
    const Point source = place_at(angle_deg);
    for (size_t i = 0; i < 2; ++i) {
        if (source[i] >= kWallMargin && source[i] <= settings_.size[i] - kWallMargin)
            continue;
        throw UsageFailure(
            format_text("at %+g deg and %g m the source would be outside the room of %gx%gx%g m, "
                        "or too near a wall; reduce --distance or enlarge --room",
                        angle_deg, settings_.distance, settings_.size[0], settings_.size[1],
                        settings_.size[2]));
    }
    return source;
}

std::vector<float> Room::response(double angle_deg, int microphone, const AtWork &at_work) const
{
    Point receiver = middle_of_pair();
    receiver[0] += (microphone == 0 ? -0.5 : 0.5) * spacing_;
    const double reach = reach_of(settings_, sound_speed_);
    std::vector<float> response(static_cast<size_t>(reach / sound_speed_ * rate_) +
                                2 * kInterpolationReach);
    for_each_image(settings_.size, source_at(angle_deg), receiver, reach, at_work,
                   [&](double distance, int reflections) {
                       add_impulse(response, distance / sound_speed_ * rate_ + kInterpolationReach,
                                   std::pow(reflection_, reflections) * settings_.distance /
                                       distance);
                   });
    remove_low_end(response, rate_);
    return response;
}
