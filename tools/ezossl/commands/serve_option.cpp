// SPDX-License-Identifier: MIT
// serve_option.cpp - --serve: the dial in a browser.

#include "commands/serve_option.h"

void add_serve_option(CLI::App &parser, std::string &address)
{
    parser.add_flag("--serve{8080}", address,
                    "Show a dial in the browser: --serve [[HOST:]PORT]. Without HOST for this "
                    "computer only; PORT 0 picks a free one");
}

std::unique_ptr<Dial> open_dial(const std::string &address, const WriterStyle &style, bool is_quiet)
{
    if (address.empty())
        return nullptr;
    return std::make_unique<Dial>(parse_address(address), style, is_quiet);
}
