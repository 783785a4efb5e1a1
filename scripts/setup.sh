#!/usr/bin/env bash
# Installs what Plumeo needs on Debian bookworm. Idempotent: quick when everything is present.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  qt6-base-dev qt6-base-dev-tools qt6-pdf-dev libqt6svg6 qt6-qpa-plugins
  libgl-dev libxkbcommon-dev
  libicu-dev libsynctex-dev zlib1g-dev
  libhunspell-dev hunspell-en-us
  texlive-latex-base texlive-binaries texlive-xetex texlive-latex-recommended
  texlive-fonts-recommended cm-super
  libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-14-dev
  fonts-dejavu-core xvfb xauth
  desktop-file-utils appstream
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed$'; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

# TeX Live on Debian puts its programs in /usr/bin; the editor's default TeX folder is /usr/texbin.
if [ ! -e /usr/texbin ]; then
  sudo=""
  if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
  $sudo ln -s /usr/bin /usr/texbin
fi
