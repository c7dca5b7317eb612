// SPDX-License-Identifier: MIT
// SslCore.h - the algorithm core: the instance record, and what is computed on it.
//
// The core prints nothing and refuses nothing: its callers check the instance. It keeps no state
// outside the record.
//
// Units: lengths in metres, delays in samples at the instance's sample rate, angles in radians
// unless a name says degrees. Microphone 0 is the reference of every pair; pair p is microphone 0
// with microphone p + 1. Everything is counted per pair although two microphones make only one.

#ifndef SSL_CORE_H
#define SSL_CORE_H

#include "EzoSsl.h"
#include "fft.h"

#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstdio>

static_assert(FLT_EVAL_METHOD == 0, "float arithmetic must round to float at every operation");

constexpr uint32_t kMicCount = EZOSSL_MIC_COUNT;
constexpr uint32_t kPairCount = kMicCount - 1;
constexpr uint32_t kFrameLength = EZOSSL_FRAME_LENGTH; // new samples per frame and microphone
constexpr uint32_t kFftLength = 2 * kFrameLength;      // samples analysed: old half, new half
constexpr uint32_t kBinCount = kFftLength / 2 + 1;     // complex bins of a half spectrum
constexpr uint32_t kSpectrumFloats = 2 * kBinCount;
constexpr uint32_t kCandidateCount = 9; // candidate directions, 22.5 degrees apart
constexpr uint32_t kRejectedBin = 9;    // where the votes of rejected frames go
constexpr uint32_t kVoteBinCount = 10;

// The longest lag at which two frames of 128 samples overlap, and the searched lags -127 ... 127.
constexpr int32_t kLongestFrameLag = static_cast<int32_t>(kFrameLength) - 1;
constexpr uint32_t kAmdfCurveLength = 2 * kLongestFrameLag + 1;

constexpr double kPi = 3.1415926; // eight digits on purpose: results depend on it

constexpr uint32_t kSslStateBytes = 15908; // the record; the FFT working memory follows it
constexpr char kSslMagic[] = "W0Q0";
constexpr int32_t kGeometryLinear = 0;
constexpr int32_t kGeometryCircular = 1;

// The progress of a call.
enum SslStep : int32_t {
    kStepEntered = 0, // entered and not finished
    kStepDone = 1,
    kStepOwed = 2, // not done yet, or to be done again after another step
};

// The buffer need only be aligned to 4 bytes, yet the record holds pointers: it is packed to 4.
#pragma pack(push, 4)

struct SslCallOrderFlags { // each an SslStep
    int32_t init_state;
    int32_t config_state;
    int32_t shape_state;
    int32_t param_state;
    int32_t run_state;
    int32_t direction_state; // owed: votes may be added
    int32_t mapping_state;   // done: the votes are fresh
};

struct SslDumpFiles {
    FILE *stream[kMicCount]; // NULL: closed
};

// The fields of the record in their order in the buffer, with `SpareWords` words to spare.
template <size_t SpareWords>
struct SslRecord {
    // Identity and settings.
    char magic[4];
    int32_t point_number;
    int32_t sample_rate; // Hz
    float mic_distance;
    int32_t temperature;   // degrees Celsius
    int32_t noise_gate_db; // -80 ... 0
    uint16_t gate_amplitude;
    uint16_t gate_amplitude_unused;
    int32_t direction_frame_num; // frames in a block; read as unsigned where it is used
    int32_t direction_frame_num_before;
    int32_t bf_mode;
    int32_t mic_num;

    // Array geometry.
    float mic_pos[kMicCount][2];             // x, y
    float relative_array_pos[kPairCount][2]; // position of the pair's second microphone less 0's
    float relative_array_pos_pinv[2][kPairCount]; // 1/m
    int32_t array_geometry;

