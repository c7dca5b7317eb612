// SPDX-License-Identifier: MIT
// page.h - the page that shows the dial, as it is compiled in from dial.html.

#ifndef EZOSSL_TOOL_PAGE_H
#define EZOSSL_TOOL_PAGE_H

#include <string>

// Allows only the page's own script and style, by their hashes.
extern const char kContentSecurityPolicy[];

// The page, with the words of every block status.
std::string dial_page();

#endif
