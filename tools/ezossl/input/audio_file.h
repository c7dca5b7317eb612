// SPDX-License-Identifier: MIT
// audio_file.h - sound files and standard input through libsndfile, with clear refusals.

#ifndef EZOSSL_TOOL_AUDIO_FILE_H
#define EZOSSL_TOOL_AUDIO_FILE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <sndfile.h>

#include "base/sound_file.h"
#include "input/file_signature.h"
#include "input/input_bytes.h"
#include "input/sample_stream.h"
#include "input/wav_header.h"

// 16-bit little-endian samples without a header.
struct RawFormat {
    int rate; // Hz
    int channels;
};

// A sound file that is read from start to end. Every member throws a Failure that names the file.
class AudioReader : public SampleStream
{
public:
    // The path - is standard input. A pipe must carry WAV, or samples without a header.
    explicit AudioReader(const std::string &path, std::optional<RawFormat> raw = std::nullopt);
    ~AudioReader() override;

    // Gives fewer samples than asked for only at the end, or where the file is damaged. Refuses
    // samples that are not a number. (Read as 16-bit integers, the samples of a float file would
    // wrap around or be scaled, depending on its peak.)
    std::optional<size_t> read(float *samples, size_t count) override;

    const std::string &name() const override { return path_; }
    SoundOrigin origin() const override { return SoundOrigin::file; }
    int rate() const override { return info_.samplerate; }
    int channels() const override { return info_.channels; }
    size_t chunk() const override { return chunk_; }
    std::optional<int64_t> length() const override;
    std::string encoding_remark() const override;
    std::string header_remark() const override;
    std::string length_remark(int64_t there) const override;

private:
    void open();
    void check_layout(int64_t rate, int channels) const;
    const FileSignature *find_signature_after(const std::string &start);
    [[noreturn]] void refuse_pipe(const std::string &start);
    [[noreturn]] void refuse_file(const std::string &start);
    void refuse_header(const float *samples, size_t count) const;
    std::string conversion() const;
    void open_samples(const WavHeader &header);
    void check_reads() const;

    std::string path_;
    SF_INFO info_{};
    InputBytes bytes_;
    SoundFile file_;          // closed before its bytes
    sf_count_t promised_ = 0; // samples per channel that the header says; 0 if it does not say
    sf_count_t position_ = 0;
    size_t chunk_ = 4096;
    bool is_raw_ = false;
    bool lacks_end_ = false;
};

#endif
