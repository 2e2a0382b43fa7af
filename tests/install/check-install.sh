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

# Runs the installed demo (with `env` settings first) until FILE appears, then stops it:
# run_demo_until FILE ERRORS [NAME=VALUE...]. A loaded machine may take a while.
run_demo_until() {
    local file=$1 errors=$2
    shift 2
    env -u DISPLAY -u WAYLAND_DISPLAY "$@" "$root/usr/bin/tessarolle" -C "$scratch/site" \
        run demo.por --for 60 --headless 2>"$errors" &
    local demo=$!
    for _ in $(seq 300); do
        [ -f "$file" ] && break
        kill -0 $demo 2>/dev/null || break
        sleep 0.1
    done
    kill -TERM $demo 2>/dev/null || true
    wait $demo
}

cp -r "$root/usr/share/tessarolle/demo" "$scratch/site"
run_demo_until "$scratch/site/images/hillcam.jpg" "$scratch/site.err" ||
    fail "the installed demo did not run: $(cat "$scratch/site.err")"
[ -f "$scratch/site/images/hillcam.jpg" ] || fail "the installed demo made no picture"

# The desktop background under the unit: the user's home is read-only there (a plain file
# stands in for it here), and the unit's environment puts the pictures in the site's folder.
for setting in "BackgroundEnabled True" "BackgroundRate 1"; do
    # shellcheck disable=SC2086
    "$root/usr/bin/tessarolle" -C "$scratch/site" canvas set hillcam.can Background $setting \
        >/dev/null || fail "canvas set $setting"
done
data=$(sed -n 's/^Environment=XDG_DATA_HOME=//p' "$unit")
touch "$scratch/not-a-home"
wallpaper=$scratch/site/tessarolle/TessarolleWallPaper.jpg
run_demo_until "$wallpaper" "$scratch/wallpaper.err" HOME="$scratch/not-a-home" \
    XDG_DATA_HOME="${data//\/var\/lib\/tessarolle\/%i/$scratch/site}" ||
    fail "the demo with a wallpaper ended: $(cat "$scratch/wallpaper.err")"
[ -f "$wallpaper" ] || fail "no wallpaper in the site's folder: $(cat "$scratch/wallpaper.err")"
echo "check-install: ok"
