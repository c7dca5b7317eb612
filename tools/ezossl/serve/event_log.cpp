// SPDX-License-Identifier: MIT
// event_log.cpp - one queue for all readers, so that its size does not depend on their number.

#include "serve/event_log.h"

#include <algorithm>
#include <utility>

namespace {

constexpr auto kLongest = std::chrono::minutes(1);
constexpr size_t kMost = 512;

} // namespace

void EventLog::add(Kind kind, std::string text, Time now)
{
    if (kind == Kind::opening) {
        opening_ = next_;
        // Readers that join no longer need the events of the previous input.
        for (Entry &entry : entries_)
            entry.kind = Kind::passing;
        passing_ = entries_.size();
    }
    if (kind == Kind::passing)
        ++passing_;
    entries_.push_back({next_++, kind, now, std::move(text)});
    drop_oldest(now);
}

void EventLog::drop_oldest(Time now)
{
    const auto is_passing = [](const Entry &entry) { return entry.kind == Kind::passing; };
    while (passing_ > 1) {
        const auto oldest = std::find_if(entries_.begin(), entries_.end(), is_passing);
        if (passing_ <= kMost && now - oldest->time <= kLongest)
            return;
        entries_.erase(oldest);
        --passing_;
    }
}

EventLog::Reader EventLog::join() const
{
    return {opening_, next_};
}

std::optional<EventLog::Event> EventLog::take(Reader &reader)
{
    const auto found =
        std::lower_bound(entries_.begin(), entries_.end(), reader.next,
                         [](const Entry &entry, uint64_t number) { return entry.number < number; });
    if (found == entries_.end())
        return std::nullopt;
    // Events that left the log before the reader joined are not lost to it.
    const uint64_t expected = std::max(reader.next, reader.joined);
    const uint64_t lost = found->number > expected ? found->number - expected : 0;
    lost_ += lost;
    reader.next = found->number + 1;
    return Event{found->text, lost};
}
