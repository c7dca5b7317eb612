// SPDX-License-Identifier: MIT
// wav_writer.cpp - writes through libsndfile beside the target and checks every call.

#include "output/wav_writer.h"

#include <cerrno>
#include <cstring>

#include "base/failure.h"

WavWriter::WavWriter(const std::string &path, int rate, int channels) : target_(path)
{
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    errno = 0;
    file_.reset(sf_open_fd(target_.duplicate(), SFM_WRITE, &info, SF_TRUE));
    if (!file_)
        fail();
}

void WavWriter::write(const int16_t *samples, std::size_t count)
{
    const auto wanted = static_cast<sf_count_t>(count);
    errno = 0;
    if (sf_writef_short(file_.get(), samples, wanted) != wanted)
        fail();
}

void WavWriter::finish()
{
    errno = 0;
    if (sf_close(file_.release()) != 0)
        fail();
    target_.commit();
}

// The system knows more than libsndfile, which calls all that it says "System error".
void WavWriter::fail()
{
    throw Failure(target_.target() + ": cannot be written: " +
                  (errno != 0 ? std::strerror(errno) : sf_strerror(file_.get())));
}
