// SPDX-License-Identifier: MIT
// kiv_linux.cpp - the operating-system wrapper on Linux.

#include "KivFs.h"
#include "KivOs.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

KivFile KivFsOpen(const char *path, uint32_t flags, uint32_t mode)
{
    if (flags != kKivFsRead)
        return -1;
    // Must not block on a named pipe without a writer, nor make a terminal the controlling one.
    return open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode);
}

int64_t KivFsSeek(KivFile file, int64_t offset, KivFsWhence whence)
{
    static_assert(SEEK_SET == kKivFsStart && SEEK_CUR == kKivFsCurrent && SEEK_END == kKivFsEnd,
                  "lseek counts from where KivFsSeek does");
    return lseek(file, static_cast<off_t>(offset), whence);
}

size_t KivFsRead(KivFile file, void *data, size_t bytes)
{
    size_t done = 0;
    while (done < bytes) {
        const ssize_t got = read(file, static_cast<char *>(data) + done, bytes - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<size_t>(got);
    }
    return done;
}

void KivFsClose(KivFile file)
{
    close(file);
}

void *KivOsMemAlloc(size_t bytes)
{
    return std::malloc(bytes);
}

void KivOsMemRelease(void *memory)
{
    std::free(memory);
}

const char *KivOsEnvironment(const char *name)
{
#ifdef __GLIBC__
    return secure_getenv(name);
#else // other C libraries may lack secure_getenv, but can ask the kernel
    return getauxval(AT_SECURE) == 0 ? std::getenv(name) : nullptr;
#endif
}
