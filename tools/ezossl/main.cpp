// SPDX-License-Identifier: MIT
// main.cpp - the command line of ezossl: finds the command, runs it, and turns the outcome into an
// exit status. The commands are in commands/commands.h.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/text.h"
#include "commands/commands.h"
#include "commands/parser_texts.h"
#include "input/alsa_capture.h"

namespace {

// Without a command, the tool tracks files. An argument that looks like a file name counts as one,
// so that a misspelt name is refused as a missing file.
bool is_file_name(const std::string &argument)
{
    std::error_code ignored;
    return argument == "-" ||
           (argument.rfind('-', 0) != 0 && (argument.find_first_of("./") != std::string::npos ||
                                            std::filesystem::exists(argument, ignored)));
}

bool is_number(const std::string &argument)
{
    return argument.find_first_of("0123456789") != std::string::npos && // "-" is an input
           argument.find_first_not_of("-.0123456789") == std::string::npos;
}

bool is_address(const std::string &argument)
{
    std::error_code ignored; // the name may be too long, for example
    return is_number(argument) ||
           (argument.find(':') != std::string::npos && !std::filesystem::exists(argument, ignored));
}

// Options that may stand without a value. "--on-change 5" means "--on-change=5"; an argument that
// does not look like a value is an input.
struct OptionalValue {
    const char *option;
    bool (*is_value)(const std::string &argument);
};
constexpr OptionalValue kOptionalValues[] = {{"--on-change", is_number}, {"--serve", is_address}};

void join_values(std::vector<std::string> &arguments, const OptionalValue &row)
{
    for (size_t i = 0; i < arguments.size(); ++i) {
        const auto next = arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1;
        if (arguments[i] == row.option && next != arguments.end() && row.is_value(*next)) {
            arguments[i] += "=" + *next;
            arguments.erase(next);
        } else if (arguments[i] == std::string(row.option) + "=") {
            throw UsageFailure(arguments[i] + " has no value; omit the = for the default");
        }
    }
}

bool is_command(const std::string &argument)
{
    return std::any_of(std::begin(kCommands), std::end(kCommands),
                       [&argument](const Command &row) { return argument == row.name; });
}

// The first argument other than a flag that may precede the command. Later ones can be files or
// values that have the name of a command.
std::vector<std::string>::iterator first_word(std::vector<std::string> &arguments)
{
    return std::find_if(arguments.begin(), arguments.end(), [](const std::string &argument) {
        return argument != "-v" && argument != "--verbose";
    });
}

// Adds the command if it was omitted, and refuses what is neither a command nor a file.
void complete_command(std::vector<std::string> &arguments)
{
    auto first = first_word(arguments);
    while (first != arguments.end() && *first == "help") {
        *first = "--help";
        std::rotate(first, first + 1, arguments.end()); // a command may follow
    }
    if (first == arguments.end() || is_command(*first))
        return;
    if (first->rfind('-', 0) != 0 && !is_file_name(*first))
        throw UsageFailure("'" + *first +
                           "' is neither a command nor a file; for the commands see: "
                           "ezossl --help");
    else if (std::any_of(arguments.begin(), arguments.end(), is_file_name))
        arguments.insert(arguments.begin(), "track");
}

std::vector<std::string> command_line(int argc, char **argv)
{
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    complete_command(arguments);
    for (const OptionalValue &row : kOptionalValues)
        join_values(arguments, row);
    std::reverse(arguments.begin(), arguments.end()); // as the parser wants them
    return arguments;
}

// Help and version go to the output, refusals to standard error.
int end_of_parsing(const CLI::App &app, const CLI::ParseError &reason, DataOutput &output)
{
    std::ostringstream text;
    std::ostringstream refusal;
    const int status = app.exit(reason, text, refusal);
    std::fputs(refusal.str().c_str(), stderr);
    output.print("%s", text.str().c_str());
    output.finish();
    return status == 0 ? kDone : kUsage;
}

// After parsing, the parser knows whether the user gave this command.
struct ParsedCommand {
    const CLI::App *parser;
    RunCommand run;
};

ParsedCommand add_command(CLI::App &app, const Command &command)
{
    CLI::App *const parser = app.add_subcommand(command.name, command.description);
    RunCommand run = command.add(*parser);
    const std::string footer = parser->get_footer();
    parser->footer((footer.empty() ? "" : footer + "\n\n") + "Examples:\n" + command.examples);
    return {parser, std::move(run)};
}

struct CommandLine {
    CLI::App app{"Finds the direction of sound with two microphones.", "ezossl"};
    std::vector<ParsedCommand> commands;
    bool verbose = false;

    CommandLine()
    {
        app.set_version_flag("--version", "ezossl " EZOSSL_VERSION);
        set_parser_texts(app);
        app.require_subcommand(0, 1); // a missing one is refused below, after wrong options
        app.fallthrough();            // -v may follow the command
        app.add_flag("-v,--verbose", verbose, "Show the library's messages on standard error");
        for (const Command &command : kCommands)
            commands.push_back(add_command(app, command));
        // Set last, as commands that are added later would inherit it.
        app.footer("`ezossl FILE ...` is short for `ezossl track FILE ...`.");
    }

    void parse(int argc, char **argv)
    {
        app.parse(command_line(argc, argv));
        if (app.get_subcommands().empty())
            throw CLI::RequiredError("COMMAND");
    }
};

int run(int argc, char **argv, DataOutput &output)
{
    CommandLine line;
    try {
        line.parse(argc, argv);
    } catch (const CLI::ParseError &reason) {
        return end_of_parsing(line.app, reason, output);
    }
    show_library_messages(line.verbose);
    show_alsa_messages(line.verbose);
    for (const ParsedCommand &command : line.commands) {
        if (command.parser->parsed())
            command.run(output);
    }
    return kDone;
}

// If the caller closed a standard descriptor, the first file that is opened would get its number,
// and messages would go into that file.
void open_standard_descriptors()
{
    int descriptor = 0;
    do
        descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        close(descriptor);
}

// A pipe without a reader and a file at its size limit give write errors, so that outputs that are
// not complete are removed.
void ignore_signals_of_writing()
{
    for (const int signal : {SIGPIPE, SIGXFSZ})
        std::signal(signal, SIG_IGN);
}

// The parser of the command line also allocates memory in functions that let no exception out.
[[noreturn]] void end_despite_exception()
{
    try {
        if (std::current_exception())
            throw;
    } catch (const std::bad_alloc &) {
        std::_Exit(fail_without_memory());
    } catch (...) { // a fault of this program
    }
    std::abort();
}

} // namespace

int main(int argc, char **argv)
{
    std::set_terminate(end_despite_exception);
    open_standard_descriptors();
    ignore_signals_of_writing();
    return exit_status_of([&] {
        DataOutput output;
        return run(argc, argv, output);
    });
}
