#!/usr/bin/env bash
# Sets everything up, builds a release and installs Plumeo with its desktop entry, icons and
# AppStream data: install.sh [PREFIX]   (default ~/.local, which needs no root)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
prefix=${1:-$HOME/.local}
"$root/scripts/setup.sh"
"$root/scripts/build.sh" build-release -DCMAKE_BUILD_TYPE=Release -DPLUMEO_BUILD_TESTS=OFF -DPLUMEO_BUILD_BENCHMARKS=OFF
cmake --install "$root/build-release" --prefix "$prefix"
# Desktops read these caches; refreshing them makes Plumeo show up without logging out.
if command -v update-desktop-database >/dev/null; then
  update-desktop-database -q "$prefix/share/applications" || true
fi
if command -v gtk-update-icon-cache >/dev/null && [ -f "$prefix/share/icons/hicolor/index.theme" ]; then
  gtk-update-icon-cache -q -t "$prefix/share/icons/hicolor" || true
fi
case ":$PATH:" in
  *":$prefix/bin:"*) ;;
  *) echo "Note: $prefix/bin is not on your PATH; the desktop entry starts \"plumeo\" from there." ;;
esac
