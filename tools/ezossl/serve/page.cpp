// SPDX-License-Identifier: MIT
// page.cpp - inserts the table of statuses into the page, where the script reads it.

#include "serve/page.h"

#include "output/json_object.h"
#include "serve/dial_html.h"
#include "tracking/block_status.h"

std::string dial_page()
{
    JsonObject statuses;
    for (const StatusDisplay &row : kStatuses) {
        JsonObject status;
        status.add("words", row.words);
        status.add("next_step", row.next_step);
        status.add("light", row.light_colour);
        status.add("dark", row.dark_colour);
        statuses.add(row.name, std::move(status));
    }
    const std::string place = "{\"statuses\": \"here\"}";
    std::string page = kDialHtml;
    return page.replace(page.find(place), place.size(), statuses.text());
}
