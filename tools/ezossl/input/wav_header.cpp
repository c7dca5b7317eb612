// SPDX-License-Identifier: MIT
// wav_header.cpp - walks the chunks of a WAV file as far as its samples.

#include "input/wav_header.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <sndfile.h>
#include <unistd.h>

namespace {

constexpr uint32_t kExtensible = 0xfffe; // a longer identifier follows, which begins with the tag
constexpr size_t kStartBytes = 12;
constexpr size_t kFormatBytes = 16;
constexpr size_t kExtensibleBytes = 26;
constexpr size_t kLongSizesBytes = 16;      // the lengths of an RF64 file and of its samples
constexpr uint32_t kLongSize = 0xffffffffu; // in an RF64 file: the length is a long one, in "ds64"

struct Range {
    int64_t first;
    int64_t last;
};
// Programs that do not know the length write about the largest number of 31 or 32 bits: rounded, or
// less the size of a header or of part of a frame.
constexpr Range kUnknownSizes[] = {{0x7fff0000, 0x80000000}, {0xffff0000, 0xffffffff}};
constexpr int64_t kMostAfterSamples = 1 << 20; // bytes, of titles and the like

struct Encoding {
    uint32_t tag;
    uint32_t bits;
    int encoding;
};
constexpr Encoding kEncodings[] = {
    {1, 8, SF_FORMAT_PCM_U8},  {1, 16, SF_FORMAT_PCM_16}, {1, 24, SF_FORMAT_PCM_24},
    {1, 32, SF_FORMAT_PCM_32}, {3, 32, SF_FORMAT_FLOAT},  {3, 64, SF_FORMAT_DOUBLE},
    {6, 8, SF_FORMAT_ALAW},    {7, 8, SF_FORMAT_ULAW},
};

bool read_all(InputBytes &bytes, unsigned char *place, size_t count)
{
    return bytes.read(place, count) == count;
}

bool skip(InputBytes &bytes, uint64_t count)
{
    unsigned char ignored[4096];
    for (uint64_t left = count; left > 0;) {
        const auto now = static_cast<size_t>(std::min<uint64_t>(left, sizeof ignored));
        if (!read_all(bytes, ignored, now))
            return false;
        left -= now;
    }
    return true;
}

uint32_t little_endian(const unsigned char *bytes, int count)
{
    uint32_t value = 0;
    for (int i = count - 1; i >= 0; i--)
        value = value << 8 | bytes[i];
    return value;
}

// The size that the header states for the samples, which begin at the read position. 0 if programs
// write this number when they do not know the size, and the file does not have that length.
int64_t known_size(int64_t size, InputBytes &bytes)
{
    const auto holds_size = [size](const Range &range) {
        return range.first <= size && size <= range.last;
    };
    if (std::none_of(std::begin(kUnknownSizes), std::end(kUnknownSizes), holds_size))
        return size;
    const int64_t there = bytes.is_pipe() ? 0 : bytes.size() - bytes.seek(0, SEEK_CUR);
    return size <= there && there - size <= kMostAfterSamples ? size : 0;
}

WavHeader parse_format(const unsigned char *format, size_t size)
{
    uint32_t tag = little_endian(format, 2);
    if (tag == kExtensible && size >= kExtensibleBytes)
        tag = little_endian(format + 24, 2);
    const uint32_t channels = little_endian(format + 2, 2);
    const uint32_t bits = little_endian(format + 14, 2);
    WavHeader header = {0, little_endian(format + 4, 4), static_cast<int>(channels),
                        static_cast<int>(bits / 8), 0};
    for (const Encoding &known : kEncodings) {
        if (known.tag == tag && known.bits == bits && channels > 0 &&
            little_endian(format + 12, 2) == channels * bits / 8)
            header.encoding = known.encoding;
    }
    return header;
}

} // namespace

std::string read_start(InputBytes &bytes)
{
    unsigned char start[kStartBytes];
    const size_t count = bytes.read(start, sizeof start);
    return {start, start + count};
}

std::optional<WavHeader> read_wav_header(InputBytes &bytes, const std::string &start)
{
    const bool is_long = start.compare(0, 4, "RF64") == 0;
    if (start.size() < kStartBytes || (!is_long && start.compare(0, 4, "RIFF") != 0) ||
        start.compare(8, 4, "WAVE") != 0)
        return std::nullopt;

    std::optional<WavHeader> header;
    int64_t long_size = 0;
    unsigned char chunk[8];
    while (read_all(bytes, chunk, sizeof chunk)) {
        const uint32_t size = little_endian(chunk + 4, 4);
        uint64_t unread = uint64_t{size} + size % 2; // chunks have an even length
        if (std::memcmp(chunk, "data", 4) == 0) {
            if (header)
                header->data_bytes =
                    is_long && size == kLongSize ? long_size : known_size(size, bytes);
            return header;
        }
        if (std::memcmp(chunk, "ds64", 4) == 0 && size >= kLongSizesBytes) {
            unsigned char sizes[kLongSizesBytes];
            if (!read_all(bytes, sizes, sizeof sizes))
                return std::nullopt;
            long_size = int64_t{little_endian(sizes + 12, 4) & 0x7fffffff} << 32 |
                        little_endian(sizes + 8, 4);
            unread -= sizeof sizes;
        }
        if (std::memcmp(chunk, "fmt ", 4) == 0 && size >= kFormatBytes) {
            unsigned char format[kExtensibleBytes];
            const size_t length = std::min<size_t>(size, sizeof format);
            if (!read_all(bytes, format, length))
                return std::nullopt;
            header = parse_format(format, length);
            unread -= length;
        }
        if (!skip(bytes, unread))
            return std::nullopt;
    }
    return std::nullopt;
}
