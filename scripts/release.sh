#!/usr/bin/env bash
# Builds the plug-in for both platforms and packs one release archive per
# platform into out/: the module and the README.
#   out/KW_Palisorne-<version>-linux-x86_64.tar.gz   KW_Palisorne.so, README.md
#   out/KW_Palisorne-<version>-windows-x64.zip       KW_Palisorne.dll, README.md
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
version=$(sed -n 's/^project(KW_Palisorne VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
out=$root/out
linux=${BUILD_DIR:-$root/build}
windows=${WINDOWS_BUILD_DIR:-$root/build-windows}

BUILD_DIR=$linux BUILD_TARGET=KW_Palisorne bash "$root/scripts/build.sh"
BUILD_DIR=$windows BUILD_TARGET=KW_Palisorne bash "$root/scripts/build-windows.sh"

pack() # <archive> <cmake -E tar mode> <format> <module>
{
  local staging
  staging=$(mktemp -d)
  trap 'rm -rf "$staging"' RETURN
  local folder=$staging/KW_Palisorne-$version
  mkdir -p "$folder"
  cp "$4" "$root/README.md" "$folder/"
  (cd "$staging" && cmake -E tar "$2" "$1.part" --format="$3" "KW_Palisorne-$version")
  mv "$1.part" "$1"
  echo "$1"
}

mkdir -p "$out"
pack "$out/KW_Palisorne-$version-linux-x86_64.tar.gz" czf gnutar "$linux/shell/KW_Palisorne.so"
pack "$out/KW_Palisorne-$version-windows-x64.zip" cf zip "$windows/shell/KW_Palisorne.dll"
