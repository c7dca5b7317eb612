// SPDX-License-Identifier: MIT
// dial.h - blocks for browsers: the dial, and events for programs, for as long as this exists.

#ifndef EZOSSL_TOOL_DIAL_H
#define EZOSSL_TOOL_DIAL_H

#include <string>
#include <vector>

#include "output/block_writer.h"
#include "output/json_objects.h"
#include "serve/server.h"

class Dial : public BlockWriter
{
public:
    // Prints where it is and who can see it, unless it is quiet. Failure if it cannot listen there.
    Dial(const Address &address, const WriterStyle &style, bool is_quiet);
    ~Dial() override;

    void begin(const InputInfo &input) override;
    void write(const Block &block, const std::vector<int> &delays) override;
    void fault(const std::string &name, const std::string &text) override;
    void end(const Summary &summary) override;

private:
    ListeningSocket socket_;
    JsonObjects objects_;
    bool is_quiet_;
    Server server_;
};

#endif
