// SPDX-License-Identifier: MIT
// block.h - the result of a block of frames, from which every output is made.

#ifndef EZOSSL_TOOL_BLOCK_H
#define EZOSSL_TOOL_BLOCK_H

#include <chrono>

#include "tracking/block_status.h"

struct Block {
    double start; // seconds from the beginning of the input
    double end;
    BlockStatus status;
    int angle;           // degrees; of BlockStatus::ok only
    int frames_agreeing; // frames whose delays agree, as defined by DirectionVote or Localizer
    int frames_used;     // frames with a clear delay
    int frames_total;    // frames that could vote
    double level; // mean of both microphones, dB of full scale; -infinity for digital silence
    bool has_gap = false;                         // whether the device lost sound in or before it
    std::chrono::system_clock::time_point time{}; // time of day when it was complete
};

#endif
