#!/usr/bin/env bash
# The Debian package: built from the build folder, checked with Debian's own tools, unpacked into a
# temporary root and started from there, with a temporary home for the first-start copy of the symbol
# database. Usage: package_test.sh BUILD_FOLDER
set -euo pipefail
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAILED: $*" >&2; exit 1; }

cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/out" >"$work/cpack.log" 2>&1 ||
    { cat "$work/cpack.log"; fail "cpack could not build the package"; }
debs=("$work"/out/ticksmith_*.deb)
deb=${debs[0]}
[ -f "$deb" ] || fail "no package in $work/out"
echo "Package: $(basename "$deb")"

outside=$(dpkg-deb --contents "$deb" | awk '{print $6}' | grep -Ev '^\./(usr/.*)?$' || true)
[ -z "$outside" ] || fail "files outside /usr: $outside"
dpkg-deb --field "$deb" Depends | grep -q 'libqt6widgets6' || fail "the dependencies lack Qt: $(dpkg-deb --field "$deb" Depends)"

# Run as root in CI, lintian says it would rather not; that line is no finding.
if ! lintian --fail-on error "$deb" >"$work/lintian.log" 2>&1; then
    grep -v 'root privileges' "$work/lintian.log"
    fail "lintian reports errors"
fi
grep -v 'root privileges' "$work/lintian.log" || true

root=$work/root
dpkg -x "$deb" "$root"
desktop-file-validate "$root"/usr/share/applications/*.desktop || fail "desktop entry"
appstreamcli validate --no-net "$root"/usr/share/metainfo/*.metainfo.xml || fail "AppStream metadata"

"$root/usr/bin/ticksmith-cli" --version | grep -q '^ticksmith-cli ' || fail "ticksmith-cli --version"
QT_QPA_PLATFORM=offscreen "$root/usr/bin/ticksmith" --version | grep -q '^ticksmith ' || fail "ticksmith --version"

# First start with a user who has nothing yet: the database is copied to the per-user data folder.
home=$work/home
mkdir -p "$home"
env -u XDG_DATA_HOME -u XDG_CONFIG_HOME -u TICKSMITH_HOME HOME="$home" "$root/usr/bin/ticksmith" --paths ||
    fail "ticksmith --paths"
copy=$home/.local/share/Ticksmith/Ticksmith/symbols.mdb
cmp -s "$copy" "$root/usr/share/ticksmith/symbols.mdb" || fail "no per-user copy of the database at $copy"
echo "The package builds, passes lintian and starts from $root"
