// SPDX-License-Identifier: MIT
// fuzz_command_line.cpp - command lines: each is accepted, or refused with a message. No command is
// run. Each line of an input is an argument.

#define main ezossl_main // the program's own, which is not called
#include "main.cpp"      // NOLINT(bugprone-suspicious-include)
#undef main

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

void require(bool holds, const std::string &text)
{
    if (holds)
        return;
    std::fprintf(stderr, "fuzz_command_line: %s\n", text.c_str());
    std::abort();
}

// The message to the user; empty if the command line is accepted.
std::string refusal_of(int argc, char **argv)
{
    CommandLine line;
    try {
        line.parse(argc, argv);
        return "";
    } catch (const CLI::ParseError &reason) {
        std::ostringstream help;
        std::ostringstream text;
        const int status = line.app.exit(reason, help, text);
        require((status == 0) == text.str().empty(), "a refusal without words, or help with some");
        return text.str();
    } catch (const Failure &failure) {
        require(*failure.what() != '\0', "a refusal without words");
        return failure.what();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::vector<std::string> arguments = {"ezossl"};
    std::istringstream lines(std::string(reinterpret_cast<const char *>(data), size));
    for (std::string argument; std::getline(lines, argument);)
        arguments.push_back(argument.substr(0, argument.find('\0')));
    std::vector<char *> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string &argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const std::string refusal = refusal_of(static_cast<int>(arguments.size()), pointers.data());
    require(refusal.empty() || refusal.size() < 2 * size + 2000, "a refusal without end");
    return 0;
}
