// SPDX-License-Identifier: MIT
// test_tool_parallel.cpp - track with several files at a time: the same results as one by one, and
// what is left of them if a process or the user ends it.

#include <csignal>

#include <sys/stat.h>

#include "output/spool.h"
#include "tool_fixture.h"

namespace {

const std::string kFaulty =
    "ASAN_OPTIONS=verify_asan_link_order=0 LD_PRELOAD='" EZOSSL_FAULTY_SYSTEM "' ";

struct Parallel : Tool {
    const std::vector<std::string> files = {"no.wav",   "long.wav", "b.wav", "short.wav",
                                            "mono.wav", "cut.flac", "a.wav"};

    Parallel()
    {
        write("long.wav", 2, 10); // the others end before it
        write("b.wav", 2, 3);
        write("short.wav", 2, 0.1);
        write("mono.wav", 1, 1);
        write("whole.flac", 2, 2, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
        write("a.wav", 2, 2);
        const std::string flac = contents("whole.flac");
        std::ofstream("cut.flac") << flac.substr(0, flac.size() / 2);
        EXPECT_EQ(mkfifo("hang", 0600), 0); // nobody writes to it
    }

    static void write(const char *path, unsigned channels, double seconds,
                      int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16)
    {
        Samples samples;
        uint32_t state = 1;
        for (int i = 0; i < 16000 * seconds; ++i) {
            state = state * 1664525u + 1013904223u;
            samples.insert(samples.end(), channels, state >> 31 != 0 ? 0.25f : -0.25f);
        }
        write_audio(path, 16000, static_cast<int>(channels), samples, format);
    }

    // Sends the signal once the first file is done and another one has a process: to the tool, or
    // to that process, whose id is then in the file `worker`.
    static int run_and_kill(const std::string &who, int signal, const std::string &arguments)
    {
        std::ofstream("killer") << "tool=$1; until [ -s err ]; do sleep 0.02; done\n"
                                << "while set -- $(cat /proc/$tool/task/$tool/children); [ $# -lt "
                                   "2 ]; do\n" // $1 is this
                                << "sleep 0.02; done; worker=$2; echo $worker >worker\n"
                                << "kill -" << signal << " $" << who << '\n';
        fs::remove("err");
        return run(arguments, "out",
                   "{ timeout 30 sh killer $$ || kill -KILL $$; } >/dev/null 2>&1 & exec");
    }
    static bool is_alive(pid_t process)
    {
        std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
        std::string id, name, state; // Z is dead, and nobody waited for it
        return (stat >> id >> name >> state) && state != "Z";
    }
};

// One by one is a run for each file, which has no other process.
TEST_F(Parallel, EveryNumberOfJobsGivesWhatOneByOneGives)
{
    for (const std::string &form :
         {std::string("table"), std::string("csv --on-change 180"), std::string("jsonl -v")}) {
        const std::string options = " -s 5.8 -f " + form;
        std::string names, results, messages;
        int status = 0;
        for (const std::string &file : files) {
            names += file + ' ';
            const int now = run(file + options);
            status = std::max(status, now);
            messages += contents("err");
            const std::string said = contents("out");
            if (now != 0)
                continue;
            if (form == "table")
                results.append(file).append("\n").append(said);
            else
                results += results.empty() || form != "csv --on-change 180"
                               ? said
                               : said.substr(said.find('\n') + 1);
        }
        for (const std::string jobs : {" -j 1", " -j 2 -o o", " -j 7", ""}) {
            fs::remove("o");
            EXPECT_EQ(run(std::string(names).append(options).append(jobs)), status);
            EXPECT_EQ(contents(jobs == " -j 2 -o o" ? "o" : "out"), results) << form << jobs;
            EXPECT_EQ(contents("err"), messages) << form << jobs;
        }
        EXPECT_GT(results.size(), 250u);
    }
}

TEST_F(Parallel, AFileThatFailsInTheMiddleCostsItselfOnly)
{
    const std::string options = " b.wav -j 1 -s 5.8 -f csv -r 16000 -b 1";
    run("a.wav" + options);
    const std::string others = contents("out");
    EXPECT_EQ(run_and_kill("worker", SIGKILL, "a.wav hang" + options), 1);
    EXPECT_EQ(contents("out"), others);
    EXPECT_NE(contents("err").find("\nezossl: hang: its process was ended by signal 9"),
              std::string::npos)
        << contents("err");
    // The long one is read in more pieces than the others. With -r nothing is read twice, and with
    // -b 1 the lines before the failure are more than a buffer.
    int piece = 8;
    while (piece < 4000 &&
           (run("a.wav long.wav" + options, "out",
                kFaulty + "FAIL_CALL=read FAIL_ERRNO=5 FAIL_AT=" + std::to_string(piece)) != 1 ||
            contents("out") != others))
        piece += piece / 4;
    EXPECT_NE(contents("err").find("\nezossl: long.wav: cannot be read"), std::string::npos)
        << contents("err");
}

TEST_F(Parallel, AnInterruptEndsEveryProcessAndLeavesNothing)
{
    for (const int signal : {SIGINT, SIGTERM, SIGKILL}) {
        const int status =
            run_and_kill("tool", signal, "a.wav hang hang long.wav -j 2 -s 5.8 -f csv -o o");
        const std::string said = contents("err");
        if (signal != SIGKILL) {
            EXPECT_EQ(status, 130);
            EXPECT_NE(said.find("ezossl: interrupted with 1 of 4 files done; the output was not "
                                "written"),
                      std::string::npos)
                << said;
            for (const auto &file : fs::directory_iterator("."))
                EXPECT_NE(file.path().extension(), ".part") << file;
            EXPECT_FALSE(fs::exists("o"));
        }
        pid_t worker = 0;
        std::ifstream("worker") >> worker;
        ASSERT_GT(worker, 1);
        for (int i = 0; i < 500 && is_alive(worker); ++i)
            usleep(10000);
        EXPECT_FALSE(is_alive(worker)) << signal;
    }
}

TEST_F(Parallel, ShowsFilesDoneAndTimeLeftOnATerminalOnly)
{
    std::ofstream("command") << "'" EZOSSL_TOOL "' no.wav hang b.wav -j 2 -s 5.8 -o o";
    const std::string feed = "{ timeout 30 sh -c 'until grep -q 2.of.3 seen; do sleep 0.02; done'; "
                             "cat a.wav >hang; } & ";
    EXPECT_EQ(std::system((feed + "script -qec 'sh command' /dev/null >seen").c_str()), 256);
    const std::string seen = contents("seen");
    const std::string counted = "\r\x1b[K\x1b[?7l2 of 3 files, ";
    const size_t seconds = seen.find(counted) + counted.size();
    ASSERT_GE(seconds, counted.size()) << seen;
    const size_t unit = seen.find_first_not_of("0123456789", seconds);
    EXPECT_GT(unit, seconds) << seen;
    EXPECT_EQ(seen.find(" s left\x1b", seconds), unit) << seen;
    EXPECT_EQ(contents("o").find("hang\n"), 0u);
}

TEST_F(Parallel, SaysWhatTheSystemLacks)
{
    const std::tuple<std::string, std::string> refusals[] = {
        {"TMPDIR=/nowhere", "cannot make a temporary file in /nowhere; set TMPDIR"},
        {"FAIL_CALL=fork FAIL_AT=1 FAIL_ERRNO=11", "cannot start a process: "}};
    for (const auto &[environment, message] : refusals) {
        EXPECT_EQ(run("a.wav b.wav -s 5.8 -j 2", "out", kFaulty + environment), 1);
        EXPECT_NE(contents("err").find(message), std::string::npos) << contents("err");
    }
    // The second process starts with the resources that the first one has freed.
    EXPECT_EQ(
        run("a.wav b.wav -s 5.8 -j 2", "out", kFaulty + "FAIL_CALL=fork FAIL_AT=2 FAIL_ERRNO=11"),
        0);
    EXPECT_NE(contents("err").find("b.wav: 11 blocks"), std::string::npos) << contents("err");
    setenv("TMPDIR", "", 1);
    const Spool spool;
    EXPECT_EQ(fs::read_symlink("/proc/self/fd/" + std::to_string(spool.descriptor())).parent_path(),
              "/var/tmp");
    const std::string line = std::string(99999, 'x') + '\n'; // longer than a piece
    const std::string rest = line + line + "x\n";
    std::ofstream("/proc/self/fd/" + std::to_string(spool.descriptor())) << line << rest;
    std::string taken;
    EXPECT_TRUE(
        spool.read(true, [&](const char *bytes, size_t count) { taken.append(bytes, count); }));
    EXPECT_EQ(taken, rest);
}

} // namespace
