// SPDX-License-Identifier: MIT
// main.cpp - the command line of ezossl: finds the command, runs it, and turns the outcome into an
// exit status. A command is added to kCommands and knows the rest itself.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>

#include "base/failure.h"
#include "base/text.h"
#include "commands/check.h"
#include "commands/demo.h"
#include "commands/geometry.h"
#include "commands/live.h"
#include "commands/options.h"
#include "commands/simulate.h"
#include "commands/track.h"

namespace {

using AddCommand = Command (*)(CLI::App &app);
constexpr AddCommand kCommands[] = {add_track_command,    add_live_command,     add_check_command,
                                    add_simulate_command, add_geometry_command, add_demo_command};

// The end of each command's help: what is typed first.
struct Examples {
    const char *command;
    const char *text;
};
constexpr Examples kExamples[] = {
    {"track", "  ezossl track talk.wav -s 5.8cm\n"
              "  ezossl track talk.flac -s 58mm -r 16000 -f csv -o talk.csv --plot talk.svg\n"},
    {"live", "  ezossl live -s 5.8cm\n"
             "  ezossl live -D hw:1,0 -s 5.8cm -d 60 --record bench.wav --on-change 5\n"},
    {"check", "  ezossl check talk.wav -s 5.8cm\n"
              "  ezossl check --live 10 -D hw:1,0 -s 5.8cm\n"},
    {"simulate",
     "  ezossl simulate --angle -30 -s 5.8cm -o x.wav\n"
     "  ezossl simulate -i voice.wav --walk -60,60 -s 5.8cm -r 16000 --snr 20 -o x.wav\n"},
    {"geometry", "  ezossl geometry -s 5.8cm\n"
                 "  ezossl geometry -s 12cm -r 16000 -t 35\n"},
    {"demo", "  ezossl demo\n"
             "  ezossl demo | cat                 # unpaced, as into a file\n"},
};

void add_examples(CLI::App &app)
{
    for (const Examples &examples : kExamples) {
        CLI::App *const parser = app.get_subcommand(examples.command);
        const std::string before = parser->get_footer();
        parser->footer((before.empty() ? "" : before + "\n\n") + "Examples:\n" + examples.text);
    }
}

// The parser's help in lines that fit the terminal.
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_option(const CLI::Option *option, bool is_positional) const override
    {
        const std::string name = make_option_name(option, is_positional);
        // Without the value of a flag that may take one: it shows in the description.
        return entry(name.substr(0, name.find('{')) + make_option_opts(option),
                     option->get_description());
    }
    std::string make_subcommand(const CLI::App *command) const override
    {
        return entry(command->get_name(), command->get_description());
    }

private:
    std::string entry(const std::string &name, const std::string &description) const
    {
        const std::size_t indent = get_column_width();
        std::string text = "  " + name;
        text += text.size() < indent ? std::string(indent - text.size(), ' ')
                                     : '\n' + std::string(indent, ' ');
        return text + wrapped(description, indent) + '\n';
    }
};

// The parser's refusals as sentences, where they are not.
std::string sentence_of(const CLI::App &app, const CLI::Error &error)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
        const std::string extras = CLI::detail::join(app.remaining(true), " ");
        return app.get_subcommands().empty() ? "there is no command and no file in '" + extras +
                                                   "'; such as: ezossl FILE -s 5.8cm"
                                             : "not expected: " + extras;
    }
    std::string text = error.what();
    if (text == "--spacing is required")
        return text + ", the distance between the microphones, such as -s 5.8cm";
    const std::string no_conversion = "Could not convert: ";
    if (text.rfind(no_conversion, 0) == 0)
        return text.substr(no_conversion.size()) + " is not a whole number";
    if (const auto at = text.find(": At Most 1 required"); at != std::string::npos)
        return text.substr(0, at) + " can be given once only";
    return text;
}

std::string describe_usage_error(const CLI::App *app, const CLI::Error &error)
{
    return "ezossl: " + sentence_of(*app, error) + "\nFor what it takes: ezossl [COMMAND] --help\n";
}

// Without a command, a file is to be tracked. What looks like a file counts as one, so that the
// answer to a misspelt name is about the file.
bool is_file_name(const std::string &argument)
{
    std::error_code ignored;
    return argument == "-" ||
           (argument.rfind('-', 0) != 0 && (argument.find_first_of("./") != std::string::npos ||
                                            std::filesystem::exists(argument, ignored)));
}

// "--on-change 5" is meant like "--on-change=5"; what does not look like a number behind it is an
// input.
void join_on_change(std::vector<std::string> &arguments)
{
    const auto option = std::find(arguments.begin(), arguments.end(), "--on-change");
    if (option == arguments.end() || option + 1 == arguments.end() ||
        (option + 1)->find_first_not_of("-.0123456789") != std::string::npos)
        return;
    *option += "=" + *(option + 1);
    arguments.erase(option + 1);
}

// Puts in the command that was left out, and refuses what is neither a command nor a file.
void complete_command(std::vector<std::string> &arguments)
{
    const auto is_command = [](const std::string &argument) {
        return std::any_of(
            std::begin(kExamples), std::end(kExamples),
            [&argument](const Examples &examples) { return argument == examples.command; });
    };
    if (arguments.empty() || std::any_of(arguments.begin(), arguments.end(), is_command))
        return;
    if (arguments.front() == "help")
        arguments.front() = "--help";
    else if (arguments.front().rfind('-', 0) != 0 && !is_file_name(arguments.front()))
        throw UsageFailure("there is no command and no file '" + arguments.front() +
                           "'; for the commands: ezossl --help");
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

int run(int argc, char **argv, DataOutput &output)
{
    CLI::App app("Finds the direction of sound with two microphones.", "ezossl");
    app.set_version_flag("--version", "ezossl " EZOSSL_VERSION);
    app.failure_message(describe_usage_error);
    app.formatter(std::make_shared<HelpFormatter>());
    app.require_subcommand(0, 1); // none is refused below, so that a wrong option is told first
    app.fallthrough();            // -v may stand behind the command
    bool verbose = false;
    app.add_flag("-v,--verbose", verbose, "Show the library's messages on standard error");
    std::vector<Command> commands;
    for (const AddCommand add : kCommands)
        commands.push_back(add(app));
    add_examples(app);
    // Set last, as the commands would take it over.
    app.footer("`ezossl FILE ...` is short for `ezossl track FILE ...`.");

    try {
        app.parse(command_line(argc, argv));
        if (app.get_subcommands().empty())
            throw CLI::RequiredError("A command");
    } catch (const CLI::ParseError &reason) {
        return end_of_parsing(app, reason, output);
    }
    show_library_messages(verbose);
    for (const Command &command : commands) {
        if (command.parser->parsed())
            command.run(output);
    }
    return kDone;
}

} // namespace

int main(int argc, char **argv)
{
    try {
        DataOutput output;
        return run(argc, argv, output);
    } catch (const EndWith &end) {
        return end.status;
    } catch (const UsageFailure &failure) {
        std::fprintf(stderr, "ezossl: %s\n", failure.what());
        return kUsage;
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "ezossl: %s\n", failure.what());
        return kError;
    }
}
