// SPDX-License-Identifier: MIT
// dial.cpp - turns an input into events.

#include "serve/dial.h"

#include "base/text.h"
#include "serve/page.h"

Dial::Dial(const Address &address, const WriterStyle &style, bool is_quiet)
    : socket_(address), objects_(style), is_quiet_(is_quiet), server_(socket_, dial_page())
{
    if (is_quiet_)
        return;
    note("the dial is at " + socket_.url() +
         (socket_.is_for_this_computer()
              ? ", for this computer only"
              : ", for everybody who reaches this computer: there is no password"));
}

Dial::~Dial()
{
    server_.add(EventLog::Kind::passing, "{\"type\":\"end\"}", "end");
    if (const uint64_t lost = server_.lost(); lost > 0 && !is_quiet_)
        note(counted(static_cast<long>(lost), "event") +
             " of the dial were lost because readers were too slow");
}

void Dial::begin(const InputInfo &input)
{
    server_.add(EventLog::Kind::opening, objects_.begin(input));
}

void Dial::write(const Block &block, const std::vector<int> &delays)
{
    const std::string json = objects_.block(block, delays);
    server_.add(EventLog::Kind::passing, json);
    server_.set_latest(json);
}

void Dial::fault(const std::string &name, const std::string &text)
{
    JsonObject fault = objects_.of_type("fault");
    fault.add("name", name);
    fault.add("text", text);
    server_.add(EventLog::Kind::kept, fault.text(), "fault");
}

void Dial::end(const Summary &summary)
{
    server_.add(EventLog::Kind::passing, objects_.summary(summary));
}
