// SPDX-License-Identifier: MIT
// audio_file.cpp - opens what libsndfile reads, and streamed WAV that it would misread.

#include "input/audio_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iterator>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/text.h"
#include "input/ogg_end.h"

namespace {

// 120 dB over full scale. A filter makes infinities of the largest numbers, and NaN of these.
constexpr float kLoudest = 1e6f;
// Beyond these a small file takes minutes and hundreds of megabytes to resample.
constexpr int kSlowest = 1000; // Hz
constexpr int kFastest = 384000;
constexpr sf_count_t kUnknownLength = SF_COUNT_MAX;
// An Ogg file whose end is missing gets a length near the largest number from libsndfile.
constexpr sf_count_t kUnknownFrom = SF_COUNT_MAX / 4;

int open_standard_input()
{
    if (isatty(STDIN_FILENO) != 0)
        throw UsageFailure("standard input is a terminal; pipe sound into it, or name a file");
    const int descriptor = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (descriptor < 0)
        throw Failure(std::string("standard input: ") + std::strerror(errno));
    return descriptor;
}

int open_file(const std::string &path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        throw Failure(path + ": is a directory; give a sound file");
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0 && errno == ENOENT)
        throw Failure(path + ": no such file");
    if (descriptor < 0)
        throw Failure(path + ": " + std::strerror(errno));
    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0) {
        close(descriptor);
        throw Failure(path + ": is empty; record it again");
    }
    return descriptor;
}

} // namespace

AudioReader::AudioReader(const std::string &path, std::optional<RawFormat> raw)
    : path_(path == "-" ? "standard input" : path), is_raw_(raw.has_value())
{
    const int descriptor = path == "-" ? open_standard_input() : open_file(path);
    if (raw)
        open_samples(descriptor, {SF_FORMAT_PCM_16, raw->rate, raw->channels, 2, 0});
    else
        open(descriptor);
    if (info_.samplerate < kSlowest || info_.samplerate > kFastest)
        throw Failure(path_ + format_text(": %d Hz; record at %d ... %d Hz", info_.samplerate,
                                          kSlowest, kFastest));
}

AudioReader::~AudioReader()
{
    end_on_interrupt(-1); // the number will name another file
}

