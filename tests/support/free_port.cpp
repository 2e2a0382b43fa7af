#include "support/free_port.h"

#include <fstream>
#include <netinet/in.h>
#include <random>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace tess::test {

namespace {

// The first port the kernel hands out for bind(0) and outgoing connections.
int EphemeralLow() {
    std::ifstream range("/proc/sys/net/ipv4/ip_local_port_range");
    int low = 0;
    return range >> low && low > 2048 ? low : 32768;
}

bool Bindable(std::uint16_t port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0) return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const bool free = ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    ::close(fd);
    return free;
}

} // namespace

std::uint16_t FreePort() {
    // Tests run side by side in separate processes: a random start keeps them apart.
    static std::mt19937 random(std::random_device{}() ^ static_cast<unsigned>(::getpid()));
    const int low = 10000, high = EphemeralLow() - 1;
    std::uniform_int_distribution<int> pick(low, high);
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const auto port = static_cast<std::uint16_t>(pick(random));
        if (Bindable(port)) return port;
    }
    throw std::runtime_error("no free TCP port below the ephemeral range");
}

} // namespace tess::test
