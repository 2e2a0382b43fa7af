#pragma once

// Where an FTP push goes: the server setting of a push is a bare host name (plain FTP on port
// 21) or a URL with a scheme and maybe a port: ftp://, ftps:// (TLS from the first byte),
// ftpes:// (plain connection switched to TLS before logging in) or sftp:// (SSH).

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tess {

enum class FtpProtocol { Ftp, Ftps, Ftpes, Sftp };

struct FtpAddress {
    FtpProtocol protocol = FtpProtocol::Ftp;
    std::string host; // as curl wants it in a URL: an IPv6 address keeps its brackets
    std::uint16_t port = 21;

    // scheme://host:port, the prefix of every URL of this server.
    std::string Base() const;
    bool Secure() const { return protocol != FtpProtocol::Ftp; }
};

// Null for a server text that is empty, has an unknown scheme, a bad port, a user part,
// blanks or control characters in it.
std::optional<FtpAddress> ParseFtpAddress(std::string_view server);

// Percent-encodes what a URL path may not hold as it is; "/" is kept.
std::string EscapeUrlPath(std::string_view path);

} // namespace tess
