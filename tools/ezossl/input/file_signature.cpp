// SPDX-License-Identifier: MIT
// file_signature.cpp - the table of signatures, and formats that begin with a frame.

#include "input/file_signature.h"

#include <cstdint>
#include <iterator>

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
    {0, "2BIT"sv, "an AVR file", true},
    {4, "ftyp"sv, "an M4A or MP4 file", false},
    {0, "\x1a\x45\xdf\xa3"sv, "a Matroska or WebM file", false},
    {0, "\x30\x26\xb2\x75"sv, "a WMA file", false},
    {0, "wvpk"sv, "a WavPack file", false},
    {0, "#!AMR"sv, "an AMR file", false},
};

unsigned byte_at(std::string_view bytes, size_t place)
{
    return static_cast<uint8_t>(bytes[place]);
}

// 0 if this is not the beginning of a frame of layer III.
size_t mp3_frame_length(std::string_view frame)
{
    constexpr unsigned kKilobits[2][16] = {
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, 0},
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 0},
    };
    constexpr unsigned kRates[] = {44100, 48000, 32000};
    const bool is_sync = byte_at(frame, 0) == 0xff && byte_at(frame, 1) >= 0xe0;
    const unsigned version = byte_at(frame, 1) >> 3 & 3; // 0: 2.5, 2: 2, 3: 1
    const unsigned layer = byte_at(frame, 1) >> 1 & 3;
    const unsigned rate = byte_at(frame, 2) >> 2 & 3;
    if (!is_sync || version == 1 || layer != 1 || rate == 3)
        return 0;
    const unsigned kilobits = kKilobits[version == 3 ? 1 : 0][byte_at(frame, 2) >> 4];
    const unsigned hertz = kRates[rate] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
    const unsigned padding = byte_at(frame, 2) >> 1 & 1;
    return kilobits == 0 ? 0 : (version == 3 ? 144000 : 72000) * kilobits / hertz + padding;
}

// 0 if this is not the beginning of a frame with an ADTS header.
size_t aac_frame_length(std::string_view frame)
{
    if (byte_at(frame, 0) != 0xff || (byte_at(frame, 1) & 0xf6) != 0xf0)
        return 0;
    return (byte_at(frame, 3) & 3) << 11 | byte_at(frame, 4) << 3 | byte_at(frame, 5) >> 5;
}

// 0 if this is not the beginning of a frame of AC-3 or E-AC-3.
size_t ac3_frame_length(std::string_view frame)
{
    constexpr unsigned kKilobits[] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                      192, 224, 256, 320, 384, 448, 512, 576, 640};
    if (byte_at(frame, 0) != 0x0b || byte_at(frame, 1) != 0x77)
        return 0;
    const unsigned version = byte_at(frame, 5) >> 3;
    if (version > 10)
        return 2 * (((byte_at(frame, 2) & 7) << 8 | byte_at(frame, 3)) + 1);
    const unsigned rate = byte_at(frame, 4) >> 6;
    const unsigned size = byte_at(frame, 4) & 0x3f;
    if (rate == 3 || size / 2 >= std::size(kKilobits))
        return 0;
    const unsigned kilobits = kKilobits[size / 2];
    return rate == 0   ? 4 * kilobits
           : rate == 1 ? 2 * (320 * kilobits / 147 + size % 2) // 44100 Hz
                       : 6 * kilobits;
}

// The two bytes of a frame's mark could be a sample, so another frame must follow the first.
bool begins_with_frames(std::string_view start, size_t (*length_of)(std::string_view))
{
    constexpr size_t kHeader = 6;
    if (start.size() < kHeader)
        return false;
    const size_t length = length_of(start);
    return length > 0 && length + kHeader <= start.size() &&
           start.substr(length, 2) == start.substr(0, 2);
}

bool begins_with_mp3(std::string_view start)
{
    return begins_with_frames(start, mp3_frame_length);
}

bool begins_with_aac(std::string_view start)
{
    return begins_with_frames(start, aac_frame_length);
}

bool begins_with_ac3(std::string_view start)
{
    return begins_with_frames(start, ac3_frame_length);
}

// Only half a byte is the same in all frames, so many frames must match.
bool begins_with_gsm(std::string_view start)
{
    constexpr size_t kLength = 33;
    constexpr size_t kFrames = 20;
    for (size_t i = 0; i < kFrames; ++i) {
        if (i * kLength >= start.size() || byte_at(start, i * kLength) >> 4 != 0xd)
            return false;
    }
    return true;
}

constexpr struct {
    bool (*begins)(std::string_view start);
    FileSignature signature;
} kFramed[] = {
    {begins_with_mp3, {0, ""sv, "an MP3 file", true}},
    {begins_with_aac, {0, ""sv, "an AAC file", false}},
    {begins_with_ac3, {0, ""sv, "an AC-3 file", false}},
    {begins_with_gsm, {0, ""sv, "a GSM file", false}},
};

} // namespace

const FileSignature *find_signature(std::string_view start)
{
    for (const FileSignature &known : kSignatures) {
        if (start.size() > known.offset &&
            start.substr(known.offset, known.bytes.size()) == known.bytes)
            return &known;
    }
    for (const auto &[begins, signature] : kFramed) {
        if (begins(start))
            return &signature;
    }
    return nullptr;
}