    // One frame on its way to a lag.
    float time_frame[kMicCount][kFftLength];     // newest 256 samples, oldest first, in [-1, 1)
    float ref_frame_a[kFrameLength];             // the frames that the time-domain mode compares:
    float ref_frame_b[kPairCount][kFrameLength]; // both hold microphone 0
    float fft_scratch[kSpectrumFloats];
    float spectrum[kMicCount][kSpectrumFloats]; // real, imaginary, ...
    float cross_spectrum[kSpectrumFloats];
    float cross_magnitude[kBinCount];
    float correlation_raw[kFftLength]; // lag 0 first
    float correlation[kFftLength];     // lag 0 in the middle
    float frame_energy;
    float energy_sum;              // of the block's frames; after Get_Direction its level in dB
    int32_t lag_table[kFftLength]; // lag of each index of `correlation`: -128 ... 127

    // Propagation.
    float sound_speed; // m/s
    int32_t cleared[2];
    int32_t max_delay_sample[kPairCount]; // longest possible delay in whole samples, plus one
    float direction_delay_table[kPairCount][kCandidateCount];

    // The frame as it came in, by microphone.
    int16_t input_pcm[kMicCount][kFrameLength];

    // Lifecycle.
    SslCallOrderFlags order;
    int32_t msg_level;
    int32_t voting_changed; // 1: the next Run empties the votes first
    int32_t dump_mode;      // AUDIO_SSL_DUMP as last read

    // Votes and the decision on them.
    int32_t vote_count[kPairCount][kVoteBinCount];
    float vote_delay_sum[kPairCount][kCandidateCount];
    int32_t winning_bin[kPairCount];
    float path_difference[kPairCount];
    float path_limit;
    float path_limit_tolerant;
    int32_t pair_valid[kPairCount];
    float amdf_curve[kAmdfCurveLength];
    float fft_aux_a[kFftLength];
    float fft_aux_b[kFftLength];
    float half_energy[2]; // of the older and of the newest half of time_frame
    int32_t spare[SpareWords];

    FftContext fft;

    int32_t vote_gate[kVoteBinCount]; // least votes of a winner, per bin
    float cos_ratio[kPairCount];
    float cos_ratio_sum;
    float cos_ratio_mean;
    float pair_weight[kPairCount];
    float pair_weight_sum;
    float weighted_cos;
    float direction_vector[2];
    int32_t range_state[kPairCount]; // 0 inside the limit, 1 inside the tolerance, 2 beyond

    int32_t mode; // processing mode
    SslDumpFiles dump_files;
    int32_t digital_gain_db;
    float digital_gain_factor;
};

// The spare words fill the record up to kSslStateBytes, whatever the size of a pointer.
struct SslHandle : SslRecord<(kSslStateBytes - sizeof(SslRecord<1>)) / sizeof(int32_t) + 1> {
};

#pragma pack(pop)

// What callers rely on: the size, the alignment, and the places of some fields. The other fields
// may be in any order.
static_assert(sizeof(SslHandle) == kSslStateBytes && alignof(SslHandle) == 4);
static_assert(offsetof(SslHandle, magic) == 0 && offsetof(SslHandle, point_number) == 4 &&
              offsetof(SslHandle, sample_rate) == 8 && offsetof(SslHandle, mic_distance) == 12 &&
              offsetof(SslHandle, temperature) == 16 && offsetof(SslHandle, noise_gate_db) == 20 &&
              offsetof(SslHandle, gate_amplitude) == 24 &&
              offsetof(SslHandle, direction_frame_num) == 28 &&
              offsetof(SslHandle, direction_frame_num_before) == 32 &&
              offsetof(SslHandle, bf_mode) == 36 && offsetof(SslHandle, mic_num) == 40 &&
              offsetof(SslHandle, mic_pos) == 44);
// The offset of the field that follows `member` without a gap.
#define SSL_BEHIND(member) (offsetof(SslHandle, member) + sizeof(SslHandle::member))
static_assert(offsetof(SslHandle, sound_speed) == SSL_BEHIND(lag_table) &&
              offsetof(SslHandle, cleared) == SSL_BEHIND(sound_speed) &&
              offsetof(SslHandle, max_delay_sample) == SSL_BEHIND(cleared) &&
              offsetof(SslHandle, direction_delay_table) == SSL_BEHIND(max_delay_sample) &&
              offsetof(SslHandle, input_pcm) == SSL_BEHIND(direction_delay_table) &&
              offsetof(SslHandle, order) == SSL_BEHIND(input_pcm) &&
              offsetof(SslHandle, msg_level) == SSL_BEHIND(order) &&
              offsetof(SslHandle, voting_changed) == SSL_BEHIND(msg_level) &&
              offsetof(SslHandle, dump_mode) == SSL_BEHIND(voting_changed));
