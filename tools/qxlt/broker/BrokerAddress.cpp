#include "BrokerAddress.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

#include "Failure.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::uint16_t kPlainPort = 1883;
constexpr std::uint16_t kSecurePort = 8883;
constexpr std::size_t kLongestPrefix = 256;  // some brokers take topics of a few thousand bytes only
constexpr std::size_t kLongestHost = 253;    // as names of hosts go

[[noreturn]] void Refuse(const std::string& text, const std::string& problem) {
    throw Failure(kCannotStart, "\"" + text + "\" is no broker's address: " + problem +
                                    "; write mqtt[s]://[USER@]HOST[:PORT]/PREFIX");
}

// What stands before the separator, which is taken off with it; nothing is taken where there is none.
std::string_view TakeBefore(std::string_view& rest, char separator) {
    const std::size_t end = rest.find(separator);
    if (end == std::string_view::npos) return {};
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    return taken;
}

std::uint16_t ReadPort(std::string_view text, const std::string& whole) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port == 0) {
        Refuse(whole, "its port is no number from 1 to 65535");
    }
    return port;
}

// Splits off the host, which stands in brackets where it holds colons itself; the port is left, with its colon.
std::string_view TakeHost(std::string_view& rest, const std::string& whole) {
    if (!rest.empty() && rest.front() == '[') {
        rest.remove_prefix(1);
        const std::string_view host = TakeBefore(rest, ']');
        if (host.empty() || (!rest.empty() && rest.front() != ':')) Refuse(whole, "its host ends without ]");
        return host;
    }
    const std::string_view host = rest.substr(0, rest.find(':'));
    rest.remove_prefix(host.size());
    return host;
}

bool IsPlain(char byte) {
    return static_cast<unsigned char>(byte) > ' ' && byte != '\x7f';
}

void RequireHost(std::string_view host, const std::string& whole) {
    if (host.empty()) Refuse(whole, "it has no host");
    if (host.size() > kLongestHost || !std::all_of(host.begin(), host.end(), IsPlain)) {
        Refuse(whole, "its host is no name of one");
    }
}

// A level that is empty or begins with $, and wildcards, mean something else to brokers.
void RequirePrefix(std::string_view prefix, const std::string& whole) {
    if (prefix.empty()) Refuse(whole, "it has no prefix for the topics");
    if (prefix.size() > kLongestPrefix) Refuse(whole, "its prefix has more than 256 bytes");
    if (prefix.front() == '$') Refuse(whole, "its prefix begins with $, as a broker's own topics do");
    if (prefix.find_first_of("+#") != std::string_view::npos) Refuse(whole, "its prefix holds a wildcard");
    if (!std::all_of(prefix.begin(), prefix.end(), IsPlain) || !IsUtf8(prefix)) {
        Refuse(whole, "its prefix holds a blank, or what is no text");
    }
    const bool hasEmptyLevel =
        prefix.front() == '/' || prefix.back() == '/' || prefix.find("//") != std::string_view::npos;
    if (hasEmptyLevel) Refuse(whole, "a level of its prefix is empty");
}

}  // namespace

BrokerAddress ReadBrokerAddress(const std::string& text) {
    std::string_view rest = text;
    const std::string_view scheme = TakeBefore(rest, ':');
    if ((scheme != "mqtt" && scheme != "mqtts") || rest.substr(0, 2) != "//") {
        Refuse(text, "it begins with neither mqtt:// nor mqtts://");
    }
    rest.remove_prefix(2);
    std::string_view place = rest.substr(0, rest.find('/'));
    const std::string_view prefix = rest.substr(std::min(rest.size(), place.size() + 1));
    const std::string user(TakeBefore(place, '@'));
    // Without the text: it would show the password once more.
    if (user.find(':') != std::string::npos) {
        throw Failure(kCannotStart,
                      "others see the password that stands in an address; write it to a file for "
                      "--credentials");
    }
    const std::string_view host = TakeHost(place, text);
    RequireHost(host, text);
    RequirePrefix(prefix, text);
    const bool isSecure = scheme == "mqtts";
    const std::uint16_t usual = isSecure ? kSecurePort : kPlainPort;
    const std::uint16_t port = place.empty() ? usual : ReadPort(place.substr(1), text);
    return {isSecure, user, std::string(host), port, std::string(prefix)};
}

std::string BrokerText(const BrokerAddress& address) {
    const bool hasColon = address.host.find(':') != std::string::npos;
    return std::string(address.isSecure ? "mqtts://" : "mqtt://") +
           (hasColon ? "[" + address.host + "]" : address.host) + ":" + std::to_string(address.port) + "/" +
           address.prefix;
}

}  // namespace qxlt
