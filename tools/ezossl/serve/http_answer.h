// SPDX-License-Identifier: MIT
// http_answer.h - which requests to libmicrohttpd are refused, and answers with the headers that
// all answers have.

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
// Refuses a request that calls the server by none of the names, comes from a page of another site,
// or uses a method that does more than read. `is_link` is a page that other sites may link to.
Refusal refusal_of(MHD_Connection *connection, const std::string &method, bool is_link,
                   const std::vector<std::string> &names);

#endif
