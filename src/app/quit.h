#pragma once

namespace tess {

class Application;

// The way out that closing the main window takes: the script's Shutdown event, the offer to
// save, then modMain_Shutdown. Returns false when the user chose Cancel, which keeps the
// program running.
bool RequestQuit(Application& app);

// Shuts down in order, never saving documents by itself and ignoring every failure so that
// it always completes.
void modMain_Shutdown(Application& app);

} // namespace tess
