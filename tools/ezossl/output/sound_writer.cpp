// SPDX-License-Identifier: MIT
// sound_writer.cpp - writes a pending file through libsndfile, and checks every call.

#include "output/sound_writer.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>

#include "base/failure.h"

SoundWriter::SoundWriter(const std::string &path, int rate, int channels, Length length,
                         int standard_output)
    : target_(path, PendingFile::Appears::whole, standard_output),
      update_after_(static_cast<size_t>(rate))
{
    const bool is_flac = strcasecmp(std::filesystem::path(path).extension().c_str(), ".flac") == 0;
    keeps_header_ = !is_flac && length == Length::open;
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_PCM_16 | (is_flac         ? SF_FORMAT_FLAC
                                      : keeps_header_ ? SF_FORMAT_RF64
                                                      : SF_FORMAT_WAV);
    const bool is_whole = !is_stream(path);
    if (!is_whole && length == Length::open)
        throw UsageFailure(path +
                           ": is a pipe or a device, and a recording needs a file; name one");
    errno = 0;
    if (!is_whole)
        memory_ = Descriptor(memfd_create("sound", MFD_CLOEXEC));
    const int descriptor = is_whole ? target_.descriptor() : memory_.get();
    file_.reset(sf_open_fd(descriptor, SFM_WRITE, &info, SF_FALSE));
    require(file_ != nullptr);
    if (keeps_header_)
        sf_command(file_.get(), SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
}

void SoundWriter::write(const int16_t *samples, size_t count)
{
    const auto wanted = static_cast<sf_count_t>(count);
    errno = 0;
    require(sf_writef_short(file_.get(), samples, wanted) == wanted);
    since_update_ += count;
    if (!keeps_header_ || since_update_ < update_after_)
        return;
    sf_command(file_.get(), SFC_UPDATE_HEADER_NOW, nullptr, 0);
    require(true);
    // Does not wait for the disk, which could take so long that the device overruns.
    static_cast<void>(sync_file_range(target_.descriptor(), 0, 0, SYNC_FILE_RANGE_WRITE));
    since_update_ = 0;
}

void SoundWriter::finish(std::vector<PendingFile *> companions)
{
    errno = 0;
    require(sf_close(file_.release()) == 0);
    if (has_failed_ && !holds_sound())
        return;
    if (memory_.is_open())
        pour();
    companions.insert(companions.begin(), &target_);
    PendingFile::commit(companions);
}

bool SoundWriter::holds_sound() const
{
    const Descriptor descriptor = target_.duplicate();
    if (lseek(descriptor.get(), 0, SEEK_SET) != 0)
        return false;
    SF_INFO info{};
    const SoundFile file(sf_open_fd(descriptor.get(), SFM_READ, &info, SF_FALSE));
    std::vector<int16_t> samples(static_cast<size_t>(info.channels));
    return file != nullptr && sf_readf_short(file.get(), samples.data(), 1) == 1;
}

void SoundWriter::pour()
{
    std::string bytes(size_t{1} << 16, '\0');
    ssize_t got = 0;
    for (off_t place = 0;; place += got) {
        errno = 0;
        got = pread(memory_.get(), bytes.data(), bytes.size(), place);
        require(got >= 0);
        if (got == 0)
            return;
        target_.write(bytes.substr(0, static_cast<size_t>(got)));
    }
}

// Throws if a system call has failed since errno was set to 0. libsndfile reports every error of
// the system as "System error", and ignores errors when it corrects a header. It repeats
// interrupted calls, and seeks in pipes; the errors of these are harmless.
void SoundWriter::require(bool is_done)
{
    if (is_done && (errno == 0 || errno == EINTR || errno == ESPIPE))
        return;
    has_failed_ = true;
    throw WriteFailure(target_.target() + ": cannot be written: " +
                       (errno != 0 ? std::strerror(errno) : sf_strerror(file_.get())));
}
