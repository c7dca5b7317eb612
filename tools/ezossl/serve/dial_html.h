// SPDX-License-Identifier: MIT
// dial_html.h - dial.html as a text; the build makes its definition.

#ifndef EZOSSL_TOOL_DIAL_HTML_H
#define EZOSSL_TOOL_DIAL_HTML_H

extern const char kDialHtml[];

#endif
