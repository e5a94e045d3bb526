#!/usr/bin/env bash
# Installs the Debian packages Ticksmith needs to build, test and run.
# Does nothing when every package is already present.
set -euo pipefail

PKGS=(g++ cmake ninja-build pkgconf make qt6-base-dev libx11-dev libsqlcipher-dev libgtest-dev fonts-dejavu-core xvfb xauth
      dpkg-dev help2man lintian desktop-file-utils appstream)

missing=()
for p in "${PKGS[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
((${#missing[@]})) || exit 0

echo "Installing: ${missing[*]}"
sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get -o DPkg::Lock::Timeout=120 update -qq
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=120 install -y -qq \
    --no-install-recommends "${missing[@]}"
