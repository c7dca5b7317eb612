// SPDX-License-Identifier: MIT
// test_tool_track.cpp - the commands track and live: every kind of input, output and ending.

#include <random>

#include "tool_fixture.h"

namespace {

constexpr size_t kPairs = 10000; // two blocks and a rest

// Noise that reaches microphone 0 earlier. At 16 kHz and 8.6 cm, two samples are
// asin(2 x 343 / 16000 / 0.086) = 29.9 degrees.
Samples pair(size_t pairs, size_t lead)
{
    std::mt19937 generator(1);
    Samples samples(2 * pairs);
    for (size_t i = 2 * lead + 1; i < samples.size(); i += 2)
        samples[i - 2 * lead - 1] = samples[i] = generator() % 2 == 0 ? 0.25f : -0.25f;
    return samples;
}

struct Track : Tool {
    Track()
    {
        const Samples two = pair(kPairs, 2);
        Samples four(2 * two.size());
        for (size_t i = 0; i < two.size(); ++i)
            four[2 * i + 1] = two[i]; // on its channels 2 and 4
        constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
        write_audio("two.wav", 16000, 2, two, kWav16);
        write_audio("two.flac", 16000, 2, two, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
        write_audio("two.raw", 16000, 2, two, SF_FORMAT_RAW | SF_FORMAT_PCM_16);
        write_audio("law.wav", 16000, 2, two, SF_FORMAT_WAV | SF_FORMAT_ULAW);
        write_audio("four.wav", 16000, 4, four, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
        write_audio("fast.wav", 48000, 2, pair(3 * kPairs, 6), kWav16);
        write_audio("silent.wav", 16000, 2, Samples(8192), kWav16);
        const std::string wav = contents("two.wav");
        write_audio("whole.ogg", 16000, 2, pair(10 * kPairs, 2), SF_FORMAT_OGG | SF_FORMAT_VORBIS);
        write_audio("two.opus", 16000, 2, two, SF_FORMAT_OGG | SF_FORMAT_OPUS);
        const std::string ogg = contents("whole.ogg");
        std::ofstream("half.ogg") << ogg.substr(0, ogg.size() / 2);
        std::ofstream("cut.wav") << wav.substr(0, 44 + 4 * 5000);
        std::ofstream("stream.wav") << wav.substr(0, 40) << std::string(4, '\0') << wav.substr(44)
                                    << "end"; // shorter than a sample of each channel
        std::ofstream("alsa.conf")
            << "pcm.null { type null }\n"
            << "pcm.mic { type file slave.pcm null file /dev/null format raw infile "
            << fs::absolute("two.raw") << " }\n";
        setenv("ALSA_CONFIG_PATH", fs::absolute("alsa.conf").c_str(), 1);
    }
};

// The samples begin after the header, whatever length it states, and whatever else it holds.
TEST_F(Track, StreamedFilesGiveWhatIntactOnesGive)
{
    for (const int format : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32,
                             SF_FORMAT_FLOAT, SF_FORMAT_DOUBLE, SF_FORMAT_ULAW, SF_FORMAT_ALAW}) {
        write_audio("x.wav", 16000, 2, pair(kPairs, 2), SF_FORMAT_WAV | format);
        const std::string intact = contents("x.wav");
        const std::string form = "x.wav -s 8.6 -b 1 -f csv --per-frame";
        ASSERT_EQ(run(form, "expected"), 0);
        const size_t data = intact.find("data");
        for (const std::string &size :
             {std::string(4, '\0'), std::string(4, '\xff'), std::string("\0\xf0\xff\x7f", 4)}) {
            std::ofstream("x.wav")
                << intact.substr(0, data) << "LIST" << '\2' << std::string(3, '\0') << "ab"
                << "data" << size << intact.substr(data + 8);
            EXPECT_EQ(run(form), 0);
            EXPECT_EQ(contents("out"), contents("expected")) << format;
            EXPECT_NE(contents("err").find("10000 samples found"), std::string::npos);
        }
    }
}

TEST_F(Track, TakesEveryInput)
{
    play("sounds");
}

TEST_F(Track, KeepsOnlyWhatIsWhole)
{
    const std::tuple<int, std::string, std::string, std::string> cases[] = {
        {130, signal_when("ls o.*.part", "INT"), "whole.ogg --realtime --histogram h",
         "s; o was not written; h was not written\nwhole.ogg: "},
        {130, "ln -s /dev/null o; " + signal_when("ls p.*.part >/dev/null && rm o", "INT"),
         "whole.ogg --realtime --plot p", "s; p was not written\nwhole.ogg: "},
        {130, signal_after("head -c 1099776 /dev/zero", "TERM"), "track - --raw --start 100 <sound",
         "interrupted at 1"}, // 16 or 17 s
        // While it waits for the reader of a pipe, which takes no more.
        {130,
         "mkfifo o; (head -c 1 >first; while kill -0 $(cat pid); do sleep 0.02; done) <o "
         "2>/dev/null & " +
             signal_when("[ -s first ] && grep -q 'State:.S' /proc/$(cat pid)/status && rm o",
                         "INT"),
         "whole.ogg --raw-blocks -b 1 -f jsonl", ""},
        {0, signal_when("grep quiet o", "TERM"), "live -D null --realtime", ", 0 decided (0 %)"},
        {1, "", "two.wav no.wav silent.wav", "no.wav: no such file"},
        {1, "", "no.wav", "no.wav: no such file"},
        {1, "", "no.wav no.flac", "no.flac: no such file"},
        {1, "", "live -D nope", "nope: no such device"},
    };
    for (const auto &[status, before, arguments, message] : cases) {
        EXPECT_EQ(run(arguments + " -s 8.6 -o o", "out", before), status) << before << arguments;
        const std::string said = contents("err");
        EXPECT_NE(said.find(message), std::string::npos) << before << arguments << '\n' << said;
        EXPECT_EQ(fs::remove("o"), status != 130 && said.find(" decided (") != std::string::npos)
            << arguments;
    }
    for (const auto &file : fs::directory_iterator("."))
        EXPECT_NE(file.path().extension(), ".part") << file;
}

// The tool has /dev/null open for good when it is about to handle interrupts. The first one may
// come just before the pipe is opened.
TEST_F(Track, WaitsForTheOtherEndOfAPipeUntilAnInterrupt)
{
    const std::string interrupts =
        "mkfifo pipe; (n=0; while kill -0 $$ && [ $n -lt 5 ]; do sleep 0.02; n=$((n + 1)); "
        "ls -l /proc/$$/fd | grep -q ' [3-9] -> /dev/null' || n=0; done; "
        "while kill -INT $$; do sleep 0.02; done) >/dev/null 2>&1 & exec";
    for (const char *arguments :
         {"track pipe -s 8.6", "two.wav -s 8.6 -o pipe", "two.wav -s 8.6 --plot pipe",
          "simulate -a 3 -s 8.6 -o pipe", "simulate -a 3 -s 8.6 -i pipe -o x.wav"}) {
        EXPECT_EQ(run(arguments, "out", interrupts), 130) << arguments;
        EXPECT_EQ(contents("err") + contents("out"), "") << arguments;
        fs::remove("pipe");
        EXPECT_FALSE(fs::exists("x.wav"));
    }
}

// The interrupt comes after the first line, when the tool has one and a half blocks of sound; more
// than two blocks would follow.
TEST_F(Track, LiveFinishesTheBlockThatAnInterruptFallsInto)
{
    std::ofstream("alsa.conf") << "pcm.null { type null }\n"
                               << "pcm.mic { type file slave.pcm null file /dev/null format raw "
                               << "infile " << fs::absolute("sound") << " }\n";
    std::ofstream("feed") << "exec >sound; head -c 26000 two.raw\n"
                          << "until [ \"$(wc -l <out)\" -ge 2 ]; do\n"
                          << "    sleep 0.02; kill -0 $(cat pid) || exit; done\n"
                          << "kill -INT $(cat pid); cat two.raw\n";
    EXPECT_EQ(run("live -D mic -s 8.6 -d 2 --raw-blocks", "out",
                  "mkfifo sound; echo $$ >pid; sh feed 2>/dev/null & exec"),
              0);
    EXPECT_NE(contents("err").find("mic: 2 blocks, 2 decided"), std::string::npos)
        << contents("out") << contents("err");
}

} // namespace
