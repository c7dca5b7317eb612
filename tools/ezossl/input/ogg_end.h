// SPDX-License-Identifier: MIT
// Whether an Ogg file is complete: libsndfile 1.2.2 does not tell when its end is missing.

#ifndef EZOSSL_TOOL_OGG_END_H
#define EZOSSL_TOOL_OGG_END_H

// Whether the last page of the file is whole and marked as the last. The place that is read next
// stays where it is.
bool ogg_has_its_end(int descriptor);

#endif
