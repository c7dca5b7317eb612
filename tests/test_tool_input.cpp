// SPDX-License-Identifier: MIT
// test_tool_input.cpp - from a sound to frames: rates, channels, samples.

#include <array>
#include <cmath>
#include <memory>

#include "base/failure.h"
#include "base/sample_format.h"
#include "input/audio_file.h"
#include "input/channels.h"
#include "input/file_signature.h"
#include "input/frame_source.h"
#include "input/sample_rates.h"
#include "output/summary.h"
#include "tool_fixture.h"

namespace {

TEST(Input, IsAnalysedAtTheWantedRateOrAtTheBestThatItHas)
{
    const struct {
        int wanted, input, expected;
    } cases[] = {
        {0, 8000, 8000},       {0, 16000, 16000},  {0, 32000, 16000},     {0, 48000, 16000},
        {0, 11025, 8000},      {0, 15999, 8000},   {0, 44100, 16000},     {0, 96000, 16000},
        {32000, 44100, 32000}, {8000, 8000, 8000}, {48000, 48000, 48000}, {8000, 96000, 8000},
    };
    for (const auto &c : cases)
        EXPECT_EQ(analysis_rate(c.wanted, c.input, "x"), c.expected) << c.input;
    EXPECT_EQ(analysis_rate(0, 48000, "x", 4000), 8000); // no sound above 4 kHz
    EXPECT_EQ(analysis_rate(0, 48000, "x", 8000), 16000);
    EXPECT_EQ(analysis_rate(16000, 48000, "x", 4000), 16000);     // as the user wants
    EXPECT_THROW(analysis_rate(16000, 15999, "x"), UsageFailure); // would draw angles to 0
    EXPECT_THROW(analysis_rate(48000, 44100, "x"), UsageFailure);
    EXPECT_THROW(analysis_rate(0, 7999, "x"), Failure);
    EXPECT_EQ(capture_rate(0), 16000);
    EXPECT_EQ(capture_rate(48000), 48000);
}

TEST(Input, SamplesAreRoundedAndClampedTo16Bits)
{
    const struct {
        double scaled; // by full scale
        int expected;
        bool is_clamped;
    } cases[] = {
        {0, 0, false},          {0.4, 0, false},         {0.6, 1, false},
        {-0.6, -1, false},      {1000.5, 1001, false},   {32767, 32767, false},
        {32768, 32767, false},  {32769, 32767, true},    {-32768, -32768, false},
        {-32770, -32768, true}, {HUGE_VAL, 32767, true}, {-HUGE_VAL, -32768, true},
    };
    for (const auto &c : cases) {
        const auto sample = static_cast<float>(c.scaled / 32768.0);
        int16_t result = 12345;
        EXPECT_EQ(to_int16(&sample, &result, 1), c.is_clamped) << c.scaled;
        EXPECT_EQ(result, c.expected) << c.scaled;
    }
    for (int value = -32768; value <= 32767; ++value) {
        const auto sample = static_cast<int16_t>(value);
        int16_t back = 0;
        float number = 0.0f;
        to_float(&sample, &number, 1);
        ASSERT_EQ(number, static_cast<float>(value / 32768.0));
        ASSERT_EQ(to_int16(&number, &back, 1), 0u) << value;
        ASSERT_EQ(back, value);
    }
}

// What the function throws, or "" if it does not.
template <class Function>
std::string refusal(Function function)
{
    try {
        function();
    } catch (const Failure &failure) {
        return failure.what();
    }
    return "";
}

TEST(Input, MicrophonesAreTheChosenChannelsOrTheOnlyTwo)
{
    EXPECT_EQ(parse_channels("1,2"), (Microphones{1, 2}));
    EXPECT_EQ(parse_channels("64,1"), (Microphones{64, 1}));
    for (const char *text : {"", "1", "1,", ",2", "1;2", "1,2,3", "1,2x", "0,1", "1,65", "a,b"})
        EXPECT_THROW(parse_channels(text), UsageFailure) << text;
    EXPECT_EQ(refusal([] { parse_channels("3,3"); }),
              "--channels: channel 3 is given twice; give each microphone its own");

    const ChannelChoice none, crossed = {Microphones{4, 2}, false}, swapped = {{}, true};
    EXPECT_EQ(none.fewest(), 2);
    EXPECT_EQ(crossed.fewest(), 4);
    EXPECT_EQ(find_microphones(none, "x", 2), (Microphones{0, 1}));
    EXPECT_EQ(find_microphones(swapped, "x", 2), (Microphones{1, 0}));
    EXPECT_EQ(find_microphones(crossed, "x", 4), (Microphones{3, 1}));
    const struct {
        const ChannelChoice &choice;
        int channels;
        const char *refusal;
    } refused[] = {
        {none, 1, "x: 1 channel; needs 2, one per microphone: record both"},
        {none, 3,
         "x: 3 channels; needs 2, one per microphone; choose them, for example with -c 1,2"},
        {crossed, 3, "x: has no channel 4, only 3; choose others with -c"},
    };
    for (const auto &c : refused)
        EXPECT_EQ(refusal([&] { find_microphones(c.choice, "x", c.channels); }), c.refusal);

    const float samples[] = {1, 2, 3, 4, 5, 6};
    Samples pairs = {9};
    pick_pairs(samples, 2, 3, {2, 0}, pairs);
    EXPECT_EQ(pairs, (Samples{3, 1, 6, 4}));
}

// Counts up on channel 2 of three, down on channel 3.
struct Counting : SampleStream {
    explicit Counting(int rate, int64_t length) : rate_(rate), length_(length) {}

