// SPDX-License-Identifier: MIT
// test_platform.cpp - the library's access to files of the system.

#include "KivFs.h"
#include "debug_msglevel.h"
#include "support.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

int lowest_free_descriptor()
{
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

// A child writes in two pieces, with a signal between them that interrupts the reader.
TEST(Platform, ReadsToTheEndWhateverComesBetween)
{
    struct sigaction action = {}, before = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        close(ends[0]);
        bool is_done = write(ends[1], "abc", 3) == 3;
        for (int i = 0; i < 20; ++i) { // the first ones may come before the reader waits
            usleep(5000);
            kill(getppid(), SIGUSR1);
        }
        is_done = write(ends[1], "defgh", 5) == 5 && is_done;
        _exit(is_done ? 0 : 1);
    }
    close(ends[1]);
    alarm(20);
    char text[16] = "...............";
    EXPECT_EQ(KivFsRead(ends[0], text, 4), 4u);
    EXPECT_STREQ(text, "abcd...........");
    EXPECT_EQ(KivFsRead(ends[0], text, sizeof text), 4u); // and then the end
    EXPECT_STREQ(text, "efgh...........");
    errno = EINTR;
    EXPECT_EQ(KivFsRead(ends[0], text, 1), 0u);
    errno = EINTR;
    EXPECT_EQ(KivFsRead(-1, text, 1), 0u);
    alarm(0);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    KivFsClose(ends[0]);
    EXPECT_EQ(fcntl(ends[0], F_GETFD), -1);
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(Platform, OpensForReadingOnlyAndLeavesNothingOpen)
{
    const std::string path = write_file("seek", "0123456789");
    EXPECT_LT(KivFsOpen(path.c_str(), kKivFsRead + 1, 0), 0);
    const int lowest = lowest_free_descriptor();
    const KivFile file = KivFsOpen(path.c_str(), kKivFsRead, 0);
    ASSERT_GE(file, 0);
    EXPECT_EQ(KivFsSeek(file, 0, kKivFsEnd), 10);
    EXPECT_EQ(KivFsSeek(file, -4, kKivFsCurrent), 6);
    EXPECT_EQ(KivFsSeek(file, 2, kKivFsStart), 2);
    EXPECT_NE(fcntl(file, F_GETFD) & FD_CLOEXEC, 0);
    KivFsClose(file);
    for (const char *contents : {R"({"debug_level":3})", "", "{"}) {
        const Environment level("DML_PATH", write_file("level.json", contents));
        read_message_level();
        EXPECT_EQ(lowest_free_descriptor(), lowest) << contents;
    }
}

} // namespace
