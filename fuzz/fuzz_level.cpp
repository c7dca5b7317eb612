// SPDX-License-Identifier: MIT
// fuzz_level.cpp - level files: whatever they hold, the level is one of four.

#include "debug_msglevel.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const int file = [] {
        const int opened = memfd_create("level", 0);
        setenv("DML_PATH", ("/proc/self/fd/" + std::to_string(opened)).c_str(), 1);
        return opened;
    }();
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        std::abort();
    const int32_t level = read_message_level();
    if (level != 1 && level != 3 && level != 7 && level != 15)
        std::abort();
    return 0;
}
