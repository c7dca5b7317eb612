// SPDX-License-Identifier: MIT
// server.h - the page, the events and the latest block over HTTP, from a thread of its own. A
// reader that does not read delays nobody: neither add() nor the other readers wait for it.

#ifndef EZOSSL_TOOL_SERVER_H
#define EZOSSL_TOOL_SERVER_H

#include <memory>
#include <string>

#include "serve/address.h"
#include "serve/event_log.h"

class Server
{
public:
    // Failure if there cannot be one.
    Server(ListeningSocket &socket, const std::string &page);
    // Waits a moment for readers to take the last events.
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    // Sends a JSON message to all readers. `name` is empty for the messages of -f jsonl.
    void add(EventLog::Kind kind, const std::string &json, const std::string &name = "");
    // Sets the answer to /latest.
    void set_latest(const std::string &json);

    // Events that readers were too slow for.
    uint64_t lost() const;

private:
    class State;
    std::unique_ptr<State> state_;
};

#endif
