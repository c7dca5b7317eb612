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

// A source that begins at the start of the part. Reads the part in advance until it is clear
// whether its upper band has sound, which mostly takes half a minute of sound; if it has none, the
// part is analysed at a lower rate. An input that can be read only once, such as a pipe, and a part
// for which the user has chosen a rate are not read in advance.
std::unique_ptr<FrameSource> open_part(const FilePart &part, const InputSettings &settings);

#endif
