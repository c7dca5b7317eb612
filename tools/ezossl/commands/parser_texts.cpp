// SPDX-License-Identifier: MIT
// parser_texts.cpp - rewords the parser's help and refusals where its own are not sentences.

#include "commands/parser_texts.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "base/text.h"
#include "commands/commands.h"

namespace {

// The parser's help in lines that fit the terminal.
class HelpFormatter : public CLI::Formatter
{
public:
    std::string make_option(const CLI::Option *option, bool is_positional) const override
    {
        const std::string name = make_option_name(option, is_positional);
        // Omits the default value of a flag, because the description has it.
        return entry(name.substr(0, name.find('{')) + make_option_opts(option),
                     option->get_description());
    }
    // Not left to the parser, whose releases write this in different forms.
    std::string make_option_opts(const CLI::Option *option) const override
    {
        std::string text;
        if (option->get_expected_min() > 0) { // takes a value
            text += option->get_type_name().empty() ? "" : ' ' + option->get_type_name();
            text += option->get_default_str().empty() ? "" : '=' + option->get_default_str();
            text +=
                option->get_expected_max() == CLI::detail::expected_max_vector_size ? " ..." : "";
            text += option->get_required() ? " REQUIRED" : "";
        }
        for (const CLI::Option *const other : option->get_needs())
            text += " Needs: " + other->get_name();
        for (const CLI::Option *const other : option->get_excludes())
            text += " Excludes: " + other->get_name();
        return text;
    }
    std::string make_usage(const CLI::App *app, std::string /*name*/) const override
    {
        const Command *const command =
            std::find_if(std::begin(kCommands), std::end(kCommands),
                         [app](const Command &row) { return row.name == app->get_name(); });
        if (command == std::end(kCommands))
            return "Usage: ezossl COMMAND [OPTIONS]\n       ezossl FILE... -s LENGTH [OPTIONS]\n";
        std::string text;
        for (const char *const usage : command->usages) {
            if (usage != nullptr)
                text += std::string(text.empty() ? "Usage: " : "       ") + "ezossl " +
                        command->name + ' ' + usage + '\n';
        }
        return text;
    }
    std::string make_subcommand(const CLI::App *command) const override
    {
        return entry(command->get_name(), command->get_description());
    }

private:
    std::string entry(const std::string &name, const std::string &description) const
    {
        const size_t indent = get_column_width();
        std::string text = "  " + name;
        text += text.size() < indent ? std::string(indent - text.size(), ' ')
                                     : '\n' + std::string(indent, ' ');
        return text + wrapped(description, indent) + '\n';
    }
};

// Turns the parser's refusals into sentences.
std::string sentence_of(const CLI::App &app, const CLI::Error &error)
{
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::ExtrasError)) {
        const std::string extras = CLI::detail::join(app.remaining(true), " ");
        return app.get_subcommands().empty() ? "'" + extras +
                                                   "' has neither a command nor a file; try: "
                                                   "ezossl FILE -s 5.8cm"
                                             : "unknown option or argument: " + extras;
    }
    std::string text = error.what();
    if (text == "--spacing is required")
        return text + ": the distance between the microphones, for example -s 5.8cm";
    if (text == "COMMAND is required" || text == "FILE is required")
        return "give a sound file, for example: ezossl talk.wav -s 5.8cm";
    if (text == "--output is required")
        return text + ", for example -o scene.wav";
    if (text.rfind("--walk: ", 0) == 0 && text.find("required") != std::string::npos)
        return "--walk needs two angles, for example --walk -90,90";
    const std::string no_conversion = "Could not convert: ";
    if (text.rfind(no_conversion, 0) == 0)
        return text.substr(no_conversion.size()) + " is not a whole number";
    if (const auto at = text.find(": At Most 1 required"); at != std::string::npos)
        return text.substr(0, at) + " can be given only once";
    if (const auto at = text.find(": 1 required"); at != std::string::npos)
        return text.substr(0, at) + " needs a value";
    return text;
}

std::string describe_usage_error(const CLI::App *app, const CLI::Error &error)
{
    const std::vector<CLI::App *> parsed = app->get_subcommands();
    const std::string command = parsed.empty() ? "" : ' ' + parsed.front()->get_name();
    // The sentence repeats what the user wrote, which may hold control characters.
    return "ezossl: " + printable(sentence_of(*app, error)) + "\nFor the options see: ezossl" +
           command + " --help\n";
}

} // namespace

void set_parser_texts(CLI::App &app)
{
    app.failure_message(describe_usage_error);
    app.formatter(std::make_shared<HelpFormatter>());
}
