// SPDX-License-Identifier: MIT
// file_part.h - a file, or a part of it, as a source of frames at the rate that suits its sound.

#ifndef EZOSSL_TOOL_FILE_PART_H
#define EZOSSL_TOOL_FILE_PART_H

#include <memory>
#include <optional>
#include <string>

#include "input/audio_file.h"
#include "input/frame_source.h"

struct FilePart {
    std::string path; // - is standard input
    std::optional<RawFormat> raw{};
    double start = 0.0;    // seconds
    double duration = 0.0; // seconds; 0 is to the end
};

// Stands at the start of the part.
std::unique_ptr<FrameSource> open_part(const FilePart &part, const InputSettings &settings);

// The frequency in Hz above which the part has no sound, if there is one. The part is read for it
// once before it is read for good, so nothing is known of what can be read only once, and nothing
// is looked for where the user has chosen a rate.
std::optional<int> band_limit_of(const FilePart &part, const InputSettings &settings);

#endif
