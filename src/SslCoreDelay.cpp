// SPDX-License-Identifier: MIT
// SslCoreDelay.cpp - the signal path of a frame, from samples to a vote, in the order of the steps.
//
// bf_mode 0: generalised cross-correlation with phase transform (C. H. Knapp and G. C. Carter, "The
// generalized correlation method for estimation of time delay", IEEE Trans. ASSP 24, 1976), graded
// by the ratio of peak to mean, with one vote a frame for the nearest of nine directions.
// bf_mode 1: average magnitude difference function, squared, over the newest 128 samples.

#include "SslCore.h"
#include "SslCoreReduce.h"
#include "window.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

static_assert(kWindowLength == kFftLength, "the window covers the analysed samples");

// ---- Samples in -----------------------------------------------------------------------------

void ssl_deinterleave(SslHandle *handle, const int16_t *microphone_input)
{
    for (uint32_t n = 0; n < kFrameLength; ++n)
        for (uint32_t mic = 0; mic < kMicCount; ++mic)
            handle->input_pcm[mic][n] = microphone_input[kMicCount * n + mic];
}

void ssl_load_frame(SslHandle *handle)
{
    for (uint32_t mic = 0; mic < kMicCount; ++mic) {
        float *const older = handle->time_frame[mic];
        float *const newest = older + kFrameLength;
        std::memcpy(older, newest, kFrameLength * sizeof(float));
        for (uint32_t n = 0; n < kFrameLength; ++n)
            newest[n] = static_cast<float>(handle->input_pcm[mic][n]) / 32768.0f;
    }
    handle->half_energy[0] = handle->half_energy[1];
    // Both comparison frames hold microphone 0, on purpose.
    const float *const newest = handle->time_frame[0] + kFrameLength;
    std::memcpy(handle->ref_frame_a, newest, sizeof handle->ref_frame_a);
    for (float(&frame)[kFrameLength] : handle->ref_frame_b)
        std::memcpy(frame, newest, sizeof frame);

    // Nobody reads the rate, so the compiler omits its computation.
    [[maybe_unused]] float zero_crossing_rate;
    ssl_zero_crossing_rate(newest, kFrameLength, &zero_crossing_rate);
}

// The sum runs in index order, so the sum over the older half equals the one that the previous
// frame made over its newest half alone. Each addition waits for the previous one, so two sums take
// the time of one.
void ssl_frame_energy(SslHandle *handle)
{
    const float *const x0 = handle->time_frame[0] + kFrameLength;
    const float *const x1 = handle->time_frame[1] + kFrameLength;
    float squares[kFrameLength];
    for (uint32_t i = 0; i < kFrameLength; ++i)
        squares[i] = (x0[i] * x0[i] + x1[i] * x1[i]) / 2.0f;
    float energy = handle->half_energy[0];
    float newest = 0.0f;
    for (const float square : squares) {
        energy += square;
        newest += square;
    }
    handle->half_energy[1] = newest;
    handle->frame_energy = energy;
    handle->energy_sum += energy;
}

// ---- Spectral estimator ---------------------------------------------------------------------

namespace {

// In place.
void transform(SslHandle *handle, FftDirection direction, float (&data)[kSpectrumFloats])
{
    fft_rdft(&handle->fft, kFftLength, direction, data, handle->fft_aux_a, handle->fft_aux_b);
}

} // namespace

void ssl_spectra(SslHandle *handle)
{
    for (uint32_t mic = 0; mic < kMicCount; ++mic) {
        window_copy(handle->time_frame[mic], handle->spectrum[mic]);
        transform(handle, kFftForward, handle->spectrum[mic]);
    }
}

