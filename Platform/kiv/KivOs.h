// SPDX-License-Identifier: MIT
// KivOs.h - temporary memory and the environment, as the operating-system wrapper offers them.

#ifndef KIV_OS_H
#define KIV_OS_H

#include <cstddef>

// Returns `bytes` bytes, aligned for every type, or NULL. The caller releases them.
void *KivOsMemAlloc(size_t bytes);

void KivOsMemRelease(void *memory);

// Returns the value of an environment variable, or NULL. Always NULL in a process with more rights
// than its caller (set-user-ID, set-group-ID, file capabilities): the environment is the caller's,
// and must not choose which files the process reads and writes.
const char *KivOsEnvironment(const char *name);

#endif
