// SPDX-License-Identifier: MIT
// http_answer.h - requests of a connection of libmicrohttpd that are refused, and answers with the
// headers that all of them have.

#ifndef EZOSSL_TOOL_HTTP_ANSWER_H
#define EZOSSL_TOOL_HTTP_ANSWER_H

#include <string>
#include <vector>

#include <microhttpd.h>

struct Header {
    const char *name = nullptr; // none
    const char *value = nullptr;
};

// A text, after which the connection is closed. The body of the request is not read.
MHD_Result answer(MHD_Connection *connection, unsigned status, const std::string &text,
                  const char *type = "text/plain; charset=utf-8", const Header &extra = {});
// Takes the response, which may be nullptr.
MHD_Result answer(MHD_Connection *connection, unsigned status, MHD_Response *response,
                  const char *type, const Header &extra = {});

struct Refusal {
    unsigned status = 0; // none
    const char *text = "";
    Header extra = {};
};
// Of a request that does not call the server by one of the names, is made by a page of another
// site, or asks for more than to read. `is_link` is a page that other sites may link to.
Refusal refusal_of(MHD_Connection *connection, const std::string &method, bool is_link,
                   const std::vector<std::string> &names);

#endif
