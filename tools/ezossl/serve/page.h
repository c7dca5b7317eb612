// SPDX-License-Identifier: MIT
// page.h - the page that shows the dial, as it is compiled in from dial.html.

#ifndef EZOSSL_TOOL_PAGE_H
#define EZOSSL_TOOL_PAGE_H

#include <string>

// Allows the script and the style of the page by their hashes, and nothing from elsewhere.
extern const char kContentSecurityPolicy[];

// With the words of every block status.
std::string dial_page();

#endif
