// SPDX-License-Identifier: MIT
// test_tool_faults.cpp - the tool when calls of the system fail: the right output or a clear error,
// and nothing half-written.

#include <cerrno>

#include <sys/stat.h>

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
          "track x.raw --raw -s 8.6 -b 1 -f csv", "track - -s 8.6 -b 1 -f csv <x.wav",
          "simulate --no-truth -i x.wav -a 0 -s 5", "simulate --no-truth -i s.wav -a 0 -s 5"}) {
        ASSERT_EQ(run(arguments + " -o o"), 0) << contents("err");
        const std::string expected = contents("o");
        fs::remove("o");
        const auto before = count_files();
        int failed = 0;
        for (int n = 1; n <= 16; ++n) {
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

std::string mode_of(const char *path)
{
    struct stat status = {};
    stat(path, &status);
    return std::to_string(status.st_mode & 07777) + ' ' + std::to_string(status.st_uid);
}

TEST_F(Faults, OutputsReplaceWhatTheyAreNamedForAndNothingElse)
{
    const std::string track = "track x.wav -s 8.6 -b 1 -f csv ";
    ASSERT_EQ(run(track + "-o expected"), 0);
    const std::string expected = contents("expected");

    std::ofstream("kept") << "old";
    chmod("kept", 0640);
    const bool is_root = chown("kept", 4711, static_cast<gid_t>(-1)) == 0;
    const std::string mode = mode_of("kept");
    EXPECT_EQ(run(track + "-o kept"), 0);
    EXPECT_EQ(contents("kept"), expected);
    EXPECT_EQ(mode_of("kept"), mode);
    EXPECT_EQ(mode, is_root ? "416 4711" : mode);
    EXPECT_EQ(run(track + "-o new", "out", "umask 027;"), 0);
    EXPECT_EQ(mode_of("new").substr(0, 3), "416"); // 0640

    std::ofstream("protected") << "old";
    chmod("protected", 0444);
    EXPECT_EQ(run(track + "-o protected"), 1);
    EXPECT_NE(contents("err").find("protected: is write-protected"), std::string::npos);
    EXPECT_EQ(contents("protected"), "old");

    fs::create_directory("folder");
    fs::create_symlink("second", "dangling");
    fs::create_symlink("folder/there", "second");
    EXPECT_EQ(run(track + "-o dangling"), 0);
    EXPECT_EQ(contents("folder/there"), expected);
    EXPECT_TRUE(fs::is_symlink("dangling") && fs::is_symlink("second"));

    const std::string longest(255, 'n');
    EXPECT_EQ(run(track + "-o " + longest), 0) << contents("err");
    EXPECT_EQ(contents(longest.c_str()), expected);

    EXPECT_EQ(run_with("fsync", 1, EIO, track + "-o kept"), 1);
    EXPECT_NE(contents("err").find("kept: cannot be written: Input/output"), std::string::npos);
    EXPECT_EQ(contents("kept"), expected);

    std::ofstream("one.svg") << "old";
    fs::create_hard_link("one.svg", "other.svg");
    fs::create_symlink(".", "here");
    for (const char *names : {"-o p.svg --plot ./p.svg", "-o p.svg --histogram here/p.svg",
                              "--plot one.svg --histogram other.svg"}) {
        EXPECT_EQ(run(track + names), 2) << names;
        EXPECT_NE(contents("err").find("svg: is named for two outputs"), std::string::npos);
    }
    EXPECT_EQ(contents("one.svg"), "old");
    for (const auto &file : fs::directory_iterator("."))
        EXPECT_NE(file.path().extension(), ".part") << file;
}

// A scene can go into a pipe as into a file; for a pipe there is no file of the true angles.
TEST_F(Faults, ScenesGoWhereTheyAreSent)
{
    ASSERT_EQ(run("simulate -a 30 -s 5.8 -d 1 --truth t.csv -o scene.wav"), 0);
    const std::string scene = contents("scene.wav"), truth = contents("t.csv");
    ASSERT_GT(scene.size(), 64000u);
    const auto before = count_files();
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"-", "", ""},
        {"/dev/stdout", "", ""},
        {"fifo", "; wait; rm fifo; mv got out", "mkfifo fifo; timeout 5 cat fifo >got &"},
    };
    for (const auto &[name, behind, start] : cases) {
        for (const char *option : {"--truth t.csv -o ", "-o "}) {
            fs::remove("t.csv");
            EXPECT_EQ(run("simulate -a 30 -s 5.8 -d 1 " + (option + (name + std::string(behind))),
                          "out", start),
                      0);
            EXPECT_TRUE(contents("out") == scene) << name << contents("err");
            EXPECT_EQ(contents("t.csv"), option[0] == '-' && option[1] == '-' ? truth : "");
        }
        EXPECT_EQ(count_files(), before - 1) << name;
    }
    EXPECT_FALSE(fs::exists("/dev/stdout.truth.csv"));
    run("simulate -a 30 -s 5.8 -d 1 -o - | '" EZOSSL_TOOL "' - -s 5.8 -f csv");
    EXPECT_NE(contents("out").find(",31,ok,"), std::string::npos) << contents("out");

    // A folder that may not be entered or written to. Root may do so unless it drops its
    // capabilities.
    const std::string ordinary = geteuid() == 0 ? "setpriv --bounding-set=-all" : "";
    for (const mode_t mode : {0000, 0555}) {
        fs::create_directory("locked");
        chmod("locked", mode);
        EXPECT_EQ(run("simulate -a 30 -s 5.8 -d 1 -o locked/x.wav", "out", ordinary), 1);
        EXPECT_EQ(contents("err"), "ezossl: locked/x.wav: cannot be written: Permission denied\n");
        fs::remove("locked");
    }
}

// `live -o` writes into its file at once, so nothing may be refused after that.
TEST_F(Faults, LiveRefusesBeforeItReplacesAFile)
{
    std::ofstream("alsa.conf") << "pcm.x { type null }\n";
    setenv("ALSA_CONFIG_PATH", fs::absolute("alsa.conf").c_str(), 1);
    for (const char *other : {"--record", "--plot", "--histogram"}) {
        std::ofstream("old.svg") << "old";
        EXPECT_EQ(run(std::string("live -D x -s 5 -d 1 -o old.svg ") + other + " ./old.svg"), 2);
        EXPECT_NE(contents("err").find("old.svg: is named for two outputs"), std::string::npos);
        EXPECT_EQ(contents("old.svg"), "old") << other;
    }
    EXPECT_EQ(run("live -D x -s 5 -d 1 --record /dev/null"), 2);
    EXPECT_NE(contents("err").find("/dev/null: is a pipe or a device"), std::string::npos);
}

// Results go to the output, messages nowhere.
TEST_F(Faults, ClosedDescriptorsAreNotThoseOfFiles)
{
    const std::string track = "track x.wav -v -s 8.6 -b 1 -f csv -o o";
    ASSERT_EQ(run(track), 0);
    const std::string expected = contents("o");
    for (const char *closed : {"0<&-", "1>&-", "2>&-", "1>&- 2>&-", "0<&- 1>&- 2>&-"}) {
        const std::string command = "'" EZOSSL_TOOL "' " + track + " 2>err >out " + closed;
        EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 0) << closed;
        EXPECT_TRUE(contents("o") == expected) << closed;
    }
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
