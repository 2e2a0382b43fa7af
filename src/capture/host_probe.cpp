#include "capture/host_probe.h"

#include "capture/ffmpeg_library.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tess {

HostPort NetworkHost(const CameraSource& source) {
    const FfmpegLibrary* ffmpeg = Ffmpeg();
    if (!ffmpeg || (source.kind != CameraKind::Rtsp && source.kind != CameraKind::Http)) return {};
    char protocol[16] = {}, auth[256] = {}, host[256] = {}, path[8] = {};
    int port = -1;
    ffmpeg->av_url_split(protocol, sizeof protocol, auth, sizeof auth, host, sizeof host, &port,
                         path, sizeof path, source.address.c_str());
    if (port <= 0) {
        if (strcasecmp(protocol, "rtsp") == 0)
            port = 554;
        else if (strcasecmp(protocol, "https") == 0)
            port = 443;
        else
            port = 80;
    }
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) != 0) return {};
    freeaddrinfo(found);
    return {host, port};
}

bool Accepts(const HostPort& host, std::chrono::milliseconds timeout) {
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const std::string port = std::to_string(host.port);
    if (getaddrinfo(host.host.c_str(), port.c_str(), &hints, &found) != 0) return false;
    bool ok = false;
    const int fd = ::socket(found->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd >= 0) {
        if (::connect(fd, found->ai_addr, found->ai_addrlen) == 0) {
            ok = true;
        } else if (errno == EINPROGRESS) {
            pollfd waiting{fd, POLLOUT, 0};
            int error = 0;
            socklen_t length = sizeof error;
            ok = ::poll(&waiting, 1, static_cast<int>(timeout.count())) == 1 &&
                 ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) == 0 && error == 0;
        }
        ::close(fd);
    }
    freeaddrinfo(found);
    return ok;
}

} // namespace tess
