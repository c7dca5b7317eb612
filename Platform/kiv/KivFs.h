// SPDX-License-Identifier: MIT
// KivFs.h - files, as the operating-system wrapper offers them.

#ifndef KIV_FS_H
#define KIV_FS_H

#include <cstddef>
#include <cstdint>

using KivFile = int32_t; // an open file; negative: none

constexpr uint32_t kKivFsRead = 0x10001; // the only mode: opens an existing file for reading

enum KivFsWhence : int32_t { kKivFsStart = 0, kKivFsCurrent = 1, kKivFsEnd = 2 };

// Returns the file, or -1. `mode` (permission bits) matters only where a file is created: not here.
// Opening never waits, whatever the path names.
KivFile KivFsOpen(const char *path, uint32_t flags, uint32_t mode);

// Returns the new position in bytes from the start, or -1 where there is none (a pipe, a closed
// file).
int64_t KivFsSeek(KivFile file, int64_t offset, KivFsWhence whence);

// Reads up to `bytes` bytes; returns how many, 0 at the end and after an error.
size_t KivFsRead(KivFile file, void *data, size_t bytes);

void KivFsClose(KivFile file);

#endif
