// SPDX-License-Identifier: MIT
// test_messages.cpp - level files and paths that transcripts cannot write.

#include "support.h"

#include "debug_msglevel.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

TEST(Messages, AnyContentsAreReadOrLeftAlone)
{
    const struct {
        const char *what;
        std::string contents;
        int32_t level;
    } rows[] = {
        {"zero bytes", std::string("{\0\"debug_level\":3}", 18), 7},
        {"empty", "", 7},
        {"a megabyte", std::string((1 << 20) - 17, ' ') + R"({"debug_level":3})", 3},
        {"a byte more", std::string((1 << 20) - 16, ' ') + R"({"debug_level":3})", 7},
        {"some megabytes", std::string(5 << 20, ' ') + R"({"debug_level":3})", 7},
        {"nested beyond measure", std::string(1 << 19, '['), 7},
    };
    for (const auto &row : rows) {
        const Environment path("DML_PATH", write_file("rows.json", row.contents));
        EXPECT_EQ(read_message_level(), row.level) << row.what;
    }
}

TEST(Messages, ThePathMayNameAnything)
{
    const std::string file = write_file("level3.json", R"({"debug_level":3})");
    const std::string directory = file.substr(0, file.rfind('/'));
    const std::string pipe = directory + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const auto padded = [&](size_t length) { // the same file by a path of this length
        return directory + std::string(length - directory.size() - 11, '/') + "level3.json";
    };
    const struct {
        std::optional<std::string> path;
        int32_t level;
    } rows[] = {{file, 3},
                {directory, 7},
                {pipe, 7},
                {"/dev/zero", 7},
                {"", 7},
                {"/proc/self/mem", 7},
                {"/no/such/file", 7},
                {padded(127), 3},
                {padded(128), 7},
                {std::string(5000, 'x'), 7},
                {std::nullopt, 7}}; // /config/audioAlgo.json, which no test machine has
    for (const auto &row : rows) {
        const Environment path("DML_PATH", row.path);
        EXPECT_EQ(read_message_level(), row.level) << row.path.value_or("(unset)");
    }
    // A file whose name is the beginning of a path that is too long is not read instead.
    const Environment path("DML_PATH", padded(127) + "x");
    EXPECT_EQ(read_message_level(), 7);
}

} // namespace
