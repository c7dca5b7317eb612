// SPDX-License-Identifier: MIT
// device_stream.cpp - converts 16-bit samples of a device to floats, as all streams deliver them.

#include "input/device_stream.h"

#include "base/sample_format.h"

DeviceStream::DeviceStream(const std::string &device, int rate, int channels)
    : name_(device), capture_(device, rate, channels)
{
}

std::optional<size_t> DeviceStream::read(float *samples, size_t count)
{
    const auto width = static_cast<size_t>(channels());
    captured_.resize(count * width);
    const size_t got = capture_.read(captured_.data(), count);
    if (recorder_)
        recorder_(captured_.data(), got);
    to_float(captured_.data(), samples, got * width);
    return got;
}

std::string DeviceStream::header_remark() const
{
    const std::string format = capture_.wide_format();
    return format.empty()
               ? ""
               : name_ + ": captures " + format + ", of which the upper 16 bits are used";
}

// The samples of 10 ms, so that no sample waits longer.
size_t DeviceStream::chunk() const
{
    return static_cast<size_t>(rate() / 100);
}
