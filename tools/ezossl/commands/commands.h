// SPDX-License-Identifier: MIT
// commands.h - the commands of ezossl. A new one is a row of kCommands and its function, in a file
// of its own.

#ifndef EZOSSL_TOOL_COMMANDS_H
#define EZOSSL_TOOL_COMMANDS_H

#include <functional>

#include "output/data_output.h"

namespace CLI {
class App;
}

// Does the work of a command, once its options are parsed.
using RunCommand = std::function<void(DataOutput &output)>;

// Each adds the options of its command to the parser.
RunCommand add_track(CLI::App &parser);
RunCommand add_live(CLI::App &parser);
RunCommand add_check(CLI::App &parser);
RunCommand add_simulate(CLI::App &parser);
RunCommand add_geometry(CLI::App &parser);
RunCommand add_demo(CLI::App &parser);

struct Command {
    const char *name;
    const char *description;
    RunCommand (*add)(CLI::App &parser);
    const char *usages[2]; // what follows its name, in one or two forms; nullptr if there is one
    const char *examples;  // commands to begin with, at the end of its help
};

// In the order of the help.
constexpr Command kCommands[] = {
    {"track",
     "Print the direction of the sound in two-channel files",
     add_track,
     {"-s LENGTH [OPTIONS] FILE..."},
     "  ezossl track talk.wav -s 5.8cm\n"
     "  ezossl track talk.flac -s 58mm -r 16000 -f csv -o talk.csv --plot talk.svg\n"},
    {"live",
     "Print the direction of the sound at two microphones until Ctrl-C",
     add_live,
     {"-s LENGTH [OPTIONS]", "--list"},
     "  ezossl live -s 5.8cm\n"
     "  ezossl live -D hw:1,0 -s 5.8cm -d 60 --record bench.wav --on-change 5\n"},
    {"check",
     "Tell whether a recording or a device is usable and, if not, what is wrong",
     add_check,
     {"-s LENGTH [OPTIONS] FILE", "-s LENGTH [OPTIONS] --live SEC"},
     "  ezossl check talk.wav -s 5.8cm\n"
     "  ezossl check --live 10 -D hw:1,0 -s 5.8cm\n"},
    {"simulate",
     "Make a two-channel file with a known direction",
     add_simulate,
     {"-a DEG[,DEG...] -s LENGTH -o FILE [OPTIONS]", "-w DEG,DEG -s LENGTH -o FILE [OPTIONS]"},
     "  ezossl simulate --angle -30 -s 5.8cm -o x.wav\n"
     "  ezossl simulate -i voice.wav --walk -60,60 -s 5.8cm -r 16000 --snr 20 -o x.wav\n"
     "  ezossl simulate --angle 45 -s 5.8cm -o - | ezossl track -s 5.8cm -\n"},
    {"geometry",
     "Show what a pair of microphones can resolve",
     add_geometry,
     {"-s LENGTH [OPTIONS]"},
     "  ezossl geometry -s 5.8cm\n"
     "  ezossl geometry -s 12cm -r 16000 -t 35\n"},
    {"demo",
     "Locate a simulated sound that moves; needs no file and no microphone",
     add_demo,
     {"[OPTIONS]"},
     "  ezossl demo\n"
     "  ezossl demo --serve               # with a dial in the browser, until Ctrl-C\n"
     "  ezossl demo | cat                 # at full speed, as for a file\n"},
};

#endif
