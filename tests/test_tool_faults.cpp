// SPDX-License-Identifier: MIT
// test_tool_faults.cpp - the tool where the system fails it: the right output or a clear error,
// nothing half-written.

#include <cerrno>

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
    static std::ptrdiff_t files() { return std::distance(fs::directory_iterator("."), {}); }
};

// Whichever read fails, the input is neither truncated nor whole.
TEST_F(Faults, AFailedReadIsNamedAndLeavesNoOutput)
{
    for (const std::string arguments :
         {"track x.wav -s 8.6 -b 1 -f csv", "track s.wav -s 8.6 -b 1 -f csv",
          "x.flac -s 8.6 -b 1 -f csv", "x.ogg -s 8.6 -b 1 -f csv",
          "track x.raw --raw -s 8.6 -b 1 -f csv", "track - -s 8.6 -b 1 -f csv <x.wav",
          "track x.wav s.wav -s 8.6 -b 1 -f csv", "simulate --no-truth -i x.wav -a 0 -s 5",
          "simulate --no-truth -i s.wav -a 0 -s 5"}) {
        ASSERT_EQ(run(arguments + " -o o"), 0) << contents("err");
        const std::string expected = contents("o");
        fs::remove("o");
        const auto before = files();
        int failed = 0;
        for (int n = 1; n <= 16; n++) {
            const int status = run_with("read", n, EIO, arguments + " -o o");
            const bool is_named = contents("err").find("Input/output error") != std::string::npos;
            EXPECT_EQ(status, is_named) << arguments << ", read " << n << ": " << contents("err");
            EXPECT_TRUE(contents("o") == (is_named ? "" : expected)) << arguments << ", read " << n;
            fs::remove("o");
            EXPECT_EQ(files(), before) << arguments << ", read " << n;
            failed += is_named;
        }
        EXPECT_GT(failed, 3) << arguments;
    }
}

} // namespace
