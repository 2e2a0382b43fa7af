#pragma once

#include <string_view>

namespace tess {

class Application;
class Portfolio;

// Lets the running program's portfolio serve the web: its server runs on the event loop with
// the program's clock, finds canvases in the portfolio and shows a listening failure through
// the user interface. Call it before the portfolio loads, so that the server starts with
// the loaded port and folder. Does nothing outside the running program (the file commands
// never listen).
void HostWebServer(Application& app, Portfolio& portfolio);

// With --require-web, a portfolio whose web server is not listening ends the program with
// kExitWebFailed once the event loop runs; true when it does.
bool EndUnlessWebListens(Application& app);

} // namespace tess
