// SPDX-License-Identifier: MIT
// tool_fixture.h - runs the command-line tool like a user; EZOSSL_TOOL is its path.

#ifndef EZOSSL_TOOL_FIXTURE_H
#define EZOSSL_TOOL_FIXTURE_H

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sndfile.hh>
#include <unistd.h>

namespace fs = std::filesystem;
using Samples = std::vector<float>;

inline std::string contents(const char *path)
{
    std::ifstream stream(path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void write_audio(const char *path, int rate, int channels, const Samples &samples,
                        int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT)
{
    SndfileHandle file(path, SFM_WRITE, format, channels, rate);
    const auto count = static_cast<sf_count_t>(samples.size());
    ASSERT_EQ(file.write(samples.data(), count), count) << path;
}

inline Samples read_audio(const char *path)
{
    SndfileHandle file(path);
    Samples samples(static_cast<size_t>(file.frames() * file.channels()));
    file.read(samples.data(), static_cast<sf_count_t>(samples.size()));
    return samples;
}

// A prefix for a command of the tool, which sends it the signal as soon as the shell finds the
// condition true. No test relies on a time after which the tool "should have" started.
inline std::string signal_when(const std::string &condition, const std::string &signal)
{
    return "echo $$ >pid; (until " + condition +
           " >/dev/null; do sleep 0.02; kill -0 $(cat pid) || exit; done; kill -" + signal +
           " $(cat pid)) 2>/dev/null & exec";
}

// The same, with a pipe `sound` that carries the output of `feed`. The signal comes when the tool
// has read all of it but the last 64 KiB.
inline std::string signal_after(const std::string &feed, const std::string &signal)
{
    return "rm -f sound; mkfifo sound; echo $$ >pid; (" + feed + "; kill -" + signal +
           " $(cat pid)) >sound 2>/dev/null & exec";
}

// Every test has its own directory; the tool's output is in the files out and err.
struct Tool : ::testing::Test {
    const fs::path previous = fs::current_path();
    const fs::path directory =
        fs::path(::testing::TempDir()) / ("ezossl_" + std::to_string(getpid()));

    Tool()
    {
        setenv("TERM", "xterm", 1);
        std::signal(SIGHUP, SIG_DFL); // under nohup it is ignored, and the tool would inherit that
        fs::create_directories(directory);
        fs::current_path(directory);
    }
    ~Tool() override
    {
        fs::current_path(previous);
        fs::remove_all(directory);
    }
    static int run(const std::string &arguments, const std::string &out = "out",
                   const std::string &before = "")
    {
        const std::string command =
            before + " '" EZOSSL_TOOL "' " + arguments + " >" + out + " 2>err";
        return WEXITSTATUS(std::system(command.c_str()));
    }
    static std::ptrdiff_t count_files() { return std::distance(fs::directory_iterator("."), {}); }

    // Runs the lines of transcripts/tool/NAME.txt that begin with "$ ". Each must print the lines
    // that follow it and begin with "| ". "[N]" is an exit status other than 0. With
    // EZOSSL_RECORD=1 the file is written anew; read the difference before you commit it.
    static void play(const std::string &name)
    {
        const std::string path = EZOSSL_TRANSCRIPTS "/tool/" + name + ".txt";
        std::ifstream lines(path);
        std::string seen;
        int commands = 0;
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind('|', 0) == 0 || line.rfind('[', 0) == 0)
                continue;
            seen += line + '\n';
            if (line.rfind("$ ", 0) != 0)
                continue;
            seen += output_of(line.substr(2));
            ++commands;
        }
        EXPECT_GT(commands, 0) << path;
        std::ofstream("seen") << seen;
        EXPECT_EQ(std::system(("diff -u '" + path + "' seen").c_str()), 0);
        if (std::getenv("EZOSSL_RECORD") != nullptr)
            std::ofstream(path) << seen;
        fs::remove("seen");
    }

private:
    static std::string output_of(const std::string &command)
    {
        std::ofstream("script") << ". '" EZOSSL_TRANSCRIPTS "/tool/commands.sh'\n"
                                << command << '\n';
        const int status = std::system("TOOL='" EZOSSL_TOOL "' FAULTY_DEVICE='" EZOSSL_FAULTY_DEVICE
                                       "' sh script >seen 2>&1");
        std::istringstream seen(contents("seen"));
        std::string text;
        for (std::string line; std::getline(seen, line);)
            text += line.empty() ? "|\n" : "| " + line + '\n';
        fs::remove("script");
        fs::remove("seen");
        return status == 0 ? text : text + '[' + std::to_string(WEXITSTATUS(status)) + "]\n";
    }
};

#endif
