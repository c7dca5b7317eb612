// SPDX-License-Identifier: MIT
// audio_file.cpp - opens the formats of libsndfile, and streamed WAV, which it would misread.

#include "input/audio_file.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/interrupt.h"
#include "base/sample_format.h"
#include "base/text.h"
#include "input/ogg_end.h"
#include "input/sample_rates.h"

namespace {

// 120 dB over full scale. A filter turns the largest floats into infinities, and these into NaN.
constexpr float kLoudest = 1e6f;
// Beyond these a small file takes minutes and hundreds of megabytes to resample.
constexpr int kSlowest = 1000; // Hz
constexpr int kFastest = 384000;
// Samples per channel of a pipe that are read at once. Its writer may be live.
constexpr size_t kPipeChunk = 512;
constexpr int kMostChannels = 1024; // of libsndfile
constexpr sf_count_t kUnknownLength = SF_COUNT_MAX;
// An Ogg file whose end is missing gets a length near the largest number from libsndfile.
constexpr sf_count_t kUnknownFrom = SF_COUNT_MAX / 4;

// No early exit, so that the compiler can check several samples at once.
bool is_sound(const float *samples, const float *end)
{
    const auto is_sane = [](float sample) { return std::fabs(sample) <= kLoudest; };
    return std::count_if(samples, end, is_sane) == end - samples;
}

Descriptor open_standard_input()
{
    if (isatty(STDIN_FILENO) != 0)
        throw UsageFailure("standard input is a terminal; pipe sound into it, or name a file");
    Descriptor descriptor(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!descriptor.is_open())
        throw Failure(std::string("standard input: ") + std::strerror(errno));
    return descriptor;
}

Descriptor open_file(const std::string &path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        throw Failure(path + ": is a directory; give a sound file");
    Descriptor descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!descriptor.is_open() && errno == EINTR) // while a pipe waits for its writer
        end_if_interrupted();
    if (!descriptor.is_open() && errno == ENOENT)
        throw Failure(path + ": no such file");
    if (!descriptor.is_open())
        throw Failure(path + ": " + std::strerror(errno));
    struct stat status = {};
    if (fstat(descriptor.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size == 0)
        throw Failure(path + ": is empty; record it again");
    return descriptor;
}

} // namespace

AudioReader::AudioReader(const std::string &path, std::optional<RawFormat> raw)
    : path_(path == "-" ? "standard input" : path),
      bytes_(path == "-" ? open_standard_input() : open_file(path)), is_raw_(raw.has_value())
{
    if (raw)
        open_samples({SF_FORMAT_PCM_16, raw->rate, raw->channels, 2, 0});
    else
        open();
    check_layout(info_.samplerate, info_.channels);
}

AudioReader::~AudioReader()
{
    end_on_interrupt(-1); // another file may get the same descriptor
}

void AudioReader::open()
{
    if (bytes_.is_pipe())
        end_on_interrupt(bytes_.descriptor());
    const std::string start = read_start(bytes_);
    const std::optional<WavHeader> wav = read_wav_header(bytes_, start);
    check_reads();
    if (wav)
        check_layout(wav->rate, wav->channels);
    const bool is_plain = wav && wav->is_plain();
    if (is_plain && (bytes_.is_pipe() || wav->is_streamed())) {
        open_samples(*wav);
        return;
    }
    if (bytes_.is_pipe())
        refuse_pipe(start);
    if (start.empty()) // such as /dev/null
        throw Failure(path_ + ": is empty; record it again");
    lacks_end_ = start.compare(0, 4, "OggS") == 0 && !ogg_has_its_end(bytes_);
    file_ = bytes_.open_sound(info_);
    check_reads(); // libsndfile may open what it could not read to the end
    if (!file_)
        refuse_file(start);
    promised_ = is_plain ? wav->frames() : info_.frames;
    if (promised_ >= kUnknownFrom) {
        promised_ = 0;
        info_.frames = kUnknownLength;
        lacks_end_ = true;
    }
}

// What libsndfile says of a header like this is about its own records.
void AudioReader::check_layout(int64_t rate, int channels) const
{
    if (rate < kSlowest || rate > kFastest)
        throw Failure(path_ + format_text(": %lld Hz; record at %d ... %d Hz",
                                          static_cast<long long>(rate), kLowestRate, kFastest));
    if (channels < 1 || channels > kMostChannels)
        throw Failure(path_ +
                      format_text(": the header says %d channels; record it again", channels));
}

// Reads more if the first bytes do not tell the kind of file.
const FileSignature *AudioReader::find_signature_after(const std::string &start)
{
    if (const FileSignature *const known = find_signature(start))
        return known;
    if (!bytes_.is_pipe())
        bytes_.seek(static_cast<int64_t>(start.size()), SEEK_SET);
    std::string more(kSignatureBytes - start.size(), '\0');
    more.resize(bytes_.read(more.data(), more.size()));
    check_reads();
    return find_signature(start + more);
}

void AudioReader::refuse_pipe(const std::string &start)
{
    const FileSignature *const known = find_signature_after(start);
    if (interrupts() > 0)
        throw EndWith{kInterrupted};
    if (start.empty())
        throw Failure(path_ + ": is empty; record it again");
    if (known != nullptr)
        throw Failure(path_ + ": is " + known->name + ", but a pipe must carry plain WAV; " +
                      conversion());
    throw Failure(path_ + ": is not WAV; use track --raw for samples without a header");
}