static_assert(offsetof(SslHandle, vote_gate) == SSL_BEHIND(fft) &&
              offsetof(FftContext, fft_size) + 4 == sizeof(FftContext) &&
              offsetof(SslHandle, digital_gain_db) == 15900 &&
              offsetof(SslHandle, digital_gain_factor) == 15904);
#undef SSL_BEHIND

// ---- Tables and set-up (SslCoreTables.cpp) --------------------------------------------------

constexpr int32_t kNoiseGateLowest = -80; // dB

struct VolEntry {
    int32_t db;
    int16_t amplitude; // Q15
};
extern const VolEntry VolTable[81];
extern const int32_t Gate_Array[kVoteBinCount];

// Truncates toward zero; saturates; NaN gives 0.
int32_t float_to_int32(float value);

// m/s, in air of `temperature` degrees Celsius.
float ssl_sound_speed(int32_t temperature);

// The amplitude of a level of 0 ... -80 dB; 0 for any other.
uint16_t ssl_gate_amplitude(int32_t level_db);

// Sets vote_gate from direction_frame_num.
void ssl_set_vote_gate(SslHandle *handle);

// Builds the FFT plan in the memory behind the record, and the lag table. False if it cannot.
bool ssl_core_init(SslHandle *handle);

// ---- Geometry (SslCoreGeometry.cpp) ---------------------------------------------------------

// The largest delays, and the expected delays of the candidate directions, of a linear array: the
// values after Init.
void ssl_linear_delays(SslHandle *handle);

// Microphone positions, pair vectors and largest delays of a regular array; for a circular one also
// the expected delays.
void Ssl_Cal_Geometry(SslHandle *handle);

// The same, and the shape, from the positions x, y of each microphone in centimetres.
void Ssl_Cal_ArbitraryGeometry(SslHandle *handle, const float *array_pos);

// The number of pairs whose microphones have the same position.
uint32_t ssl_coincident_microphones(const float *array_pos);

// The pseudo-inverse of the pair vectors of a circular array.
void Ssl_Cal_Intrinsic(SslHandle *handle);

// ---- From samples to a vote (SslCoreDelay.cpp) ----------------------------------------------

// De-interleaves 2 x 128 samples into input_pcm.
void ssl_deinterleave(SslHandle *handle, const int16_t *microphone_input);

// Slides input_pcm into the analysis buffers.
void ssl_load_frame(SslHandle *handle);

// Adds the frame's energy to the block's.
void ssl_frame_energy(SslHandle *handle);

// Windows and transforms both microphones.
void ssl_spectra(SslHandle *handle);

// Spectral estimator: writes the frame's delay, or EZOSSL_REJECTED_FRAME, and casts its vote.
void ssl_delay_gcc(SslHandle *handle, int32_t *delay_sample);

// Time-domain estimator: writes the frame's delay; no vote.
void ssl_delay_amdf(SslHandle *handle, int32_t *delay_sample);

// ---- From votes to an angle (SslCoreDirection.cpp) ------------------------------------------

// Empties the votes.
void ssl_reset_voting(SslHandle *handle);

// Turns energy_sum into the block's level in dB; true if that is at or below the noise gate.
bool ssl_block_is_quiet(SslHandle *handle);

// Picks the winning bin of every pair; true if all have enough votes.
bool ssl_vote_decide(SslHandle *handle);

// The winning bins' mean delays as path differences, compared with what the geometry allows.
void ssl_vote_to_path(SslHandle *handle);

// Path differences to cosines (linear array); true if the array can be resolved.
bool ssl_path_to_ratio(SslHandle *handle);

// The angle in degrees.
float ssl_ratio_to_angle(SslHandle *handle);

#endif
