// SPDX-License-Identifier: MIT
// file_signature.cpp - the table of signatures, and MPEG sound, which begins with a frame only.

#include "input/file_signature.h"

#include <cstdint>

using namespace std::string_view_literals;

namespace {

constexpr FileSignature kSignatures[] = {
    {8, "AVI "sv, "an AVI file", false}, // a kind of RIFF
    {0, "RIFF"sv, "a WAV file", true},
    {0, "RIFX"sv, "a WAV file", true},
    {0, "RF64"sv, "a WAV file", true},
    {0, "riff\x2e\x91\xcf\x11"sv, "a W64 file", true},
    {0, "caff"sv, "a CAF file", true},
    {0, "fLaC"sv, "a FLAC file", true},
    {0, "OggS"sv, "an Ogg file", true},
    {0, "ID3"sv, "an MP3 file", true},
    {0, "FORM"sv, "an AIFF file", true},
    {0, ".snd"sv, "an AU file", true},
    {0, "NIST_1A"sv, "a SPHERE file", true},
    {0, "Creative Voice File"sv, "a VOC file", true},
    {4, "ftyp"sv, "an M4A or MP4 file", false},
    {0, "\x1a\x45\xdf\xa3"sv, "a Matroska or WebM file", false},
    {0, "\x30\x26\xb2\x75"sv, "a WMA file", false},
    {0, "wvpk"sv, "a WavPack file", false},
    {0, "#!AMR"sv, "an AMR file", false},
};
constexpr FileSignature kMp3 = {0, ""sv, "an MP3 file", true};
constexpr FileSignature kAac = {0, ""sv, "an AAC file", false};

unsigned byte_at(std::string_view bytes, std::size_t place)
{
    return static_cast<uint8_t>(bytes[place]);
}

// 0 if this is not the beginning of a frame of layer III.
std::size_t mp3_frame_length(std::string_view frame)
{
    constexpr unsigned kKilobits[2][16] = {
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},
    };
    constexpr unsigned kRates[] = {44100, 48000, 32000};
    const unsigned version = byte_at(frame, 1) >> 3 & 3; // 0: 2.5, 2: 2, 3: 1
    const unsigned layer = byte_at(frame, 1) >> 1 & 3;
    const unsigned rate = byte_at(frame, 2) >> 2 & 3;
    if (version == 1 || layer != 1 || rate == 3)
        return 0;
    const unsigned kilobits = kKilobits[version == 3 ? 1 : 0][byte_at(frame, 2) >> 4];
    const unsigned hertz = kRates[rate] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
    const unsigned padding = byte_at(frame, 2) >> 1 & 1;
    return kilobits == 0 ? 0 : (version == 3 ? 144000 : 72000) * kilobits / hertz + padding;
}

// 0 if this is not the beginning of a frame with an ADTS header.
std::size_t aac_frame_length(std::string_view frame)
{
    if ((byte_at(frame, 1) & 0xf6) != 0xf0)
        return 0;
    return (byte_at(frame, 3) & 3) << 11 | byte_at(frame, 4) << 3 | byte_at(frame, 5) >> 5;
}

// Two bytes could be a sample. So another frame has to follow the first.
bool begins_with_frames(std::string_view start, std::size_t (*length_of)(std::string_view))
{
    constexpr std::size_t kHeader = 6;
    const auto is_sync = [start](std::size_t place) {
        return place + kHeader <= start.size() && byte_at(start, place) == 0xff &&
               (byte_at(start, place + 1) & 0xe0) == 0xe0;
    };
    if (!is_sync(0))
        return false;
    const std::size_t length = length_of(start);
    return length > 0 && is_sync(length) && start[length + 1] == start[1];
}

} // namespace

const FileSignature *find_signature(std::string_view start)
{
    for (const FileSignature &known : kSignatures) {
        if (start.size() > known.offset &&
            start.substr(known.offset, known.bytes.size()) == known.bytes)
            return &known;
    }
    return begins_with_frames(start, mp3_frame_length)   ? &kMp3
           : begins_with_frames(start, aac_frame_length) ? &kAac
                                                         : nullptr;
}
