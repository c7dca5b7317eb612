// SPDX-License-Identifier: MIT
// localizer.cpp - calls the library in the required order, and turns its codes into statuses.

#include "tracking/localizer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <string>

#include "base/failure.h"
#include "base/sample_format.h"
#include "tracking/agreement.h"
#include "tracking/library_code.h"

namespace {

[[noreturn]] void fail(const char *operation, int32_t code)
{
    throw Failure(std::string(operation) + " refused: " + name_of_code(code) +
                  "; -v shows the library's messages");
}

// Some operations of the library return their code as a signed number, others as an unsigned one.
template <class Code>
void require(const char *operation, Code code)
{
    if (code != EZOSSL_OK)
        fail(operation, static_cast<int32_t>(code));
}

struct StatusOfCode {
    int32_t code;
    BlockStatus status;
};
constexpr StatusOfCode kStatusOfCode[] = {
    {EZOSSL_OK, BlockStatus::ok},
    {EZOSSL_TOO_QUIET, BlockStatus::quiet},
    {EZOSSL_UNDECIDED, BlockStatus::undecided},
    {EZOSSL_DELAY_TOO_LARGE, BlockStatus::beyond},
};

BlockStatus status_of(int32_t code)
{
    for (const StatusOfCode &known : kStatusOfCode) {
        if (known.code == code)
            return known.status;
    }
    fail("EzoSsl_Get_Direction", code);
}

SslHandle *make_instance(std::vector<std::byte> &buffer, const LocalizerSettings &settings)
{
    const SslInit init = {EZOSSL_FRAME_LENGTH, settings.sample_rate,
                          static_cast<float>(settings.spacing_cm), static_cast<int>(settings.mode),
                          EZOSSL_MIC_COUNT};
    SslHandle *const handle = EzoSsl_Init(buffer.data(), &init);
    if (handle == nullptr)
        throw Failure("EzoSsl_Init refused; -v shows the library's messages");
    return handle;
}

double energy_of(const int16_t (&frame)[kFrameSamples])
{
    int64_t sum = 0;
    for (const int32_t sample : frame)
        sum += sample * sample;
    return static_cast<double>(sum) / (kFullScale * kFullScale);
}

} // namespace

Localizer::Localizer(const LocalizerSettings &settings)
    : settings_(settings),
      geometry_(settings.spacing_cm, settings.sample_rate, settings.temperature),
      loudest_(settings.gain_db > 0
                   ? static_cast<int>((kFullScale - 1.0) * std::pow(10.0, -settings.gain_db / 20.0))
                   : static_cast<int>(kFullScale)),
      buffer_(EzoSsl_GetBufferSize()), handle_(make_instance(buffer_, settings))
{
    const SslConfig config = {settings.temperature, settings.gate_db, settings.block_frames};
    require("EzoSsl_Config", EzoSsl_Config(handle_, &config));
    require("EzoSsl_Set_Shape", EzoSsl_Set_Shape(handle_, 0));
    require("EzoSsl_Cal_Params", EzoSsl_Cal_Params(handle_));
}

Localizer::~Localizer()
{
    EzoSsl_Free(handle_);
}

void Localizer::add_frame(const int16_t (&frame)[kFrameSamples])
{
    int16_t amplified[kFrameSamples];
    std::copy(std::begin(frame), std::end(frame), amplified);
    if (settings_.gain_db != 0)
        amplify(amplified);
    energy_ += energy_of(amplified);
    int32_t delay = EZOSSL_REJECTED_FRAME;
    {
        const RandomNumbers::Use in_this_call(random_numbers_);
        require("EzoSsl_Run", EzoSsl_Run(handle_, amplified, &delay));
    }
    delays_.push_back(delay);
}

void Localizer::amplify(int16_t (&frame)[kFrameSamples])
{
    wrapped_ +=
        static_cast<int64_t>(std::count_if(std::begin(frame), std::end(frame), [this](int sample) {
            return std::abs(sample) > loudest_;
        }));
    require("EzoSsl_ApplyDigitalGain", EzoSsl_ApplyDigitalGain(handle_, frame, settings_.gain_db));
}

Block Localizer::finish_block()
{
    const double seconds = settings_.block_frames * frame_seconds();
    const double start = static_cast<double>(blocks_) * seconds;
    const auto rejected = std::count(delays_.begin(), delays_.end(), EZOSSL_REJECTED_FRAME);
    const double samples = static_cast<double>(frames()) * kFrameSamples;
    int32_t angle = EZOSSL_NO_DIRECTION;
    const int32_t code = settings_.mode == DelayMode::vote ? EzoSsl_Get_Direction(handle_, &angle)
                                                           : EZOSSL_UNDECIDED;
    BlockStatus status = status_of(code);
    if (status == BlockStatus::undecided && settings_.mode == DelayMode::vote)
        status = reason_of_undecided(delays_, geometry_);
    const Block block = {start,
                         start + seconds,
                         status,
                         angle,
                         count_agreeing(delays_),
                         frames() - static_cast<int>(rejected),
                         frames(),
                         10.0 * std::log10(energy_ / samples)};
    begin_block();
    return block;
}

void Localizer::begin_block()
{
    if (settings_.mode == DelayMode::vote)
        require("EzoSsl_Reset_Mapping", EzoSsl_Reset_Mapping(handle_));
    delays_.clear();
    energy_ = 0.0;
    ++blocks_;
}
