#pragma once

// A TCP port on 127.0.0.1 that nothing listens on, for a server another process will open.
// It is taken below the kernel's ephemeral range: a port from bind(0) is free only until the
// next outgoing connection of any test running beside this one is given it as its own.

#include <cstdint>

namespace tess::test {

std::uint16_t FreePort();

} // namespace tess::test
