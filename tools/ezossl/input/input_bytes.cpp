// SPDX-License-Identifier: MIT
// input_bytes.cpp - reads a descriptor, also on behalf of libsndfile.

#include "input/input_bytes.h"

#include <cerrno>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "base/interrupt.h"

namespace {

InputBytes &bytes_of(void *user)
{
    return *static_cast<InputBytes *>(user);
}

sf_count_t size_for_sound(void *user)
{
    return bytes_of(user).size();
}

sf_count_t seek_for_sound(sf_count_t offset, int whence, void *user)
{
    return bytes_of(user).seek(offset, whence);
}

sf_count_t read_for_sound(void *bytes, sf_count_t count, void *user)
{
    return static_cast<sf_count_t>(bytes_of(user).read(bytes, static_cast<size_t>(count)));
}

sf_count_t place_for_sound(void *user)
{
    return bytes_of(user).seek(0, SEEK_CUR);
}

} // namespace

InputBytes::InputBytes(Descriptor descriptor)
    : descriptor_(std::move(descriptor)), is_pipe_(seek(0, SEEK_CUR) < 0)
{
}

size_t InputBytes::read(void *bytes, size_t count)
{
    size_t done = 0;
    while (done < count) {
        const ssize_t got =
            ::read(descriptor_.get(), static_cast<char *>(bytes) + done, count - done);
        if (got < 0 && errno == EINTR && interrupts() == 0)
            continue;
        if (got < 0)
            note_failure();
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

int64_t InputBytes::seek(int64_t offset, int whence)
{
    const off_t place = lseek(descriptor_.get(), offset, whence);
    if (place < 0 && errno != EINVAL) // a damaged header may lead to before the start
        note_failure();
    return place;
}

int64_t InputBytes::size()
{
    if (is_pipe_)
        return SF_COUNT_MAX;
    struct stat status = {};
    if (fstat(descriptor_.get(), &status) != 0)
        note_failure();
    return status.st_size;
}

SoundFile InputBytes::open_sound(SF_INFO &info)
{
    SF_VIRTUAL_IO calls = {size_for_sound, seek_for_sound, read_for_sound, nullptr,
                           place_for_sound};
    if (!is_pipe_)
        seek(0, SEEK_SET);
    return SoundFile(sf_open_virtual(&calls, SFM_READ, &info, this));
}

// An interrupt ends the program elsewhere, and ESPIPE only says that the input is a pipe.
void InputBytes::note_failure()
{
    if (errno != EINTR && errno != ESPIPE)
        failure_ = failure_ != 0 ? failure_ : errno;
}
