// Preloaded into a program under test to kill it with SIGKILL at a chosen file-system call,
// the way a power cut or the OOM killer would stop it there:
//   TESS_KILL_CALL  the call: open (for writing), rename, unlink
//   TESS_KILL_PATH  a part of the path the call must name
//   TESS_KILL_AT    which matching call kills (1 the first)
// The process dies before the call is made.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static int seen;

static void MaybeDie(const char* call, const char* path) {
    const char* want_call = getenv("TESS_KILL_CALL");
    const char* want_path = getenv("TESS_KILL_PATH");
    const char* at = getenv("TESS_KILL_AT");
    if (!want_call || !want_path || !at || !path) return;
    if (strcmp(want_call, call) != 0 || !strstr(path, want_path)) return;
    if (++seen == atoi(at)) kill(getpid(), SIGKILL);
}

static void MaybeDieOpening(const char* path, int flags) {
    if ((flags & O_ACCMODE) != O_RDONLY || (flags & O_CREAT)) MaybeDie("open", path);
}

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

int open(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    mode_t mode = va_arg(args, mode_t);
    va_end(args);
    MaybeDieOpening(path, flags);
    return REAL(open)(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    mode_t mode = va_arg(args, mode_t);
    va_end(args);
    MaybeDieOpening(path, flags);
    return REAL(open64)(path, flags, mode);
}

int openat(int dir, const char* path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    mode_t mode = va_arg(args, mode_t);
    va_end(args);
    MaybeDieOpening(path, flags);
    return REAL(openat)(dir, path, flags, mode);
}

int rename(const char* from, const char* to) {
    MaybeDie("rename", to);
    return REAL(rename)(from, to);
}

int renameat(int from_dir, const char* from, int to_dir, const char* to) {
    MaybeDie("rename", to);
    return REAL(renameat)(from_dir, from, to_dir, to);
}

int unlink(const char* path) {
    MaybeDie("unlink", path);
    return REAL(unlink)(path);
}

int remove(const char* path) {
    MaybeDie("unlink", path);
    return REAL(remove)(path);
}
