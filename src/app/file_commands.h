#pragma once

// The File menu's portfolio and canvas commands. They act on the application's open
// portfolio and talk to the user only through its UserInterface. Each returns true when it
// did what was asked, false when the user cancelled, nothing was open, or a file could not
// be written (which the user is told).

namespace tess {

class Application;

bool PortfolioNew(Application& app);
bool PortfolioOpen(Application& app);
// Saves the portfolio file (not the canvases); one never saved is first given a name.
bool PortfolioSave(Application& app);
bool PortfolioSaveAs(Application& app);
// Saves the portfolio file and its changed canvases (every open canvas when `force_all`);
// a portfolio without a file name is first given one.
bool SaveAllProc(Application& app, bool force_all);

bool CanvasNew(Application& app);
bool CanvasOpen(Application& app);
// These act on the portfolio's active canvas.
bool CanvasSave(Application& app);
bool CanvasSaveAs(Application& app);
bool CanvasRemove(Application& app);
// Asks for a canvas file for the slot and writes the canvas there; a new canvas is first
// given its defaults and refuses a file that exists already.
bool CanvasSaveAsProc(Application& app, int slot, bool new_canvas);

} // namespace tess
