// SPDX-License-Identifier: MIT
// file_part.cpp - opens a file, once for its band and once for its frames.

#include "input/file_part.h"

#include <filesystem>

#include "input/band_limit.h"

std::unique_ptr<FrameSource> open_part(const FilePart &part, const InputSettings &settings)
{
    auto source =
        std::make_unique<FrameSource>(std::make_unique<AudioReader>(part.path, part.raw), settings);
    source->pairs().skip_to(part.start);
    if (part.duration > 0.0)
        source->pairs().end_after(part.duration);
    return source;
}

std::optional<int> band_limit_of(const FilePart &part, const InputSettings &settings)
{
    std::error_code is_missing;
    if (settings.rate != 0 || !std::filesystem::is_regular_file(part.path, is_missing))
        return std::nullopt;
    const std::unique_ptr<FrameSource> source = open_part(part, settings);
    if (source->rate() == kLowestRate)
        return std::nullopt;
    BandLimit limit(source->rate());
    Frame frame;
    while (source->read(frame))
        limit.add(frame);
    return limit.edge();
}
