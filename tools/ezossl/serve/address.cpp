// SPDX-License-Identifier: MIT
// address.cpp - reads addresses, opens the socket, and says what is wrong when that fails.

#include "serve/address.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <optional>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include "base/failure.h"
#include "base/text.h"

namespace {

constexpr int kHighestPort = 65535;
constexpr int kFirstFreePort = 1024; // lower ones are reserved for the administrator
constexpr int kBacklog = 64;

bool is_number(const std::string &text, const char *digits = "0123456789")
{
    return !text.empty() && text.find_first_not_of(digits) == std::string::npos;
}

bool is_numeric_host(const std::string &host)
{
    std::array<unsigned char, sizeof(in6_addr)> bytes;
    return inet_pton(AF_INET, host.c_str(), bytes.data()) == 1 ||
           inet_pton(AF_INET6, host.c_str(), bytes.data()) == 1;
}

// "host:port", with brackets around a host that has colons.
struct HostAndPort {
    std::string host;
    std::string port; // empty if there is none
};

// Nothing if the text has another form.
std::optional<HostAndPort> split(const std::string &text)
{
    const bool has_brackets = text.rfind('[', 0) == 0;
    const size_t end_of_host = has_brackets ? text.find(']') : text.find_first_of(":[]");
    if (has_brackets && end_of_host == std::string::npos)
        return std::nullopt;
    HostAndPort parts = {text.substr(0, end_of_host), ""};
    std::string rest = end_of_host < text.size() ? text.substr(end_of_host) : "";
    if (has_brackets) {
        parts.host.erase(0, 1);
        rest.erase(0, 1);
    }
    if (parts.host.empty() || (!rest.empty() && rest.front() != ':'))
        return std::nullopt;
    if (!rest.empty())
        parts.port = rest.substr(1);
    return parts;
}

std::string host_name()
{
    std::array<char, 256> name{};
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

bool is_loopback(const sockaddr *address)
{
    if (address->sa_family == AF_INET6) {
        sockaddr_in6 six;
        std::memcpy(&six, address, sizeof six);
        return IN6_IS_ADDR_LOOPBACK(&six.sin6_addr);
    }
    sockaddr_in four;
    std::memcpy(&four, address, sizeof four);
    return ntohl(four.sin_addr.s_addr) >> 24 == IN_LOOPBACKNET;
}

bool is_any(const std::string &host)
{
    return host == "0.0.0.0" || host == "::";
}

int port_of(int descriptor)
{
    sockaddr_storage storage{};
    socklen_t length = sizeof storage;
    getsockname(descriptor, reinterpret_cast<sockaddr *>(&storage), &length);
    sockaddr_in four; // an IPv6 address has the port at the same place
    std::memcpy(&four, &storage, sizeof four);
    return ntohs(four.sin_port);
}

[[noreturn]] void fail(const Address &address, int error)
{
    const std::string serve = "--serve: ";
    const std::string port = "port " + std::to_string(address.port);
    if (error == EADDRINUSE)
        throw Failure(serve + port + " of " + address.host +
                      " is in use; choose another one, or 0 for a free one");
    if (error == EACCES)
        throw Failure(serve + port + " is reserved for the administrator; choose one from " +
                      std::to_string(kFirstFreePort) + " to " + std::to_string(kHighestPort));
    if (error == EADDRNOTAVAIL)
        throw Failure(serve + address.host +
                      " is not an address of this computer; `ip address` lists its addresses");
    throw Failure(serve + "cannot listen on " + address.host + ", " + port + ": " +
                  std::strerror(error));
}

} // namespace

Address parse_address(const std::string &text)
{
    const std::string serve = "--serve: '" + text + "' ";
    if (is_number(text, ":0123456789abcdefABCDEF") && std::count(text.begin(), text.end(), ':') > 1)
        throw UsageFailure(serve + "is an IPv6 address without brackets; write [::1]:8080");
    Address address;
    const auto parts = is_number(text) ? HostAndPort{address.host, text} : split(text);
    if (!parts || !is_number(parts->port))
        throw UsageFailure(serve + "is not [HOST:]PORT; write 8080, or 0.0.0.0:8080 for all "
                                   "IPv4 addresses of this computer");
    if (parts->port.size() > 5 || std::stoi(parts->port) > kHighestPort)
        throw UsageFailure(serve + "is out of range: ports are 0 ... " +
                           std::to_string(kHighestPort));
    address.host = parts->host;
    address.port = std::stoi(parts->port);
    return address;
}

ListeningSocket::ListeningSocket(const Address &address)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo *list = nullptr;
    const int unknown =
        getaddrinfo(address.host.c_str(), std::to_string(address.port).c_str(), &hints, &list);
    if (unknown != 0)
        throw Failure("--serve: '" + address.host +
                      "' is not an address of this computer: " + gai_strerror(unknown));
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> first(list, freeaddrinfo);
    descriptor_ =
        Descriptor(socket(first->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int listener = descriptor_.get();
    const int on = 1;
    // So that old connections of a server that has just ended do not block the port.
    if (!descriptor_.is_open() ||
        setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(listener, first->ai_addr, first->ai_addrlen) != 0 || listen(listener, kBacklog) != 0)
        fail(address, errno);
    is_loopback_ = is_loopback(first->ai_addr);
    const std::string own = host_name();
    names_ = {"localhost", address.host};
    if (!is_loopback_)
        names_.insert(names_.end(), {own, own + ".local"});
    const std::string host = is_any(address.host) ? own : address.host;
    url_ = "http://" + (host.find(':') == std::string::npos ? host : '[' + host + ']') + ':' +
           std::to_string(port_of(listener)) + '/';
}

bool is_own_name(const std::string &header, const std::vector<std::string> &names)
{
    const std::optional<HostAndPort> parts = split(header);
    if (!parts || (!parts->port.empty() && !is_number(parts->port)))
        return false;
    return is_numeric_host(parts->host) ||
           std::any_of(names.begin(), names.end(), [&parts](const std::string &name) {
               return strcasecmp(name.c_str(), parts->host.c_str()) == 0;
           });
}
