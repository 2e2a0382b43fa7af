#include "publish/ftp_address.h"

#include <cctype>
#include <charconv>

#include <fmt/format.h>

namespace tess {

namespace {

struct Scheme {
    std::string_view prefix;
    FtpProtocol protocol;
    std::uint16_t port;
};

constexpr Scheme kSchemes[] = {
    {"ftp://", FtpProtocol::Ftp, 21},
    {"ftps://", FtpProtocol::Ftps, 990},
    {"ftpes://", FtpProtocol::Ftpes, 21},
    {"sftp://", FtpProtocol::Sftp, 22},
};

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) return false;
    for (std::size_t i = 0; i < prefix.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(text[i])) != prefix[i]) return false;
    return true;
}

bool HostCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == '-' || c == '_';
}

bool ValidHost(std::string_view host) {
    if (host.empty()) return false;
    if (host.front() == '[') {
        if (host.size() < 3 || host.back() != ']') return false;
        for (char c : host.substr(1, host.size() - 2))
            if (!std::isxdigit(static_cast<unsigned char>(c)) && c != ':' && c != '.') return false;
        return true;
    }
    for (char c : host)
        if (!HostCharacter(c)) return false;
    return true;
}

} // namespace

std::string FtpAddress::Base() const {
    // Explicit TLS starts as plain FTP; curl is told separately to require TLS.
    const char* scheme = protocol == FtpProtocol::Ftps   ? "ftps"
                         : protocol == FtpProtocol::Sftp ? "sftp"
                                                         : "ftp";
    return fmt::format("{}://{}:{}", scheme, host, port);
}

std::optional<FtpAddress> ParseFtpAddress(std::string_view server) {
    FtpAddress address;
    for (const Scheme& scheme : kSchemes) {
        if (!StartsWithNoCase(server, scheme.prefix)) continue;
        server.remove_prefix(scheme.prefix.size());
        address.protocol = scheme.protocol;
        address.port = scheme.port;
        break;
    }
    if (server.find("://") != std::string_view::npos) return std::nullopt;
    if (!server.empty() && server.back() == '/') server.remove_suffix(1);
    std::string_view host = server;
    std::size_t colon = server.rfind(':');
    if (colon != std::string_view::npos && server.find(']', colon) == std::string_view::npos) {
        std::string_view digits = server.substr(colon + 1);
        unsigned port = 0;
        auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
        if (ec != std::errc() || end != digits.data() + digits.size() || port == 0 || port > 65535)
            return std::nullopt;
        address.port = static_cast<std::uint16_t>(port);
        host = server.substr(0, colon);
    }
    if (!ValidHost(host)) return std::nullopt;
    address.host = std::string(host);
    return address;
}

std::string EscapeUrlPath(std::string_view path) {
    std::string out;
    for (char c : path) {
        auto u = static_cast<unsigned char>(c);
        if (std::isalnum(u) || c == '/' || c == '-' || c == '.' || c == '_' || c == '~')
            out += c;
        else
            out += fmt::format("%{:02X}", u);
    }
    return out;
}

} // namespace tess