    std::optional<size_t> read(float *samples, size_t count) override
    {
        if (next_ == length_)
            return std::nullopt;
        if (++calls_ % 3 == 0)
            return 0; // none for a moment
        const auto now = std::min(static_cast<int64_t>(count), length_ - next_);
        for (const int64_t end = next_ + now; next_ < end; ++next_) {
            *samples++ = 0.5f;
            *samples++ = static_cast<float>(next_) / 32768.0f;
            *samples++ = next_ == 1000 ? -2.0f : static_cast<float>(-next_) / 32768.0f;
        }
        return static_cast<size_t>(now);
    }
    const std::string &name() const override { return name_; }
    SoundOrigin origin() const override { return SoundOrigin::file; }
    int rate() const override { return rate_; }
    int channels() const override { return 3; }
    size_t chunk() const override { return 100; }
    std::string length_remark(int64_t there) const override { return std::to_string(there); }

    std::string name_ = "counter";
    int rate_;
    int64_t length_;
    int64_t next_ = 0;
    int calls_ = 0;
};

FrameSource counting(int rate, int64_t length, int wanted_rate = 0)
{
    return {std::make_unique<Counting>(rate, length), {{Microphones{2, 3}, false}, wanted_rate}};
}

TEST(Input, FramesAreThePairsOfTheStreamOneAfterTheOther)
{
    FrameSource source = counting(16000, 1400);
    source.skip_to(0.0125); // 200 samples
    EXPECT_EQ(source.layout().start, 0.0125);
    EXPECT_EQ(source.layout().microphone, (Microphones{1, 2}));
    Frame frame;
    int expected = 200;
    for (int frames = 0; frames < 9; ++frames) {
        ASSERT_TRUE(source.read(frame));
        for (size_t i = 0; i < kFrameSamples; i += 2, ++expected) {
            ASSERT_EQ(frame[i], expected);
            ASSERT_EQ(frame[i + 1], expected == 1000 ? -32768 : -expected);
        }
    }
    EXPECT_FALSE(source.read(frame));
    EXPECT_FALSE(source.read(frame));
    EXPECT_EQ(source.read_pairs(), 1200);
    EXPECT_EQ(source.unread_pairs(), 1200u - 9 * 128);
    EXPECT_EQ(source.clamped(), 1);
    EXPECT_EQ(source.length_remark(), "1400");
    EXPECT_EQ(refusal([] { counting(16000, 9).skip_to(1); }), "counter: ends before --start 1 s");
}

// Pretends to read many samples, without making any.
struct Long : Counting {
    Long() : Counting(16000, 0) {}
    std::optional<size_t> read(float *, size_t count) override { return count; }
    size_t chunk() const override { return 1 << 20; }
};

TEST(Input, CountsGoBeyond32Bits)
{
    for (const int64_t whole : {int64_t{1} << 31, int64_t{1} << 32, int64_t{1} << 33}) {
        FrameSource source(std::make_unique<Long>(), {{Microphones{2, 3}, false}, 0});
        const auto seconds = static_cast<double>(whole) / 16000.0;
        source.skip_to(seconds);
        EXPECT_EQ(source.seconds(), seconds);
        source.end_after(1.0);
        EXPECT_EQ(source.read_all().size(), 2 * 16000u);
        EXPECT_EQ(source.layout().start, seconds);
    }
    Summary summary;
    summary.clamped = summary.wrapped = summary.overruns = int64_t{1} << 33;
    for (const char *part :
         {"8589934592 samples beyond", "8589934592 samples wrapped", "8589934592 overruns"})
        EXPECT_NE(to_text("x", summary).find(part), std::string::npos) << to_text("x", summary);
}

TEST(Input, EndsWhereTheUserWantsIt)
{
    FrameSource source = counting(8000, 1000);
    source.skip_to(0.01);
    source.end_after(0.1);
    const std::vector<int16_t> samples = source.read_all();
    ASSERT_EQ(samples.size(), 2 * 800u);
    EXPECT_EQ(source.unread_pairs(), 0u);
    EXPECT_EQ(samples[0], 80);
    EXPECT_EQ(samples[2 * 799], 879);
    EXPECT_TRUE(source.is_cut());
    EXPECT_EQ(source.length_remark(), ""); // the rest was not asked for
    FrameSource whole = counting(8000, 800);
    whole.end_after(0.1);
    EXPECT_EQ(whole.read_all().size(), 2 * 800u);
    EXPECT_FALSE(whole.is_cut());
}

TEST(Input, ResampledSoundKeepsItsPlaceAndItsEnd)
{
    const struct {
        int from, wanted, to;
        const char *remark;
    } cases[] = {
        {11025, 0, 8000, "counter: 11025 Hz is resampled to 8000 Hz (-r chooses another rate)"},
        {44100, 0, 16000, "counter: 44100 Hz is resampled to 16000 Hz (-r chooses another rate)"},
        {48000, 16000, 16000, ""}, // as the user said
        {16000, 8000, 8000, ""},
        {32000, 0, 16000, "counter: 32000 Hz is resampled to 16000 Hz (-r chooses another rate)"},
        {16000, 0, 16000, ""},
    };
    for (const auto &c : cases) {
        FrameSource source = counting(c.from, 900, c.wanted);
        EXPECT_EQ(source.rate(), c.to);
        EXPECT_EQ(source.layout().rate, c.from);
        const auto remarks = source.opening_remarks();
        EXPECT_EQ(remarks.empty() ? "" : remarks.at(0), c.remark);
        const std::vector<int16_t> samples = source.read_all();
        const double ratio = 1.0 * c.from / c.to;
        EXPECT_NEAR(static_cast<double>(samples.size()) / 2, 900 / ratio, 1.01) << c.from;
        for (size_t n = 60; static_cast<double>(n) < 500 / ratio; ++n) {
            ASSERT_NEAR(samples[2 * n], ratio * static_cast<double>(n), 2) << c.from << ' ' << n;
            ASSERT_EQ(samples[2 * n + 1], -samples[2 * n]) << n;
        }
    }
}

TEST_F(Tool, RawSamplesAreLittleEndianWithTheStatedRateAndChannels)
{
    std::ofstream("x.raw") << "\x01\x02\xFF\xFF" << std::string("\0\x80\0\x40\x01", 5);
    AudioReader reader("x.raw", RawFormat{11025, 2});
    EXPECT_EQ(reader.rate(), 11025);
    EXPECT_EQ(reader.channels(), 2);
    EXPECT_EQ(reader.length(), 2); // and half a sample
    float samples[2 * 4];
    ASSERT_EQ(reader.read(samples, 4), 2u);
    const double expected[] = {513, -1, -32768, 16384};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(samples[i], static_cast<float>(expected[i] / 32768.0)) << i;
    EXPECT_EQ(reader.read(samples, 4), std::nullopt);
    EXPECT_EQ(reader.header_remark() + reader.length_remark(2), "");
    AudioReader four("x.raw", RawFormat{8000, 4});
    EXPECT_EQ(four.length(), 1);
}

std::string two_frames(std::string frame, size_t length)
{
    frame.resize(length, '\1');
    return frame + frame;
}

std::string name_of(const std::string &start)
{
    const FileSignature *const known = find_signature(start);
    return known != nullptr ? known->name : "";
}

// The frames of ISO/IEC 11172-3 and 13818-3, and of ETSI TS 102 366.
TEST(FileSignature, IsFoundInFramesOfEveryBitRate)
{
    const struct {
        char version;
        unsigned factor; // bytes of a frame = factor x kbit/s / rate
        int halvings;    // of the rate
        std::array<unsigned, 14> kbit;
    } mp3[] = {
        {'\xfb', 144000, 0, {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
        {'\xf3', 72000, 1, {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
        {'\xe3', 72000, 2, {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
    };
    constexpr unsigned kRates[] = {44100, 48000, 32000};
    for (const auto &kind : mp3)
        for (unsigned i = 0; i < 14 * 3 * 2; ++i) {
            const unsigned place = i / 6, rate = i / 2 % 3, padding = i % 2;
            const size_t length =
                kind.factor * kind.kbit[place] / (kRates[rate] >> kind.halvings) + padding;
            const std::string start = {
                '\xff', kind.version,
                static_cast<char>((place + 1) << 4 | rate << 2 | padding << 1), '\xc4'};
            EXPECT_EQ(name_of(two_frames(start, length)), "an MP3 file") << i;
            EXPECT_EQ(name_of(two_frames(start, length + 1)), "") << i;
        }
    constexpr unsigned kKbit[] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                  192, 224, 256, 320, 384, 448, 512, 576, 640};
    for (unsigned i = 0; i < 3 * 38; ++i) {
        const unsigned rate = i / 38, size = i % 38, kbit = kKbit[size / 2];
        const size_t length = rate == 0   ? 4 * kbit
                              : rate == 2 ? 6 * kbit
                                          : 2 * (kbit * 96000 / 44100 + size % 2);
        const std::string start = {0x0b, 'w', 1, 1, static_cast<char>(rate << 6 | size), 0x40};
        EXPECT_EQ(name_of(two_frames(start, length)), "an AC-3 file") << i;
        EXPECT_EQ(name_of(two_frames(start, length + 2)), "") << i;
    }
    for (const unsigned length : {7u, 40u, 2047u, 2048u, 8191u}) { // ISO/IEC 13818-7
        const std::string start = {'\xff',
                                   '\xf1',
                                   0x60,
                                   static_cast<char>(0x80 | length >> 11),
                                   static_cast<char>(length >> 3),
                                   static_cast<char>(length << 5 | 0x1f)};
        EXPECT_EQ(name_of(two_frames(start, length)), "an AAC file") << length;
        EXPECT_EQ(name_of(two_frames(start, length + 1)), "") << length;
    }
    EXPECT_EQ(name_of(std::string(20 * 33, '\xd2')), "a GSM file");
    EXPECT_EQ(name_of("\1" + std::string(20 * 33, '\xd2')), "");
    const char *const wrong[] = {"\xff\xfb\xfc\xc4",                     // no rate
                                 "\xff\xfb\xf0\xc4", "\xff\xf3\xf0\xc4", // no bit rate
                                 "\xff\xeb\x90\xc4",                     // no version
                                 "\xff\xff\x90\xc4"};                    // layer I
    for (const char *start : wrong)
        EXPECT_EQ(name_of(two_frames(start, 417)), "");
}

// Sparse files, because the largest have 5 GiB.
TEST_F(Tool, HeadersOfWavFilesStateTheLengthOrNoneAtAll)
{
    constexpr int64_t kMiB = 1 << 20, kGiB = 1 << 30;
    const char *const unknown = "does not say how long it is; 262144 samples found";
    const char *const cut = "is truncated: the header says 50331.648 s, the file has 16.384 s";
    const struct {
        int container;
        int64_t stated; // bytes
        int64_t there;
        int64_t after;
        int64_t expected;
        const char *remark;
    } cases[] = {
        {SF_FORMAT_WAV, 0, kMiB, 0, kMiB, unknown},
        {SF_FORMAT_WAV, 0x7fff0000, kMiB, 0, kMiB, unknown},
        {SF_FORMAT_WAV, 0x7ffff000, kMiB, 0, kMiB, unknown},
        {SF_FORMAT_WAV, 0x80000000, kMiB, 0, kMiB, unknown},
        {SF_FORMAT_WAV, 0xffff0000, kMiB, 0, kMiB, unknown},
        {SF_FORMAT_WAV, 0xffffffff, kMiB, 0, kMiB, unknown},
        {SF_FORMAT_WAV, 0x7ffff000, 0x80180000, 0, 0x80180000, "537264128 samples found"},
        {SF_FORMAT_WAV, 0x7ffff000, 0x7ffff000, kMiB, 0x7ffff000, ""},
        {SF_FORMAT_WAV, 0x80000000, 0x80000000, 100, 0x80000000, ""},
        {SF_FORMAT_WAV, 3 * kGiB, 3 * kGiB, 100, 3 * kGiB, ""},
        {SF_FORMAT_WAV, 3 * kGiB, kMiB, 0, kMiB, cut},
        {SF_FORMAT_RF64, 7 * kGiB, kMiB, 0, kMiB, "the header says 117440.512 s"},
        {SF_FORMAT_RF64, 5 * kGiB, 5 * kGiB, 100, 5 * kGiB, ""},
        {SF_FORMAT_RF64, 0, kMiB, 0, kMiB, unknown},
    };
    for (const auto &c : cases) {
        write_audio("x", 16000, 2, {}, c.container | SF_FORMAT_PCM_16);
        std::string header = contents("x");
        const size_t place =
            c.container == SF_FORMAT_RF64 ? header.find("ds64") + 16 : header.find("data") + 4;
        for (size_t i = 0; i < (c.container == SF_FORMAT_RF64 ? 8 : 4); ++i)
            header[place + i] = static_cast<char>(c.stated >> 8 * i);
        std::ofstream("x") << header;
        fs::resize_file("x", header.size() + static_cast<uint64_t>(c.there));
        std::ofstream("x", std::ios::app) << std::string(static_cast<size_t>(c.after), 'L');
        const AudioReader reader("x");
        EXPECT_EQ(reader.length(), c.expected / 4) << c.stated << ' ' << c.there;
        const std::string remark =
            reader.header_remark() + reader.length_remark(reader.length().value_or(0));
        EXPECT_TRUE(*c.remark == '\0' ? remark.empty() : remark.find(c.remark) != std::string::npos)
            << c.stated << ' ' << c.there << ": " << remark;
    }
}

// A header that is taken for samples would give an angle, too.
TEST_F(Tool, FilesThatAreNotWhatTheyAreTakenForAreRefused)
{
    Samples sound(2 * 8192);
    for (size_t i = 0; i < sound.size(); ++i)
        sound[i] = static_cast<float>(i * i % 1009) / 2018.0f;
    const std::pair<int, const char *> readable[] = {
        {SF_FORMAT_FLAC, "a FLAC file"},   {SF_FORMAT_AIFF, "an AIFF file"},
        {SF_FORMAT_AU, "an AU file"},      {SF_FORMAT_W64, "a W64 file"},
        {SF_FORMAT_RF64, "a WAV file"},    {SF_FORMAT_CAF, "a CAF file"},
        {SF_FORMAT_NIST, "a SPHERE file"}, {SF_FORMAT_VOC, "a VOC file"},
        {SF_FORMAT_OGG, "an Ogg file"},    {SF_FORMAT_AVR, "an AVR file"},
    };
    for (const auto &[format, name] : readable) {
        const int encoding = format == SF_FORMAT_OGG ? SF_FORMAT_VORBIS : SF_FORMAT_PCM_16;
        write_audio("x", 16000, 2, sound, format | encoding);
        EXPECT_EQ(run("track x --raw -s 5"), 1) << name;
        EXPECT_EQ(contents("err"), std::string("ezossl: x: is ") + name + "; omit --raw\n");
        EXPECT_EQ(run("track x -s 5 -q"), 0) << name << contents("err");
    }
    const std::string mp3 = two_frames("\xff\xf3\x88\xc4", 288); // of 64 kbit/s at 16 kHz
    std::string gsm;
    for (int i = 0; i < 20; ++i)
        gsm += "\xd2" + std::string(32, '\1');
    write_audio("x", 16000, 2, sound, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string wav = contents("x");
    const auto spoilt = [&wav](size_t place, const std::string &bytes) {
        return std::string(wav).replace(place, bytes.size(), bytes);
    };
    const std::pair<const char *, std::string> files[] = {
        {"mp3", mp3},
        {"mp3-begun", mp3.substr(0, 290)}, // may be sound
        {"mp3-tagged", "ID3\4"},
        {"aac", two_frames("\xff\xf1\x60\x80\x05\x1f\xfc", 40)},
        {"ac3", two_frames({0x0b, 'w', 0, 19, '\x80', '\x80'}, 40)}, // the newer kind
        {"gsm", gsm},
        {"gsm-short", gsm.substr(33)},
        {"m4a", std::string(3, '\0') + "\x1c" + "ftypM4A " + std::string(99, '\0')},
        {"webm", "\x1a\x45\xdf\xa3webm"},
        {"wma", "\x30\x26\xb2\x75wma"},
        {"wavpack", "wvpk and more"},
        {"amr", "#!AMR\n and more"},
        {"avi", "RIFF1234AVI LIST"},
        {"no-flac", "fLaC" + wav},
        {"text", "no sound"},
        {"empty", ""},
        {"no-channels", spoilt(22, std::string(2, '\0'))},
        {"many-channels", spoilt(22, "\1\4")},
        {"no-rate", spoilt(24, std::string(4, '\0'))},
        {"largest-rate", spoilt(24, "\xff\xff\xff\xff")},
        {"fast-au", std::string(".snd\0\0\0\x18\0\0\0\4\0\0\0\3\0\x09\x27\xc0\0\0\0\2abcd", 28)},
        {"no-bits", spoilt(34, std::string(1, '\0'))},
        {"no-data", spoilt(36, "none")},
        {"no-header", wav.substr(0, 30)},
        {"no-samples", wav.substr(0, 44)},
    };
    for (const auto &[name, bytes] : files)
        std::ofstream(std::string(name) + ".wav") << bytes;
    play("inputs");
}

} // namespace
