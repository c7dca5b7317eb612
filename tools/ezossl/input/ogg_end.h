// SPDX-License-Identifier: MIT
// ogg_end.h - whether an Ogg file is complete: libsndfile 1.2.2 does not say if its end is missing.

#ifndef EZOSSL_TOOL_OGG_END_H
#define EZOSSL_TOOL_OGG_END_H

#include "input/input_bytes.h"

// Whether the last page of the file is whole and marked as the last. Moves the read position.
bool ogg_has_its_end(InputBytes &bytes);

#endif
