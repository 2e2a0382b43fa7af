#pragma once

namespace tess {

class Application;

// Saves the open portfolio and its changed canvases (every canvas when `force_all`); a
// portfolio without a file name is first given one.
void SaveAllProc(Application& app, bool force_all);

} // namespace tess
