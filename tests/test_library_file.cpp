// SPDX-License-Identifier: MIT
// test_library_file.cpp - the library as a file: what it exports and needs, and that its results do
// not depend on machine, compiler and optimisation.

#include "support.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <unistd.h>

namespace {

std::string output_of(const std::string &command)
{
    std::string text;
    FILE *const pipe = popen(command.c_str(), "r");
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe))
        text += static_cast<char>(c);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

std::set<std::string> lines_of(const std::string &command)
{
    std::istringstream text(output_of(command));
    std::set<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.insert(line);
    return lines;
}

TEST(LibraryFile, ExportsTheInterfaceAndNothingElse)
{
    std::set<std::string> expected = {"EZOSSL_1"};
    for (const std::string name :
         {"EzoSsl_ApplyDigitalGain", "EzoSsl_Cal_Params", "EzoSsl_Config", "EzoSsl_Free",
          "EzoSsl_GetAPIVersion", "EzoSsl_GetBufferSize", "EzoSsl_Get_Config",
          "EzoSsl_Get_Direction", "EzoSsl_Init", "EzoSsl_Reset", "EzoSsl_Reset_Mapping",
          "EzoSsl_Run", "EzoSsl_SetCallbackFunction", "EzoSsl_SetMode", "EzoSsl_Set_ArbitraryShape",
          "EzoSsl_Set_Shape", "ssl_setting"})
        expected.insert(name + "@@EZOSSL_1");
    EXPECT_EQ(lines_of("nm -D --defined-only '" EZOSSL_LIBRARY "' | awk '{print $3}'"), expected);
}

TEST(LibraryFile, HasOneVersion)
{
    const std::string version =
        std::to_string(EZOSSL_VERSION_MAJOR) + "." + std::to_string(EZOSSL_VERSION_MINOR);
    EXPECT_EQ(version, EZOSSL_PROJECT_VERSION);
    uint16_t major = 0, minor = 0;
    const std::string printed = printed_by([&] { EzoSsl_GetAPIVersion(&major, &minor); });
    EXPECT_EQ(std::to_string(major) + "." + std::to_string(minor), version);
    EXPECT_NE(printed.find("SSL_API_VERSION: " + version + "\n"), std::string::npos) << printed;
    EXPECT_NE(output_of("readelf -d '" EZOSSL_LIBRARY "'")
                  .find("[libezossl.so." + std::to_string(EZOSSL_VERSION_MAJOR) + "]"),
              std::string::npos);
}

TEST(LibraryFile, NeedsTheseLibrariesOnly)
{
    std::set<std::string> expected = {"libc", "libcjson", "libm", EZOSSL_FFT_NEEDED};
    expected.erase(""); // the built-in FFT needs none
    EXPECT_EQ(lines_of("readelf -d '" EZOSSL_LIBRARY
                       "' | sed -n 's/.*NEEDED.*\\[\\(.*\\)\\.so.*\\]/\\1/p' | grep -v "
                       "'lib[au].*san\\|^ld-linux'"),
              expected);
}

TEST(LibraryFile, HeedsNoEnvironmentOfACallerWithFewerRights)
{
    if (!std::string(EZOSSL_EMULATOR).empty())
        GTEST_SKIP() << "an emulator gives programs the rights of its caller";
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make a program that has more rights than its caller";
    const std::string level = write_file("level.json", R"({"debug_level":1})");
    const std::string folder = level.substr(0, level.rfind('/'));
    const std::string dump = folder + "/Audio_SSL_input_data0.pcm", probe = folder + "/probe";
    const Environment variables[] = {
        {"DML_PATH", level}, {"AUDIO_SSL_DUMP", "1"}, {"AUDIO_DUMP_PATH", folder}};
    output_of("cp '" EZOSSL_ENVIRONMENT_PROBE "' '" + probe + "'; chmod -R a+rx '" + folder + "'");
    EXPECT_EQ(output_of("'" + probe + "'"), "more rights: 0\n");
    EXPECT_TRUE(std::filesystem::remove(dump));

    const std::string printed = output_of(
        "chmod 4755 '" + probe + "'; setpriv --reuid=65534 --clear-groups '" + probe + "'");
    if (printed.rfind("more rights: 1\n", 0) != 0)
        GTEST_SKIP() << "a file here cannot give rights: " << printed;
    EXPECT_NE(printed.find("ALGO_MSG_MSG"), std::string::npos) << printed; // the default level
    EXPECT_FALSE(std::filesystem::exists(dump));
}

// The lines that an FFT with different last bits may change.
const std::set<std::string> kLastBits = {"spectrum", "cross", "correlation",
                                         "votes",    "path",  "cosine"};

std::string without_last_bits(const std::string &text)
{
    std::istringstream lines(text);
    std::string rest;
    for (std::string line; std::getline(lines, line);)
        if (kLastBits.count(line.substr(0, line.find(' '))) == 0)
            rest += line + "\n";
    return rest;
}

// The same list for every machine, compiler and optimisation.
TEST(LibraryFile, ResultsHaveTheSameBitsEverywhere)
{
    const std::string all = read_file(EZOSSL_CHECKSUMS);
    ASSERT_GT(without_last_bits(all).size(), 2000u);
    for (const std::string fft : {EZOSSL_FFTS}) {
        const std::string expected = fft == "builtin" ? all : without_last_bits(all);
        for (const std::string flags : {"O1", "O2", "O3", "tuned"}) {
            std::string program = EZOSSL_CORE_BITS "_";
            program.append(fft).append("_").append(flags);
            std::string actual = output_of(EZOSSL_EMULATOR " '" + program + "'");
            if (fft != "builtin")
                actual = without_last_bits(actual);
            EXPECT_TRUE(actual == expected)
                << actual << program << " differs from " EZOSSL_CHECKSUMS;
        }
    }
}

} // namespace