void AudioReader::open(int descriptor)
{
    const bool is_pipe = lseek(descriptor, 0, SEEK_CUR) < 0;
    if (is_pipe)
        end_on_interrupt(descriptor);
    errno = 0;
    const std::optional<WavHeader> wav = read_wav_header(descriptor);
    if (!wav)
        check_system();
    if (wav && (is_pipe || wav->is_streamed())) {
        open_samples(descriptor, *wav);
        return;
    }
    if (is_pipe) {
        close(descriptor);
        if (interrupts() > 0)
            throw EndWith{kInterrupted};
        throw Failure(path_ +
                      ": is empty or carries no plain WAV; other formats need a file, samples "
                      "without a header need --raw");
    }
    lseek(descriptor, 0, SEEK_SET);
    if (char first = 0; ::read(descriptor, &first, 1) == 0) { // such as /dev/null
        close(descriptor);
        throw Failure(path_ + ": is empty; record it again");
    }
    lseek(descriptor, 0, SEEK_SET);
    errno = 0;
    file_.reset(sf_open_fd(descriptor, SFM_READ, &info_, SF_TRUE));
    check_system(); // libsndfile may open what it could not read to the end
    if (!file_)
        throw Failure(path_ + ": not a readable sound file: " + sf_strerror(nullptr) +
                      " (samples without a header need --raw)");
    promised_ = wav ? wav->frames() : info_.frames;
    if (promised_ >= kUnknownFrom) {
        promised_ = 0;
        info_.frames = kUnknownLength;
        lacks_end_ = true;
    }
    if ((info_.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_OGG && !ogg_has_its_end(descriptor))
        lacks_end_ = true;
}

// From where the descriptor stands, samples and nothing else.
void AudioReader::open_samples(int descriptor, const WavHeader &header)
{
    sf_count_t offset = lseek(descriptor, 0, SEEK_CUR);
    const bool is_pipe = offset < 0;
    if (is_pipe)
        end_on_interrupt(descriptor);
    else
        lseek(descriptor, 0, SEEK_SET); // libsndfile opens a file at its beginning only
    info_.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | header.encoding;
    info_.samplerate = header.rate;
    info_.channels = header.channels;
    file_.reset(sf_open_fd(descriptor, SFM_READ, &info_, SF_TRUE));
    if (!file_)
        throw Failure(path_ + ": cannot be read: " + sf_strerror(nullptr));
    promised_ = header.is_streamed() ? 0 : header.frames();
    if (is_pipe) {
        info_.frames = header.is_streamed() ? kUnknownLength : promised_;
        return;
    }
    // In bytes, as the header need not be as long as a whole number of samples.
    const sf_count_t bytes = lseek(descriptor, 0, SEEK_END) - offset;
    info_.frames = std::max<sf_count_t>(bytes, 0) / header.bytes_per_frame();
    sf_command(file_.get(), SFC_SET_RAW_START_OFFSET, &offset, sizeof offset);
    // The offset counts from the next seek on; until then the header would be read as samples.
    if (sf_seek(file_.get(), 0, SEEK_SET) != 0)
        throw Failure(path_ + ": cannot be read: " + sf_strerror(file_.get()));
}

// After errno was set to 0. The system knows more than libsndfile, which calls all that it says
// "System error". libsndfile repeats what was interrupted, tries to seek in pipes, and looks for
// files beside a sound; the errors of these are not those of reading.
void AudioReader::check_system() const
{
    for (const int harmless : {0, EINTR, ESPIPE, ENOENT})
        if (errno == harmless)
            return;
    throw ReadFailure(path_ + ": cannot be read: " + std::strerror(errno));
}

std::string AudioReader::encoding_remark() const
{
    static constexpr int kLossy[] = {SF_FORMAT_VORBIS,         SF_FORMAT_OPUS,
                                     SF_FORMAT_MPEG_LAYER_I,   SF_FORMAT_MPEG_LAYER_II,
                                     SF_FORMAT_MPEG_LAYER_III, SF_FORMAT_GSM610};
    const int encoding = info_.format & SF_FORMAT_SUBMASK;
    if (std::find(std::begin(kLossy), std::end(kLossy), encoding) == std::end(kLossy))
        return "";
    return path_ + ": its compression alters the phase, on which the angle rests; better record "
                   "WAV or FLAC";
}

std::optional<int64_t> AudioReader::length() const
{
    return info_.frames == kUnknownLength ? std::nullopt : std::optional<int64_t>(info_.frames);
}

std::string AudioReader::header_remark() const
{
    if (is_raw_ || promised_ != 0 || length().value_or(0) == 0)
        return "";
    return format_text("%s: the header does not say how long it is; %lld samples found",
                       path_.c_str(), static_cast<long long>(info_.frames));
}

std::string AudioReader::length_remark(int64_t there) const
{
    if (lacks_end_)
        return format_text("%s: is truncated: its end is missing, there are %.3f s", path_.c_str(),
                           static_cast<double>(there) / rate());
    if (there >= promised_)
        return "";
    return format_text("%s: is truncated: the header says %.3f s, there are %.3f s", path_.c_str(),
                       static_cast<double>(promised_) / rate(),
                       static_cast<double>(there) / rate());
}

std::optional<std::size_t> AudioReader::read(float *samples, std::size_t count)
{
    const sf_count_t wanted =
        std::min(static_cast<sf_count_t>(count), std::max<sf_count_t>(info_.frames - position_, 0));
    errno = 0;
    const sf_count_t got = sf_readf_float(file_.get(), samples, wanted);
    if (got < wanted)
        check_system();
    const std::size_t frames = static_cast<std::size_t>(std::max<sf_count_t>(got, 0));
    // What is damaged later on ends there; length_remark() tells.
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR && frames == 0 && position_ == 0)
        throw Failure(path_ + ": cannot be read: " + sf_strerror(file_.get()));
    float *const end = samples + frames * static_cast<std::size_t>(channels());
    const auto is_sound = [](float sample) { return std::fabs(sample) <= kLoudest; };
    if (!std::all_of(samples, end, is_sound))
        throw Failure(path_ + ": holds samples that are not a number, or far beyond full scale; "
                              "write it again");
    // The samples "RI" and "FF".
    if (is_raw_ && position_ == 0 && end - samples >= 2 && samples[0] == 0x4952 / 32768.0f &&
        samples[1] == 0x4646 / 32768.0f)
        throw Failure(path_ + ": is a WAV file; omit --raw");
    position_ += static_cast<sf_count_t>(frames);
    return frames > 0 ? std::optional(frames) : std::nullopt;
}
