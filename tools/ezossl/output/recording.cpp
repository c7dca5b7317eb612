// SPDX-License-Identifier: MIT
// recording.cpp - see recording.h.

#include "output/recording.h"

#include "base/failure.h"

Recording::Recording(const std::string &path, int rate, int channels) : target_(path)
{
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    file_.reset(sf_open(target_.working_path().c_str(), SFM_WRITE, &info));
    if (!file_)
        fail();
}

void Recording::write(const int16_t *samples, std::size_t count)
{
    const auto wanted = static_cast<sf_count_t>(count);
    if (sf_writef_short(file_.get(), samples, wanted) != wanted)
        fail();
}

void Recording::finish()
{
    if (sf_close(file_.release()) != 0)
        fail();
    target_.commit();
}

void Recording::fail()
{
    throw Failure(target_.target() + ": cannot be recorded: " + sf_strerror(file_.get()));
}
