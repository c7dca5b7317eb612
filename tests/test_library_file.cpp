// SPDX-License-Identifier: MIT
// test_library_file.cpp - the library as a file: what it exports and needs; that its results do not
// depend on how it is optimised; that a frame costs no heap.

#include "support.h"

#include <gtest/gtest.h>
#include <set>
#include <sstream>

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

TEST(LibraryFile, NeedsTheseLibrariesOnly)
{
    std::set<std::string> expected = {"libc", "libcjson", "libm", EZOSSL_FFT_NEEDED};
    expected.erase(""); // an FFT that was compiled in
    EXPECT_EQ(
        lines_of("readelf -d '" EZOSSL_LIBRARY
                 "' | sed -n 's/.*NEEDED.*\\[\\(.*\\)\\.so.*\\]/\\1/p' | grep -v 'lib[au].*san'"),
        expected);
    EXPECT_NE(output_of("readelf -d '" EZOSSL_LIBRARY "'").find("[libezossl.so.1]"),
              std::string::npos);
}

// The lines of what core_bits prints that no FFT may change: delays, votes, codes and angles.
std::string answers_in(const std::string &bits)
{
    std::istringstream text(bits);
    std::string answers;
    for (std::string line; std::getline(text, line);)
        if (line.rfind("frame ", 0) == 0 || line.rfind("counts ", 0) == 0 ||
            line.rfind("code ", 0) == 0)
            answers += line + "\n";
    return answers;
}

TEST(LibraryFile, ResultsDoNotDependOnTheOptimisationNorAnswersOnTheFft)
{
    std::set<std::string> answers;
    for (const std::string fft : {EZOSSL_FFTS}) {
        const std::string program = EZOSSL_EMULATOR " '" EZOSSL_CORE_BITS "_" + fft;
        const std::string plain = output_of(program + "_O2'");
        EXPECT_EQ(output_of(program + "_O3'"), plain);
        EXPECT_EQ(output_of(program + "_tuned'"), plain);
        EXPECT_NE(plain.find("heap calls in 256 frames: 0\n"), std::string::npos);
        EXPECT_NE(plain.find("heap blocks left by Init: 0\n"), std::string::npos);
        EXPECT_NE(plain.find("Init without heap: " + std::string(fft == "ne10" ? "NULL" : "an")),
                  std::string::npos);
        answers.insert(answers_in(plain));
    }
    EXPECT_EQ(answers.size(), 1u);
    EXPECT_GT(answers.begin()->size(), 5000u);
}

} // namespace
