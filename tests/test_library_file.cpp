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
    EXPECT_EQ(lines_of("nm -D --defined-only --without-symbol-versions " EZOSSL_LIBRARY
                       " | awk '$2 != \"A\" {print $3}'"),
              (std::set<std::string>{
                  "EzoSsl_ApplyDigitalGain", "EzoSsl_Cal_Params", "EzoSsl_Config", "EzoSsl_Free",
                  "EzoSsl_GetAPIVersion", "EzoSsl_GetBufferSize", "EzoSsl_Get_Config",
                  "EzoSsl_Get_Direction", "EzoSsl_Init", "EzoSsl_Reset", "EzoSsl_Reset_Mapping",
                  "EzoSsl_Run", "EzoSsl_SetCallbackFunction", "EzoSsl_SetMode",
                  "EzoSsl_Set_ArbitraryShape", "EzoSsl_Set_Shape", "ssl_setting"}));
}

TEST(LibraryFile, NeedsFourLibraries)
{
    EXPECT_EQ(
        lines_of("readelf -d " EZOSSL_LIBRARY
                 " | sed -n 's/.*NEEDED.*\\[\\(.*\\)\\.so.*\\]/\\1/p' | grep -v 'lib[au].*san'"),
        (std::set<std::string>{"libc", "libcjson", "libkissfft-float", "libm"}));
    EXPECT_NE(output_of("readelf -d " EZOSSL_LIBRARY).find("[libezossl.so.1]"), std::string::npos);
}

TEST(LibraryFile, ResultsDoNotDependOnTheOptimisation)
{
    const std::string plain = output_of(EZOSSL_EMULATOR " " EZOSSL_CORE_BITS "_O2");
    EXPECT_GT(plain.size(), 5000u);
    EXPECT_EQ(output_of(EZOSSL_EMULATOR " " EZOSSL_CORE_BITS "_O3"), plain);
    EXPECT_EQ(output_of(EZOSSL_EMULATOR " " EZOSSL_CORE_BITS "_tuned"), plain);
    EXPECT_NE(plain.find("heap calls in 256 frames: 0\n"), std::string::npos);
}

} // namespace
