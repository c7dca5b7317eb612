// SPDX-License-Identifier: MIT
// ogg_end.h - whether an Ogg file is complete: libsndfile 1.2.2 does not say if its end is missing.

#ifndef EZOSSL_TOOL_OGG_END_H
#define EZOSSL_TOOL_OGG_END_H

// Whether the last page of the file is whole and marked as the last. Does not move the read
// position of the descriptor.
bool ogg_has_its_end(int descriptor);

#endif
