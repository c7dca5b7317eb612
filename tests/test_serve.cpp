// SPDX-License-Identifier: MIT
// test_serve.cpp - the queue of /events: what readers get that join early, late or after the next
// input began, and that it does not grow. test_serve.py tests the server itself.

#include "serve/event_log.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using Kind = EventLog::Kind;
using std::chrono::seconds;

struct EventQueue : ::testing::Test {
    EventLog log;
    EventLog::Time now{};
    int blocks = 0;

    // Adds an event every `pace`, each named after its number.
    void add_blocks(int count, std::chrono::milliseconds pace)
    {
        for (int i = 0; i < count; ++i)
            log.add(Kind::passing, std::to_string(blocks++), now += pace);
    }
    // The texts, each after the number of events lost before it, in brackets.
    std::string all(EventLog::Reader &reader)
    {
        std::string text;
        while (const auto event = log.take(reader)) {
            if (event->lost > 0)
                text += '[' + std::to_string(event->lost) + ']';
            text += event->text + ' ';
        }
        return text;
    }
    std::string all_of_new_reader()
    {
        EventLog::Reader reader = log.join();
        return all(reader);
    }
};

TEST_F(EventQueue, HoldsTheOpeningFaultsAndAMinute)
{
    EventLog::Reader first = log.join();
    log.add(Kind::opening, "open", now);
    log.add(Kind::passing, "old", now);
    log.add(Kind::kept, "fault", now);
    add_blocks(1, seconds(60)); // "old" is a minute old
    EXPECT_EQ(all_of_new_reader(), "open old fault 0 ");
    add_blocks(2, seconds(20)); // and now older, and so is 0 after 60 more
    EXPECT_EQ(all_of_new_reader(), "open fault 0 1 2 ");
    EXPECT_EQ(log.lost(), 0u); // what is gone when a reader joins is not lost to it
    EXPECT_EQ(all(first), "open [1]fault 0 1 2 ");
    add_blocks(1, seconds(59));
    EXPECT_EQ(all(first), "3 ");
    EXPECT_EQ(all_of_new_reader(), "open fault 2 3 ");
    log.add(Kind::opening, "next", now);
    EXPECT_EQ(all_of_new_reader(), "next ");
    add_blocks(2, seconds(61));
    EXPECT_EQ(all(first), "next [1]5 "); // also of the input before nothing is kept for ever
    EXPECT_EQ(all_of_new_reader(), "next 5 ");
    EXPECT_EQ(log.lost(), 2u);
}

TEST_F(EventQueue, DoesNotGrowAndCountsWhatEachReaderLost)
{
    log.add(Kind::opening, "open", now);
    EventLog::Reader slow = log.join(), slower = log.join();
    EXPECT_EQ(all(slow), "open ");
    add_blocks(1000, std::chrono::milliseconds(1));
    EXPECT_EQ(all(slow).substr(0, 10), "[488]488 4");
    add_blocks(1, std::chrono::milliseconds(1));
    EXPECT_EQ(all(slow), "1000 ");
    EXPECT_EQ(all(slower).substr(0, 15), "open [489]489 4");
    EXPECT_EQ(log.lost(), 488u + 489u);
    EXPECT_EQ(all_of_new_reader().substr(0, 9), "open 489 ");
}

} // namespace
