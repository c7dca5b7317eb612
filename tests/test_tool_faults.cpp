// SPDX-License-Identifier: MIT
// test_tool_faults.cpp - the tool when calls of the system fail: the right output or a clear error,
// and nothing half-written.

#include <cerrno>

#include "input/audio_file.h"
#include "output/sound_writer.h"
#include "tool_fixture.h"

namespace {

struct Faults : Tool {
    Faults()
    {
        Samples noise(2 * 2100); // in more than one piece
        uint32_t state = 1;
        for (float &sample : noise)
            sample = (state = state * 1664525u + 1013904223u) >> 31 != 0 ? 0.25f : -0.25f;
        constexpr int kPcm16 = SF_FORMAT_PCM_16;
        write_audio("x.wav", 16000, 2, noise, SF_FORMAT_WAV | kPcm16);
        write_audio("x.flac", 16000, 2, noise, SF_FORMAT_FLAC | kPcm16);
        write_audio("x.ogg", 16000, 2, noise, SF_FORMAT_OGG | SF_FORMAT_VORBIS);
        write_audio("x.raw", 16000, 2, noise, SF_FORMAT_RAW | kPcm16);
        write_audio("ima.aiff", 16000, 2, noise, SF_FORMAT_AIFF | SF_FORMAT_IMA_ADPCM);
        write_audio("gsm.w64", 16000, 1, noise, SF_FORMAT_W64 | SF_FORMAT_GSM610);
        write_audio("g721.au", 16000, 1, noise, SF_FORMAT_AU | SF_FORMAT_G721_32);
        const std::string wav = contents("x.wav");
        std::ofstream("s.wav") << wav.substr(0, 40) << std::string(4, '\0') << wav.substr(44);
    }

