// SPDX-License-Identifier: MIT
// ogg_end.cpp - looks at the last page: a header, the length of each segment, the segments.

#include "input/ogg_end.h"

#include <algorithm>
#include <numeric>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr unsigned char kMark[] = {'O', 'g', 'g', 'S'};
constexpr std::ptrdiff_t kFlagsAt = 5;
constexpr unsigned kLastPage = 0x04;
constexpr std::ptrdiff_t kSegmentsAt = 26; // the number of segments, at most 255
constexpr std::ptrdiff_t kHeaderBytes = 27;
constexpr size_t kMostBytes = 27 + 255 + 255 * 255;

// The last bytes of a file, as many as the longest page has.
std::vector<unsigned char> tail_of(int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || status.st_size < 0)
        return {};
    const size_t size = static_cast<size_t>(status.st_size);
    std::vector<unsigned char> tail(std::min(size, kMostBytes));
    const ssize_t got = pread(descriptor, tail.data(), tail.size(),
                              status.st_size - static_cast<off_t>(tail.size()));
    tail.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
    return tail;
}

} // namespace

bool ogg_has_its_end(int descriptor)
{
    const std::vector<unsigned char> tail = tail_of(descriptor);
    const auto page = std::find_end(tail.begin(), tail.end(), std::begin(kMark), std::end(kMark));
    if (tail.end() - page < kHeaderBytes || (page[kFlagsAt] & kLastPage) == 0)
        return false;
    const auto lengths = page + kHeaderBytes;
    const std::ptrdiff_t segments = page[kSegmentsAt];
    return tail.end() - lengths >= segments &&
           tail.end() - lengths - segments >=
               std::accumulate(lengths, lengths + segments, std::ptrdiff_t{0});
}
