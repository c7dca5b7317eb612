// SPDX-License-Identifier: MIT
// KivOs.h - temporary memory, as the operating-system wrapper offers it.

#ifndef KIV_OS_H
#define KIV_OS_H

#include <cstddef>

// Returns `bytes` bytes, aligned for every type, or NULL. The caller releases them.
void *KivOsMemAlloc(size_t bytes);

void KivOsMemRelease(void *memory);

#endif
