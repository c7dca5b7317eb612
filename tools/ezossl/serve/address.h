// SPDX-License-Identifier: MIT
// address.h - where the server listens, as the user writes it, and by which names it may be called.

#ifndef EZOSSL_TOOL_ADDRESS_H
#define EZOSSL_TOOL_ADDRESS_H

#include <string>
#include <vector>

#include "base/descriptor.h"

struct Address {
    std::string host = "127.0.0.1"; // a name or an IP address, IPv6 without brackets
    int port = 0;                   // 0 picks a free one
};

// From "8080", "0.0.0.0:8080", "[::1]:8080" or "board.local:8080". UsageFailure for other texts.
Address parse_address(const std::string &text);

class ListeningSocket
{
public:
    // Failure if nobody can listen there.
    explicit ListeningSocket(const Address &address);

    // The caller closes it.
    int release() { return descriptor_.release(); }

    // The address to type into a browser, and whether only this computer can reach it.
    const std::string &url() const { return url_; }
    bool is_for_this_computer() const { return is_loopback_; }
    // The host names, besides IP addresses, by which the server may be called.
    const std::vector<std::string> &names() const { return names_; }

private:
    Descriptor descriptor_;
    bool is_loopback_;
    std::string url_;
    std::vector<std::string> names_;
};

// Whether a Host header, such as "127.0.0.1:8080", names this server: by an IP address, which no
// name service can redirect, or by one of the names. A web page whose own name was redirected to
// this computer has that name in the header. The port may be another one, as in a tunnel.
bool is_own_name(const std::string &header, const std::vector<std::string> &names);

#endif
