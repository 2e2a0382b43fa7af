#!/usr/bin/env bash
# The installed tree: `cmake --install` into a scratch DESTDIR holds the program, the man
# page, the demo and the systemd unit, the unit passes `systemd-analyze verify`, and the
# installed program runs the installed demo.
set -euo pipefail
build=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
fail() { echo "check-install: $*" >&2; exit 1; }

DESTDIR=$scratch/dest cmake --install "$build" --prefix /usr >/dev/null
root=$scratch/dest
[ -x "$root/usr/bin/tessarolle" ] || fail "no program in usr/bin"
"$root/usr/bin/tessarolle" --version | grep -q '^Tessarolle ' || fail "--version"
man=$root/usr/share/man/man1/tessarolle.1
[ -f "$man" ] || fail "no man page"
warnings=$(groff -man -Tutf8 -ww -z "$man" 2>&1) || fail "man page: $warnings"
[ -z "$warnings" ] || fail "man page: $warnings"
for file in demo.por hillcam.can thumbnail.can Tessarolle.INI web/index.htm; do
    [ -f "$root/usr/share/tessarolle/demo/$file" ] || fail "no demo file $file"
done
[ ! -e "$root/usr/share/tessarolle/demo/make-pictures.sh" ] || fail "the demo's maker installed"
[ -f "$root/usr/lib/sysusers.d/tessarolle.conf" ] || fail "no sysusers file"

unit=$root/usr/lib/systemd/system/tessarolle@.service
[ -f "$unit" ] || fail "no unit"
for line in 'ExecStart=/usr/bin/tessarolle --headless' 'User=tessarolle' \
    'Restart=on-failure' 'ProtectSystem=strict' 'NoNewPrivileges=yes' \
    'StateDirectory=tessarolle/%i' 'WorkingDirectory=/var/lib/tessarolle/%i' \
    'ExecReload=/bin/kill -HUP $MAINPID' 'Environment=XDG_DATA_HOME=/var/lib/tessarolle/%i'; do
    grep -qxF "$line" "$unit" || fail "the unit lacks '$line'"
done

# Another prefix, without DESTDIR: the unit names the program where it really is, so that
# systemd-analyze can check the whole unit, the program's path included.
cmake --install "$build" --prefix "$scratch/opt" >/dev/null
grep -qxF "ExecStart=$scratch/opt/bin/tessarolle --headless" \
    "$scratch/opt/lib/systemd/system/tessarolle@.service" || fail "the unit ignores --prefix"
verify=$(systemd-analyze verify --man=no "$scratch/opt/lib/systemd/system/tessarolle@.service" 2>&1) ||
    fail "systemd-analyze verify: $verify"
[ -z "$verify" ] || fail "systemd-analyze verify: $verify"

# The installed demo runs and makes its picture (a loaded machine may take a while).
cp -r "$root/usr/share/tessarolle/demo" "$scratch/site"
"$root/usr/bin/tessarolle" -C "$scratch/site" run demo.por --for 60 --headless \
    2>"$scratch/site.err" &
demo=$!
for _ in $(seq 300); do
    [ -f "$scratch/site/images/hillcam.jpg" ] && break
    kill -0 $demo 2>/dev/null || break
    sleep 0.1
done
kill -TERM $demo 2>/dev/null || true
wait $demo || fail "the installed demo did not run: $(cat "$scratch/site.err")"
[ -f "$scratch/site/images/hillcam.jpg" ] || fail "the installed demo made no picture"
# The desktop background under the unit: the user's home is read-only there (a plain file
# stands in for it here), and the unit's environment puts the pictures in the site's folder.
"$root/usr/bin/tessarolle" -C "$scratch/site" canvas set hillcam.can Background \
    BackgroundEnabled True >/dev/null || fail "canvas set"
"$root/usr/bin/tessarolle" -C "$scratch/site" canvas set hillcam.can Background \
    BackgroundRate 1 >/dev/null || fail "canvas set"
data=$(sed -n 's/^Environment=XDG_DATA_HOME=//p' "$unit")
touch "$scratch/not-a-home"
env -u DISPLAY -u WAYLAND_DISPLAY HOME="$scratch/not-a-home" \
    XDG_DATA_HOME="${data//\/var\/lib\/tessarolle\/%i/$scratch/site}" \
    "$root/usr/bin/tessarolle" -C "$scratch/site" run demo.por --for 60 --headless \
    2>"$scratch/wallpaper.err" &
demo=$!
wallpaper=$scratch/site/tessarolle/TessarolleWallPaper.jpg
for _ in $(seq 300); do
    [ -f "$wallpaper" ] && break
    kill -0 $demo 2>/dev/null || break
    sleep 0.1
done
kill -TERM $demo 2>/dev/null || true
wait $demo || fail "the demo with a wallpaper ended: $(cat "$scratch/wallpaper.err")"
[ -f "$wallpaper" ] || fail "no wallpaper in the site's folder: $(cat "$scratch/wallpaper.err")"
echo "check-install: ok"
