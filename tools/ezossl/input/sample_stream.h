// SPDX-License-Identifier: MIT
// sample_stream.h - a source of samples with its own rate and channels: a file, standard input,
// samples without a header, or a device.

#ifndef EZOSSL_TOOL_SAMPLE_STREAM_H
#define EZOSSL_TOOL_SAMPLE_STREAM_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "input/sample_rates.h"

// Places where a device lost sound.
struct LostSound {
    int64_t overruns = 0; // the samples were not read in time
    int64_t suspends = 0; // the machine was suspended

    int64_t places() const { return overruns + suspends; }
};

class SampleStream
{
public:
    SampleStream() = default;
    virtual ~SampleStream() = default;
    SampleStream(const SampleStream &) = delete;
    SampleStream &operator=(const SampleStream &) = delete;

    // Reads up to `count` samples per channel, interleaved, full scale 1, and returns how many:
    // nullopt at the end, 0 if there are none for a moment. Failure if they cannot be read.
    virtual std::optional<size_t> read(float *samples, size_t count) = 0;

    virtual const std::string &name() const = 0; // as messages show it
    virtual SoundOrigin origin() const = 0;
    virtual int rate() const = 0; // Hz
    virtual int channels() const = 0;
    virtual size_t chunk() const = 0; // samples per channel to read at once

    // Samples per channel in all, if that is known.
    virtual std::optional<int64_t> length() const { return std::nullopt; }
    virtual LostSound lost() const { return {}; }
    // Notes for the user, empty if there is nothing to say: on an encoding that alters the phase,
    // on a header without the length or on wide samples, on an end after this many samples per
    // channel.
    virtual std::string encoding_remark() const { return ""; }
    virtual std::string header_remark() const { return ""; }
    virtual std::string length_remark(int64_t) const { return ""; }
};

#endif