    // The n-th call fails.
    static int run_with(const std::string &call, int n, int error, const std::string &arguments)
    {
        return run(arguments, "out",
                   "ASAN_OPTIONS=verify_asan_link_order=0 FAIL_CALL=" + call +
                       " FAIL_AT=" + std::to_string(n) + " FAIL_ERRNO=" + std::to_string(error) +
                       " LD_PRELOAD='" EZOSSL_FAULTY_SYSTEM "'");
    }
};

// Whichever read fails, the input is neither truncated nor whole.
TEST_F(Faults, AFailedReadIsNamedAndLeavesNoOutput)
{
    for (const std::string arguments :
         {"track x.wav -s 8.6 -b 1 -f csv", "track s.wav -s 8.6 -b 1 -f csv",
          "x.flac -s 8.6 -b 1 -f csv", "x.ogg -s 8.6 -b 1 -f csv",
          "track x.raw --raw -s 8.6 -b 1 -f csv", "track - s.wav -s 8.6 -b 1 -f csv <x.wav",
          "track ima.aiff -s 8.6 -b 1 -f csv", "simulate --no-truth -i x.wav -a 0 -s 5",
          "simulate --no-truth -i s.wav -a 0 -s 5", "simulate --no-truth -i gsm.w64 -a 0 -s 5",
          "simulate --no-truth -i g721.au -a 0 -s 5"}) {
        ASSERT_EQ(run(arguments + " -o o"), 0) << contents("err");
        const std::string expected = contents("o");
        fs::remove("o");
        const auto before = count_files();
        int failed = 0;
        for (int n = 1; n <= 24; ++n) {
            const int status = run_with("read", n, EIO, arguments + " -o o");
            const bool is_named = contents("err").find("Input/output error") != std::string::npos;
            EXPECT_EQ(status, is_named) << arguments << ", read " << n << ": " << contents("err");
            EXPECT_TRUE(contents("o") == (is_named ? "" : expected)) << arguments << ", read " << n;
            fs::remove("o");
            EXPECT_EQ(count_files(), before) << arguments << ", read " << n;
            failed += is_named;
        }
        EXPECT_GT(failed, 3) << arguments;
    }
}

TEST_F(Faults, OutputsReplaceWhatTheyAreNamedForAndNothingElse)
{
    play("outputs");
    for (const auto &file : fs::directory_iterator("."))
        EXPECT_NE(file.path().extension(), ".part") << file;
    EXPECT_EQ(run_with("fsync", 1, EIO, "track x.wav -s 8.6 -b 1 -q -o kept"), 1);
    EXPECT_NE(contents("err").find("ezossl: kept: cannot be written: Input/output error\n"),
              std::string::npos)
        << contents("err");
    EXPECT_EQ(contents("kept"), contents("expected"));
    EXPECT_EQ(run_with("fsync", 1, EINVAL, "track x.wav -s 8.6 -b 1 -q -o kept"), 0);
    // A file that gets another owner would otherwise run with that owner's rights.
    fs::permissions("kept", fs::perms{06750});
    EXPECT_EQ(run_with("fchown", 1, EPERM, "track x.wav -s 8.6 -b 1 -q -o kept"), 0);
    EXPECT_EQ(fs::status("kept").permissions(), fs::perms{02750});
}

// Of two outputs the second cannot get its name.
TEST_F(Faults, OutputsAppearTogether)
{
    run("--help"); // for its files
    const auto before = count_files();
    EXPECT_EQ(run_with("rename", 1, EIO, "simulate -a 0 -d 1 -s 5 -o o.wav"), 1);
    EXPECT_EQ(count_files(), before);
    std::ofstream("o.wav") << "old";
    EXPECT_EQ(run_with("rename", 1, EIO, "simulate -a 0 -d 1 -s 5 -o o.wav"), 1);
    EXPECT_NE(contents("err").find("ezossl: o.truth.csv: cannot be written: Input/output error\n"),
              std::string::npos)
        << contents("err");
    EXPECT_EQ(contents("o.wav"), "old");
    EXPECT_EQ(count_files(), before + 1);
    EXPECT_EQ(run_with("rename", 0, EIO, "simulate -a 0 -d 1 -s 5 -o o.wav"), 0);
    EXPECT_EQ(contents("o.wav").substr(0, 4), "RIFF");
    EXPECT_EQ(count_files(), before + 2);
    EXPECT_EQ(run_with("fsync", 1, EIO, "simulate -a 0 -d 1 -s 5 -o - --truth t.csv"), 1);
    EXPECT_EQ(contents("out"), "");
    EXPECT_EQ(count_files(), before + 2);
}

// Interrupted in the middle of a scene, or before its files appear.
TEST_F(Faults, InterruptedScenesLeaveTheOldFiles)
{
    run("--help <sound", "out", signal_after("true", "0")); // for its files
    std::ofstream("o.wav") << "old";
    std::ofstream("o.truth.csv") << "old";
    const auto before = count_files();
    for (const char *signal : {"INT", "TERM", "HUP"}) {
        EXPECT_EQ(run("simulate -a -60,-30,0,30,60 -d 60 -s 5 --room 9x9x9 --rt60 1 -o o.wav "
                      "-i sound",
                      "out", signal_after("cat s.wav /dev/zero | head -c 200000", signal)),
                  130);
        EXPECT_EQ(contents("o.wav") + contents("o.truth.csv"), "oldold") << signal;
        EXPECT_EQ(count_files(), before) << signal;
    }
}

// The number of samples per channel that a file has, and the first and the last of them.
std::string ends_of(const std::string &path)
{
    SndfileHandle file(path);
    int16_t first[2] = {}, last[2] = {};
    file.readf(first, 1);
    file.seek(-1, SEEK_END);
    file.readf(last, 1);
    return std::to_string(file.frames()) + ": " + std::to_string(first[0]) + ' ' +
           std::to_string(last[1]);
}

// Writing an hour takes too long, so the file grows by a hole.
TEST_F(Faults, RecordingsOfAnyLengthCanBeReadWheneverTheyEnd)
{
    const auto open_files = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = open_files();
    {
        const SoundWriter unfinished("unfinished.wav", 16000, 2, SoundWriter::Length::open);
    }
    EXPECT_EQ(open_files(), before);
    std::vector<int16_t> second(2 * 16000, 7);
    second[0] = 5;
    SoundWriter recording("r.wav", 16000, 2, SoundWriter::Length::open);
    std::string part;
    for (const auto &file : fs::directory_iterator("."))
        part = file.path().extension() == ".part" ? file.path().string() : part;
    for (int i = 0; i < 150; ++i)
        recording.write(second.data(), 160); // as a device delivers them
    EXPECT_EQ(ends_of(part), "16000: 5 7");  // so it would be if the program were killed now
    EXPECT_EQ(contents(part.c_str()).substr(0, 4), "RIFF");
    const uint64_t bytes = 112 + 4 * (uint64_t{5} << 28);
    fs::resize_file(part, bytes);
    recording.write(second.data(), 16000);
    EXPECT_EQ(ends_of(part), "1342177280: 5 0");
    recording.finish();
    EXPECT_EQ(ends_of("r.wav"), "1342177280: 5 0");
    EXPECT_EQ(AudioReader("r.wav").length(), int64_t{5} << 28);

    SoundWriter flac("r.flac", 16000, 2, SoundWriter::Length::open);
    flac.write(second.data(), 16000);
    flac.finish();
    EXPECT_EQ(ends_of("r.flac"), "16000: 5 7");
    EXPECT_EQ(contents("r.flac").substr(0, 4), "fLaC");
}

} // namespace
