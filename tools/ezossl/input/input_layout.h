// SPDX-License-Identifier: MIT
// input_layout.h - rate, channels and microphones of an input, as the outputs state them.

#ifndef EZOSSL_TOOL_INPUT_LAYOUT_H
#define EZOSSL_TOOL_INPUT_LAYOUT_H

#include "input/channels.h"

struct InputLayout {
    int rate; // Hz
    int channels;
    Microphones microphone; // channel of each, from 0
    double start;           // time of the first sample, in seconds
};

#endif