namespace {

// X0 times the conjugate of X1. Real and imaginary parts in lanes of their own: g++ 12 fuses the
// interleaved product into multiply-adds in spite of -ffp-contract=off where the machine has them.
void cross_spectrum(SslHandle *handle)
{
    const float *const x0 = handle->spectrum[0];
    const float *const x1 = handle->spectrum[1];
    float *const cross = handle->cross_spectrum;
    constexpr uint32_t kLast = kSpectrumFloats - 2;
    for (uint32_t re = 0; re < kLast; re += 2 * kLanes)
        store_zipped(cross + re, load_zipped(x0 + re) * conjugate(load_zipped(x1 + re)));
    cross[kLast] = x0[kLast] * x1[kLast] + x0[kLast + 1] * x1[kLast + 1];
    cross[kLast + 1] = x0[kLast + 1] * x1[kLast] - x0[kLast] * x1[kLast + 1];
}

// Keeps only the phase of every bin.
void phase_transform(SslHandle *handle)
{
    complex_magnitude(handle->cross_spectrum, handle->cross_magnitude, kSpectrumFloats);
    for (uint32_t k = 0; k < kBinCount; ++k) {
        const double magnitude = double{handle->cross_magnitude[k]} + 1e-9; // silence: stay finite
        float *const bin = handle->cross_spectrum + 2 * k;
        bin[0] = static_cast<float>(double{bin[0]} / magnitude);
        bin[1] = static_cast<float>(double{bin[1]} / magnitude);
    }
}

// The correlation by lag, -128 first.
void correlate(SslHandle *handle)
{
    std::memcpy(handle->fft_scratch, handle->cross_spectrum, sizeof handle->fft_scratch);
    transform(handle, kFftInverse, handle->fft_scratch);
    std::memcpy(handle->correlation_raw, handle->fft_scratch, sizeof handle->correlation_raw);
    rotate_half(handle->correlation_raw, handle->correlation, kFftLength);
}

// Subtracts the minimum in place. The minimum itself becomes 0 when reached, so the values after it
// stay as they are. Intended: the grading below depends on it.
void remove_floor(float *correlation, uint32_t min_index)
{
    const float floor = correlation[min_index];
    for (uint32_t i = 0; i <= min_index; ++i)
        correlation[i] -= floor;
}

// The candidate direction whose expected delay is nearest; the first of equals.
uint32_t nearest_candidate(const float (&expected)[kCandidateCount], int32_t delay)
{
    uint32_t best = 0;
    float best_distance = 1e9f;
    for (uint32_t i = 0; i < kCandidateCount; ++i) {
        const float distance = std::fabs(expected[i] - static_cast<float>(delay));
        if (distance < best_distance) {
            best_distance = distance;
            best = i;
        }
    }
    return best;
}

// The distance of the peak from its index, in samples: the vertex of the parabola through the peak
// and its neighbours, but with a random factor of 0.70 ... 0.89 instead of 0.5. The correlation is
// circular, so the ends of the array are neighbours.
float refinement(const float *correlation, uint32_t max_index)
{
    const float peak = correlation[max_index];
    const float after = correlation[(max_index + 1) % kFftLength];
    const float before = correlation[(max_index + kFftLength - 1) % kFftLength];
    const float r = static_cast<float>(std::rand() % 20 / 100.0 + 0.7);
    return r * (after - before) / (2.0f * peak - after - before);
}

constexpr double kLeastConfidence = 1.4;

// The lag of the peak and its ratio to the mean, or a ratio of -1 if the lag cannot be a delay.
struct Peak {
    uint32_t index;
    int32_t delay;
    float confidence;
};

Peak grade_peak(SslHandle *handle)
{
    constexpr int64_t kLagMargin = 3; // beyond what the spacing allows, on purpose

    float *const correlation = handle->correlation;
    const uint32_t max_index = array_argmax(correlation, kFftLength);
    Peak peak = {max_index, handle->lag_table[max_index], -1.0f};

    const int64_t limit = handle->max_delay_sample[0] + kLagMargin;
    if (peak.delay < -limit || peak.delay > limit)
        return peak;
    const uint32_t min_index = array_argmin(correlation, kFftLength);
    // The minimum is at least as deep as the peak is high, as with inverted polarity.
    if (double{std::fabs(correlation[max_index])} - double{std::fabs(correlation[min_index])} <=
        0.0)
        return peak;

    const float largest = correlation[max_index];
    remove_floor(correlation, min_index);
    peak.confidence = array_peak_to_mean(correlation, kFftLength, correlation[max_index], largest,
                                         static_cast<float>(kLeastConfidence));
    return peak;
}

// Adds a vote. In a block that is never reset, a count stays at its largest value.
void add_vote(int32_t *count)
{
    if (*count < INT32_MAX)
        *count += 1;
}

} // namespace

void ssl_delay_gcc(SslHandle *handle, int32_t *delay_sample)
{
    // Nobody reads the two powers, so the compiler omits their computation.
    [[maybe_unused]] const float right_power = array_power(handle->time_frame[1], kFftLength);
    [[maybe_unused]] const float left_power = array_power(handle->time_frame[0], kFftLength);

    cross_spectrum(handle);
    phase_transform(handle);
    correlate(handle);
    const Peak peak = grade_peak(handle);

    if (double{peak.confidence} < kLeastConfidence) {
        add_vote(&handle->vote_count[0][kRejectedBin]);
        delay_sample[0] = EZOSSL_REJECTED_FRAME;
        return;
    }
    const uint32_t best = nearest_candidate(handle->direction_delay_table[0], peak.delay);
    add_vote(&handle->vote_count[0][best]);
    handle->vote_delay_sum[0][best] += static_cast<float>(peak.delay);
    handle->vote_delay_sum[0][best] += refinement(handle->correlation, peak.index);
    delay_sample[0] = peak.delay;
}

// ---- Time-domain estimator ------------------------------------------------------------------

namespace {

// Mean squared difference of `early` and, `lag` samples on, `late`.
float mean_squared_difference(const float *early, const float *late, uint32_t lag)
{
    const uint32_t overlap = kFrameLength - lag;
    float sum = 0.0f;
    for (uint32_t n = 0; n < overlap; ++n) {
        const float difference = early[n] - late[lag + n];
        sum += difference * difference;
    }
    return sum / static_cast<float>(overlap);
}

} // namespace

// The first half of the curve has no entry for lag 1, so the entries from lag 0 on are one place
// early and the last two stay 0. Kept on purpose: a lag of 0 reads as -1.
void ssl_delay_amdf(SslHandle *handle, int32_t *delay_sample)
{
    const float *const a = handle->ref_frame_a;
    const float *const b = handle->ref_frame_b[0];
    float *const curve = handle->amdf_curve;
    // Frames of 128 samples have no lags beyond 127. A limit below 0 leaves lag 0.
    const int32_t stored = handle->max_delay_sample[0];
    const int32_t limit = stored < 0 ? 0 : (stored < kLongestFrameLag ? stored : kLongestFrameLag);

    std::memset(curve, 0, sizeof handle->amdf_curve);
    uint32_t j = 0;
    for (int32_t lag = limit; lag >= 2; --lag)
        curve[j++] = mean_squared_difference(a, b, static_cast<uint32_t>(lag));
    for (int32_t lag = 0; lag < limit; ++lag)
        curve[j++] = mean_squared_difference(b, a, static_cast<uint32_t>(lag));

    const uint32_t min_index = array_argmin(curve, static_cast<uint32_t>(2 * limit + 1));
    delay_sample[0] = static_cast<int32_t>(min_index) - limit;
}