void AudioReader::refuse_file(const std::string &start)
{
    const FileSignature *const known = find_signature_after(start);
    if (known == nullptr)
        throw Failure(path_ + ": not a readable sound file: its format is not known; " +
                      conversion() + ", or use track --raw for samples without a header");
    throw Failure(path_ + ": is " + known->name +
                  (known->is_readable
                       ? " that cannot be read: its header is damaged, or its encoding is not "
                         "known; "
                       : ", which ezossl does not read; ") +
                  conversion());
}

// Otherwise the bytes of the header would be taken for samples.
void AudioReader::refuse_header(const float *samples, size_t count) const
{
    std::vector<int16_t> words(count);
    to_int16(samples, words.data(), count);
    std::string start;
    for (const int word : words)
        start += {static_cast<char>(word & 0xff), static_cast<char>(word >> 8 & 0xff)};
    if (const FileSignature *const known = find_signature(start))
        throw Failure(path_ + ": is " + known->name + "; omit --raw" +
                      (known->is_readable ? "" : ", and " + conversion()));
}

std::string AudioReader::conversion() const
{
    namespace fs = std::filesystem;
    if (!fs::exists(path_))
        return "convert it: ffmpeg -i FILE FILE.wav";
    const fs::path path(path_);
    const char *const ending = path.extension() == ".wav" ? ".new.wav" : ".wav";
    return "convert it: ffmpeg -i " + shell_word(path_) + ' ' +
           shell_word(fs::path(path).replace_extension(ending).string());
}

// Reads samples without a header, from the current position.
void AudioReader::open_samples(const WavHeader &header)
{
    sf_count_t offset = bytes_.is_pipe() ? 0 : bytes_.seek(0, SEEK_CUR);
    if (bytes_.is_pipe()) {
        end_on_interrupt(bytes_.descriptor());
        chunk_ = kPipeChunk;
    }
    info_.format = SF_FORMAT_RAW | SF_ENDIAN_LITTLE | header.encoding;
    info_.samplerate = static_cast<int>(header.rate);
    info_.channels = header.channels;
    file_ = bytes_.open_sound(info_);
    check_reads();
    if (!file_)
        throw Failure(path_ + ": cannot be read: " + sf_strerror(nullptr));
    promised_ = header.is_streamed() ? 0 : header.frames();
    if (bytes_.is_pipe()) {
        info_.frames = header.is_streamed() ? kUnknownLength : promised_;
        return;
    }
    // In bytes, as the header need not be as long as a whole number of samples.
    const sf_count_t bytes = bytes_.seek(0, SEEK_END) - offset;
    info_.frames = std::max<sf_count_t>(bytes, 0) / header.bytes_per_frame();
    sf_command(file_.get(), SFC_SET_RAW_START_OFFSET, &offset, sizeof offset);
    // The offset counts from the next seek on; until then the header would be read as samples.
    if (sf_seek(file_.get(), 0, SEEK_SET) != 0)
        throw Failure(path_ + ": cannot be read: " + sf_strerror(file_.get()));
}

void AudioReader::check_reads() const
{
    if (bytes_.failure() != 0)
        throw ReadFailure(path_ + ": cannot be read: " + std::strerror(bytes_.failure()));
}

std::string AudioReader::encoding_remark() const
{
    static constexpr int kLossy[] = {SF_FORMAT_VORBIS,         SF_FORMAT_OPUS,
                                     SF_FORMAT_MPEG_LAYER_I,   SF_FORMAT_MPEG_LAYER_II,
                                     SF_FORMAT_MPEG_LAYER_III, SF_FORMAT_GSM610};
    const int encoding = info_.format & SF_FORMAT_SUBMASK;
    if (std::find(std::begin(kLossy), std::end(kLossy), encoding) == std::end(kLossy))
        return "";
    return path_ + ": its compression alters the phase, on which the angle depends; record WAV or "
                   "FLAC if you can";
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
        return format_text("%s: is truncated: its end is missing after %.3f s", path_.c_str(),
                           static_cast<double>(there) / rate());
    if (there >= promised_)
        return "";
    return format_text("%s: is truncated: the header says %.3f s, the file has %.3f s",
                       path_.c_str(), static_cast<double>(promised_) / rate(),
                       static_cast<double>(there) / rate());
}

std::optional<size_t> AudioReader::read(float *samples, size_t count)
{
    const sf_count_t wanted =
        std::min(static_cast<sf_count_t>(count), std::max<sf_count_t>(info_.frames - position_, 0));
    const sf_count_t got = sf_readf_float(file_.get(), samples, wanted);
    check_reads();
    const size_t frames = static_cast<size_t>(std::max<sf_count_t>(got, 0));
    // A file that is damaged later ends there, and length_remark() says so.
    if (sf_error(file_.get()) != SF_ERR_NO_ERROR && frames == 0 && position_ == 0)
        throw Failure(path_ + ": is damaged from its first sample on; record it again");
    float *const end = samples + frames * static_cast<size_t>(channels());
    if (!is_sound(samples, end))
        throw Failure(path_ + ": holds samples that are not a number, or far beyond full scale; "
                              "write it again");
    if (is_raw_ && position_ == 0)
        refuse_header(samples, static_cast<size_t>(end - samples));
    position_ += static_cast<sf_count_t>(frames);
    return frames > 0 ? std::optional(frames) : std::nullopt;
}
