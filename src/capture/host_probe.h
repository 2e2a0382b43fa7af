#pragma once

// Whether a network camera's host takes TCP connections: a cheap question asked while a
// lost camera waits for its next whole attempt.

#include "capture/camera_source.h"

#include <chrono>
#include <string>

namespace tess {

struct HostPort {
    std::string host; // empty: not a network camera, or a name (not probed: a name lookup
                      // could block on a dead DNS server)
    int port = 0;
};

HostPort NetworkHost(const CameraSource& source);
// True when a connection to the numeric address succeeds within `timeout`.
bool Accepts(const HostPort& host, std::chrono::milliseconds timeout);

} // namespace tess
