#!/usr/bin/env bash
# Installs a build into a fresh temporary prefix and checks what a desktop reads from it:
# check-desktop-install.sh BUILD_FOLDER VERSION
set -euo pipefail
build=$1
version=$2
id=org.plumeo.Plumeo
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

cmake --install "$build" --prefix "$prefix" >/dev/null

expected=(bin/plumeo bin/plumeo-cli "share/applications/$id.desktop" "share/metainfo/$id.metainfo.xml"
  "share/icons/hicolor/scalable/apps/$id.svg")
for size in 16 22 24 32 48 64 128 256 512; do
  expected+=("share/icons/hicolor/${size}x${size}/apps/$id.png")
done
for file in "${expected[@]}"; do
  [ -f "$prefix/$file" ] || { echo "missing after install: $file"; exit 1; }
done
[ -x "$prefix/bin/plumeo" ] && [ -x "$prefix/bin/plumeo-cli" ]

desktop-file-validate "$prefix/share/applications/$id.desktop"
appstreamcli validate --no-net "$prefix/share/metainfo/$id.metainfo.xml"
grep -q "<release version=\"$version\"" "$prefix/share/metainfo/$id.metainfo.xml" \
  || { echo "the metainfo file does not name version $version"; exit 1; }

# --help and --version answer without a display and without starting the editor.
out=$(env -u DISPLAY -u WAYLAND_DISPLAY "$prefix/bin/plumeo" --version)
[ "$out" = "plumeo $version" ] || { echo "plumeo --version printed: $out"; exit 1; }
env -u DISPLAY -u WAYLAND_DISPLAY "$prefix/bin/plumeo" --help | grep -q -- '--new-instance' \
  || { echo "plumeo --help does not list its options"; exit 1; }
echo "installed and valid: $prefix"
