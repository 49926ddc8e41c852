#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the benchmarks need.
# Idempotent: packages already present are not fetched again.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  clang libclang-rt-14-dev
  libsndfile1-dev libebur128-dev libcli11-dev nlohmann-json3-dev
  dpf-source libcairo2-dev libx11-dev libxext-dev libxrandr-dev libxcursor-dev
  xvfb x11-utils xdotool libxtst-dev fonts-dejavu-core
  sox lsp-plugins-vst zam-plugins
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64 wine wine64
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
