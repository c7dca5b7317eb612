// SPDX-License-Identifier: MIT
// http_answer.cpp - protects users of the server from hostile pages in their own browsers.

#include "serve/http_answer.h"

#include <cstring>

#include <strings.h>

#include "serve/address.h"
#include "serve/page.h"

namespace {

// With every answer. No header allows pages of other origins to read it.
constexpr Header kHeaders[] = {
    {MHD_HTTP_HEADER_CONNECTION, "close"}, // so that idle connections do not take places
    {MHD_HTTP_HEADER_CACHE_CONTROL, "no-store"},
    {"Content-Security-Policy", kContentSecurityPolicy},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Referrer-Policy", "no-referrer"},
    {"X-Content-Type-Options", "nosniff"},
};

std::vector<std::string> hosts(MHD_Connection *connection)
{
    std::vector<std::string> found;
    const auto collect = [](void *list, MHD_ValueKind /*headers*/, const char *name,
                            const char *value) {
        if (strcasecmp(name, MHD_HTTP_HEADER_HOST) == 0)
            static_cast<std::vector<std::string> *>(list)->emplace_back(value);
        return MHD_YES;
    };
    MHD_get_connection_values(connection, MHD_HEADER_KIND, collect, &found);
    return found;
}

// Browsers say so. Such a page could not read the answer, but it could take a reader's place.
bool is_of_other_site(MHD_Connection *connection)
{
    const char *const site =
        MHD_lookup_connection_value(connection, MHD_HEADER_KIND, "Sec-Fetch-Site");
    return site != nullptr && std::strstr(site, "-site") != nullptr;
}

} // namespace

MHD_Result answer(MHD_Connection *connection, unsigned status, const std::string &text,
                  const char *type, const Header &extra)
{
    MHD_Response *const response = MHD_create_response_from_buffer(
        text.size(), const_cast<char *>(text.data()), MHD_RESPMEM_MUST_COPY);
    return answer(connection, status, response, type, extra);
}

MHD_Result answer(MHD_Connection *connection, unsigned status, MHD_Response *response,
                  const char *type, const Header &extra)
{
    if (response == nullptr)
        return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, type);
    for (const Header &header : kHeaders)
        MHD_add_response_header(response, header.name, header.value);
    if (extra.name != nullptr)
        MHD_add_response_header(response, extra.name, extra.value);
    const MHD_Result result = MHD_queue_response(connection, status, response);
    MHD_destroy_response(response); // the connection keeps it
    return result;
}

Refusal refusal_of(MHD_Connection *connection, const std::string &method, bool is_link,
                   const std::vector<std::string> &names)
{
    const std::vector<std::string> called = hosts(connection);
    if (called.size() != 1)
        return {MHD_HTTP_BAD_REQUEST, "A request needs exactly one Host header.\n"};
    if (!is_own_name(called.front(), names))
        return {MHD_HTTP_MISDIRECTED_REQUEST,
                "The name in the address is not one of this server. Use its IP address, or start "
                "ezossl with --serve NAME:PORT.\n"};
    if (method != MHD_HTTP_METHOD_GET && method != MHD_HTTP_METHOD_HEAD)
        return {MHD_HTTP_METHOD_NOT_ALLOWED,
                "Only GET and HEAD are allowed here.\n",
                {MHD_HTTP_HEADER_ALLOW, "GET, HEAD"}};
    if (!is_link && is_of_other_site(connection))
        return {MHD_HTTP_FORBIDDEN, "Pages of other sites may not use this server.\n"};
    return {};
}
