// SPDX-License-Identifier: MIT
// device_stream.h - the samples of an ALSA device, which can be recorded as they arrive.

#ifndef EZOSSL_TOOL_DEVICE_STREAM_H
#define EZOSSL_TOOL_DEVICE_STREAM_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "input/alsa_capture.h"
#include "input/sample_stream.h"

class DeviceStream : public SampleStream
{
public:
    // Takes interleaved samples of all channels, and their number per channel.
    using Recorder = std::function<void(const int16_t *, size_t)>;

    // Opens the device as AlsaCapture does.
    DeviceStream(const std::string &device, int rate, int channels);

    void record(Recorder recorder) { recorder_ = std::move(recorder); }

    std::optional<size_t> read(float *samples, size_t count) override;
    const std::string &name() const override { return name_; }
    SoundOrigin origin() const override { return SoundOrigin::device; }
    int rate() const override { return capture_.rate(); }
    int channels() const override { return capture_.channels(); }
    size_t chunk() const override;
    std::string header_remark() const override;
    LostSound lost() const override { return {capture_.overruns(), capture_.suspends()}; }

private:
    std::string name_;
    AlsaCapture capture_;
    Recorder recorder_;
    std::vector<int16_t> captured_;
};

#endif
