// SPDX-License-Identifier: MIT
// main.cpp - the command line of ezossl: finds the command, runs it, and turns the outcome into an
// exit status. The commands are in commands/commands.h.

#include <algorithm>
#include <cstdio>
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

// Without a command, files are tracked. What looks like the name of a file counts as one, so that
// the refusal of a misspelt name is about the file.
bool is_file_name(const std::string &argument)
{
    std::error_code ignored;
    return argument == "-" ||
           (argument.rfind('-', 0) != 0 && (argument.find_first_of("./") != std::string::npos ||
                                            std::filesystem::exists(argument, ignored)));
}

// "--on-change 5" means "--on-change=5". An argument that does not look like a number is an input.
void join_on_change(std::vector<std::string> &arguments)
{
    const auto option = std::find(arguments.begin(), arguments.end(), "--on-change");
    if (option == arguments.end() || option + 1 == arguments.end() ||
        (option + 1)->find_first_not_of("-.0123456789") != std::string::npos)
        return;
    *option += "=" + *(option + 1);
    arguments.erase(option + 1);
}

// Adds the command if it was omitted, and refuses what is neither a command nor a file.
void complete_command(std::vector<std::string> &arguments)
{
    const auto is_command = [](const std::string &argument) {
        return std::any_of(std::begin(kCommands), std::end(kCommands),
                           [&](const Command &command) { return argument == command.name; });
    };
    if (arguments.empty() || std::any_of(arguments.begin(), arguments.end(), is_command))
        return;
    if (arguments.front() == "help")
        arguments.front() = "--help";
    else if (arguments.front().rfind('-', 0) != 0 && !is_file_name(arguments.front()))
        throw UsageFailure("there is no command and no file '" + arguments.front() +
                           "'; for the commands see: ezossl --help");
    else if (std::any_of(arguments.begin(), arguments.end(), is_file_name))
        arguments.insert(arguments.begin(), "track");
}

std::vector<std::string> command_line(int argc, char **argv)
{
    std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    complete_command(arguments);
    join_on_change(arguments);
    std::reverse(arguments.begin(), arguments.end()); // as the parser wants them
    return arguments;
}

// Help and version go to the output, refusals to standard error.
int end_of_parsing(const CLI::App &app, const CLI::ParseError &reason, DataOutput &output)
{
    std::ostringstream text;
    const int status = app.exit(reason, text, std::cerr);
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

int run(int argc, char **argv, DataOutput &output)
{
    CLI::App app("Finds the direction of sound with two microphones.", "ezossl");
    app.set_version_flag("--version", "ezossl " EZOSSL_VERSION);
    set_parser_texts(app);
    app.require_subcommand(0, 1); // a missing one is refused below, after wrong options
    app.fallthrough();            // -v may stand behind the command
    bool verbose = false;
    app.add_flag("-v,--verbose", verbose, "Show the library's messages on standard error");
    std::vector<ParsedCommand> commands;
    for (const Command &command : kCommands)
        commands.push_back(add_command(app, command));
    // Set last, as commands that are added later would inherit it.
    app.footer("`ezossl FILE ...` is short for `ezossl track FILE ...`.");

    try {
        app.parse(command_line(argc, argv));
        if (app.get_subcommands().empty())
            throw CLI::RequiredError("A command");
    } catch (const CLI::ParseError &reason) {
        return end_of_parsing(app, reason, output);
    }
    show_library_messages(verbose);
    show_alsa_messages(verbose);
    for (const ParsedCommand &command : commands) {
        if (command.parser->parsed())
            command.run(output);
    }
    return kDone;
}

// A descriptor that the caller closed would be given to the first file that is opened, which would
// then get messages.
void open_standard_descriptors()
{
    int descriptor = 0;
    do
        descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor >= 0)
        close(descriptor);
}

} // namespace

int main(int argc, char **argv)
{
    open_standard_descriptors();
    try {
        DataOutput output;
        return run(argc, argv, output);
    } catch (const EndWith &end) {
        return end.status;
    } catch (const UsageFailure &failure) {
        note(failure.what());
        return kUsage;
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "ezossl: not enough memory\n");
        return kError;
    } catch (const std::exception &failure) {
        note(failure.what());
        return kError;
    }
}
