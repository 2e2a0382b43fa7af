#pragma once

namespace tess {

class Application;
class Portfolio;

// Gives a portfolio of the running program what its update ticks reach outside it: the text
// renderer, the time zone, URL downloads on the event loop, the desktop background, the
// application's running flag, and its web server (see HostWebServer). Call it before the
// portfolio loads. Does nothing outside the running program: the file commands only edit
// files.
void HostPortfolio(Application& app, Portfolio& portfolio);

} // namespace tess
