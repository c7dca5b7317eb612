// SPDX-License-Identifier: MIT
// sound_source.h - the sound of a scene's source, as mono samples.

#ifndef EZOSSL_TOOL_SOUND_SOURCE_H
#define EZOSSL_TOOL_SOUND_SOURCE_H

#include <string>
#include <vector>

// The first channel of a sound file at a rate in Hz, at most `seconds` of it. Says so if the file
// is truncated. Failure if it is silent.
std::vector<float> read_source(const std::string &path, double seconds, int rate);

// Repeats the samples, or cuts them, to this length.
void repeat_to(std::vector<float> &samples, size_t length);

#endif
