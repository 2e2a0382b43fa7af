#pragma once

// Every exit status of the program, in one place so that the README's table and the code
// cannot drift apart.

namespace tess {

inline constexpr int kExitOk = 0;
// The command could not do what was asked: a file could not be written, a question was
// answered Cancel, a dialog's file was missing.
inline constexpr int kExitNotDone = 1;
// The command line was wrong, or a file it names is missing or unreadable.
inline constexpr int kExitUsage = 2;
// The program already runs in this folder (it holds Tessarolle.lock).
inline constexpr int kExitAlreadyRunning = 3;
// --require-web was given and the web server could not listen (or is switched off).
inline constexpr int kExitWebFailed = 4;
// `check` found problems in the site's files (each printed on its own line).
inline constexpr int kExitProblemsFound = 5;
// An unexpected failure ended in the "Error Debug Report".
inline constexpr int kExitErrorReport = 70;

} // namespace tess
