// SPDX-License-Identifier: MIT
// sound_writer.cpp - writes through libsndfile beside the target and checks every call.

#include "output/sound_writer.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "base/failure.h"

SoundWriter::SoundWriter(const std::string &path, int rate, int channels, Length length)
    : target_(path), update_after_(static_cast<std::size_t>(rate))
{
    const bool is_flac = std::filesystem::path(path).extension() == ".flac";
    keeps_header_ = !is_flac && length == Length::open;
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_PCM_16 | (is_flac         ? SF_FORMAT_FLAC
                                      : keeps_header_ ? SF_FORMAT_RF64
                                                      : SF_FORMAT_WAV);
    errno = 0;
    file_.reset(sf_open_fd(target_.duplicate(), SFM_WRITE, &info, SF_TRUE));
    if (!file_)
        fail();
    if (keeps_header_)
        sf_command(file_.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
}

void SoundWriter::write(const int16_t *samples, std::size_t count)
{
    const auto wanted = static_cast<sf_count_t>(count);
    errno = 0;
    if (sf_writef_short(file_.get(), samples, wanted) != wanted)
        fail();
    since_update_ += count;
    if (!keeps_header_ || since_update_ < update_after_)
        return;
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    since_update_ = 0;
}

void SoundWriter::finish()
{
    errno = 0;
    if (sf_close(file_.release()) != 0)
        fail();
    target_.commit();
}

// The system knows more than libsndfile, which calls all that it says "System error".
void SoundWriter::fail()
{
    throw Failure(target_.target() + ": cannot be written: " +
                  (errno != 0 ? std::strerror(errno) : sf_strerror(file_.get())));
}
