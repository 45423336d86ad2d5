#!/usr/bin/env bash
# choice_test.sh SOURCE_DIR COMPILER [STEPS MODE EXPECTED]...: configures this repository, in one build
# folder, with MODE for CORVEX_TINYALSA and after STEPS, and looks for EXPECTED (a regular
# expression) in what it says of tinyalsa. EXPECTED begins with "refused:" where configuring has to fail.
#
# A step is a release, which is installed, or what is then taken from it or changed.
set -euo pipefail
source=$1 compiler=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

prefix=$scratch/installed
unset PKG_CONFIG_PATH
build_stand_in() { "$compiler" -std=gnu++17 -I"$prefix/include" -I"$source" "$here/library.cpp" "$@"; }
take_step() {
  case $1 in
    nothing) rm -rf "$prefix" ;;
    without-pc) rm -r "$prefix/lib/pkgconfig" ;;
    without-library) rm "$prefix/lib/libtinyalsa.so" ;;
    without-function) build_stand_in -Dpcm_read=pcm_other -fPIC -shared -o "$prefix/lib/libtinyalsa.so" ;;
    static)
      rm "$prefix/lib/libtinyalsa.so"
      build_stand_in -fno-pic -c -o "$scratch/library.o"
      ar rc "$prefix/lib/libtinyalsa.a" "$scratch/library.o"
      ;;
    *) "$here/make_release.sh" "$1" "$prefix" "$compiler" ;;
  esac
}

# configure MODE EXPECTED
configure() {
  local said status=0
  said=$(CMAKE_PREFIX_PATH=$prefix cmake -S "$source" -B "$scratch/build" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCORVEX_BUILD_TESTS=OFF -DCORVEX_BUILD_TOOLS=OFF -DCORVEX_BUILD_SERVICE=OFF \
    -DCORVEX_TINYALSA="$1" 2>&1) || status=$?
  [[ $status -eq 0 ]] || said="refused:${said//$'\n'/ }"
  if ! grep -qE "$2" <<<"$said"; then
    echo "$1: no match for '$2' in:"
    echo "$said"
    exit 1
  fi
}

while [[ $# -gt 0 ]]; do
  for step in $1; do
    take_step "$step"
  done
  configure "$2" "$3"
  shift 3
done
