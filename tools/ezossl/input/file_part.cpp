// SPDX-License-Identifier: MIT
// file_part.cpp - opens a file twice: to find its band limit, and to read its frames.

#include "input/file_part.h"

#include <filesystem>

#include "input/band_limit.h"

namespace {

std::unique_ptr<FrameSource> open_within(const FilePart &part, const InputSettings &settings,
                                         std::optional<int> band_limit)
{
    auto source = std::make_unique<FrameSource>(std::make_unique<AudioReader>(part.path, part.raw),
                                                settings, band_limit);
    source->skip_to(part.start);
    if (part.duration > 0.0)
        source->end_after(part.duration);
    return source;
}

// The frequency in Hz above which the part has no sound, if there is one.
std::optional<int> band_limit_of(const FilePart &part, const InputSettings &settings)
{
    std::error_code is_missing;
    // "-" is standard input, which cannot be read twice, even if a file has that name.
    if (settings.rate != 0 || part.path == "-" ||
        !std::filesystem::is_regular_file(part.path, is_missing))
        return std::nullopt;
    const std::unique_ptr<FrameSource> source = open_within(part, settings, std::nullopt);
    if (source->rate() == kLowestRate)
        return std::nullopt;
    BandLimit limit(source->rate());
    Frame frame;
    while (!limit.is_settled() && source->read(frame))
        limit.add(frame);
    return limit.edge();
}

} // namespace

std::unique_ptr<FrameSource> open_part(const FilePart &part, const InputSettings &settings)
{
    return open_within(part, settings, band_limit_of(part, settings));
}
