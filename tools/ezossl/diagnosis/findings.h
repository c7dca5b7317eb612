// SPDX-License-Identifier: MIT
// findings.h - the table of what can be found about an input. A new finding is a row here, and a
// few lines in the file that recognises it: channel_faults.cpp, lag_faults.cpp or
// direction_faults.cpp.

#ifndef EZOSSL_TOOL_FINDINGS_H
#define EZOSSL_TOOL_FINDINGS_H

#include <string>

// What can be found: a fault makes the input unusable, a warning does not.
struct FindingKind {
    bool is_fault;
    bool is_told_at_once; // by `track` and `live` too, as soon as it is found
    const char *name;
    const char *meaning;
    const char *remedy;
};

// Share of the blocks with sound: if fewer have a direction, that is a finding.
inline constexpr double kFewShare = 0.2;

struct Finding {
    const FindingKind *kind;
    std::string measured;
};

namespace findings {

// clang-format off
inline constexpr FindingKind kTooQuiet = {true, true, "too quiet",
    "blocks at or below the gate get no direction",
    "raise the capture gain, or record a louder sound"};
inline constexpr FindingKind kLossy = {false, false, "lossy compression",
    "lossy compression changes the phase, so angles of such a file cannot be trusted",
    "record WAV or FLAC"};
inline constexpr FindingKind kDeadChannel = {true, true, "dead channel",
    "one microphone is hardly heard or not at all, so directions cannot be trusted",
    "check its wiring, its supply and the capture channel"};
inline constexpr FindingKind kIdentical = {true, true, "identical channels",
    "both channels carry the same signal, which has no direction",
    "record two microphones, without a mono mix or a balanced line on two inputs"};
inline constexpr FindingKind kLargeOffset = {true, true, "DC offset",
    "the library locates the offset instead of the sound, so angles go to 0",
    "remove it (sox IN OUT highpass 50), and check the microphone's coupling"};
inline constexpr FindingKind kOffset = {false, false, "DC offset",
    "it takes headroom, and may open the noise gate for silence",
    "remove it: sox IN OUT highpass 50"};
inline constexpr FindingKind kClipped = {false, false, "clipped",
    "loud parts are cut off, which hardly affects the direction of a single sound",
    "lower the capture gain"};
inline constexpr FindingKind kMismatch = {false, false, "level mismatch",
    "directions do not depend on it, but the fainter microphone is noisier",
    "check that both are uncovered and have the same gain"};
inline constexpr FindingKind kInverted = {true, true, "inverted polarity",
    "one channel is inverted, so the library rejects every frame",
    "swap the wires of one microphone, or negate a channel: sox IN OUT remix 1 2v-1"};
inline constexpr FindingKind kNoCommonSound = {true, true, "no common sound",
    "the channels carry different sounds, or are too far apart in time",
    "record both microphones with one device, at the same time"};
inline constexpr FindingKind kCovered = {true, true, "covered microphone",
    "the fainter microphone hears its own noise and not the sound, so there is no direction",
    "uncover it, and check its wiring and gain"};
inline constexpr FindingKind kDrift = {true, true, "drifting lag",
    "the channels run on two clocks",
    "record both microphones with one device"};
inline constexpr FindingKind kImpossible = {true, true, "impossible lag",
    "no source can be there: the spacing is larger than stated, or one channel is late",
    "state the real spacing with -s, or record both with one device"};
inline constexpr FindingKind kLongLag = {false, true, "long lag",
    "the spacing may be larger than stated, in which case angles are too large, up to 90",
    "measure the spacing, and state it with -s"};
inline constexpr FindingKind kEmptyBand = {true, false, "empty upper band",
    "the sound does not fill the band of this rate, which draws angles towards 0",
    "choose a lower rate with -r"};
inline constexpr FindingKind kNarrowBand = {false, false, "narrow band",
    "the sound was recorded at a lower rate, and is analysed at that rate",
    "record at 16000 Hz or more if you can: angles get finer"};
inline constexpr FindingKind kContradiction = {false, true, "contradiction",
    "the directions do not fit the lag between the channels, because of echoes or processing",
    "record nearer to the source and without any processing, or try a lower rate with -r"};
inline constexpr FindingKind kBeyondDirections = {true, true, "contradiction",
    "the stated spacing has no direction for the lag between the channels",
    "measure the spacing, and state it with -s"};
inline constexpr FindingKind kNoDirections = {true, false, "no directions",
    "no fault of the channels was found, but no block gets a direction",
    "record a source that is nearer, louder or in a room with less echo"};
inline constexpr FindingKind kFewDirections = {false, false, "few directions",
    "the sound is far, noisy or full of echo",
    "move the source nearer, or reduce noise and echo"};
inline constexpr FindingKind kLowerRate = {false, false, "few directions",
    "at this rate a frame of 128 samples holds little sound",
    "use -r 16000"};
// clang-format on

} // namespace findings

#endif
