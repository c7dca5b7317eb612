// SPDX-License-Identifier: MIT
// ogg_end.cpp - looks at the last page: a header, the length of each segment, the segments.

#include "input/ogg_end.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include <unistd.h>

namespace {

constexpr unsigned char kMark[] = {'O', 'g', 'g', 'S'};
constexpr std::ptrdiff_t kFlagsAt = 5;
constexpr unsigned kLastPage = 0x04;
constexpr std::ptrdiff_t kSegmentsAt = 26; // the number of segments, at most 255
constexpr std::ptrdiff_t kHeaderBytes = 27;
constexpr int64_t kMostBytes = 27 + 255 + 255 * 255;

// The last bytes of a file, as many as the longest page has.
std::vector<unsigned char> tail_of(InputBytes &bytes)
{
    const int64_t length = std::min(bytes.size(), kMostBytes);
    std::vector<unsigned char> tail(static_cast<size_t>(length));
    bytes.seek(-length, SEEK_END);
    tail.resize(bytes.read(tail.data(), tail.size()));
    return tail;
}

} // namespace

bool ogg_has_its_end(InputBytes &bytes)
{
    const std::vector<unsigned char> tail = tail_of(bytes);
    const auto page = std::find_end(tail.begin(), tail.end(), std::begin(kMark), std::end(kMark));
    if (tail.end() - page < kHeaderBytes || (page[kFlagsAt] & kLastPage) == 0)
        return false;
    const auto lengths = page + kHeaderBytes;
    const std::ptrdiff_t segments = page[kSegmentsAt];
    return tail.end() - lengths >= segments &&
           tail.end() - lengths - segments >=
               std::accumulate(lengths, lengths + segments, std::ptrdiff_t{0});
}
