#!/usr/bin/env bash
# usage: cross/run.sh ARCH PACKAGE...
#
# Builds everything for another processor over a root of these packages, and runs the tests there.
# All that it makes is in build/cross/ARCH.
set -euo pipefail
cd "$(dirname "$0")/.."

arch=$1
shift
folder=$PWD/build/cross/$arch
build=$folder/build
left_out=cross/not_under_emulation.txt

die() {
  printf 'dev: %s\n' "$*" >&2
  exit 1
}

cross/root.sh "$arch" "$folder" "$@"
# An emulated test takes about ten times as long.
cmake -S . -B "$build" -G Ninja --toolchain cross/toolchain.cmake \
  -DCORVEX_CROSS_ARCH="$arch" -DCORVEX_CROSS_ROOT="$folder/root" -DCORVEX_TEST_TIMEOUT_S=1200 \
  -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
cmake --build "$build"

tests=$(ctest --test-dir "$build" -N | sed -n 's/^ *Test *#[0-9]*: //p')
excluded=()
# The whole programs leave the same tests out: GoogleTest reads this where no filter is given.
GTEST_FILTER=-
while read -r processor name reason; do
  [[ -n $processor && $processor != \#* ]] || continue
  [[ $processor =~ ^(armhf|arm64|i386)$ && -n $reason ]] ||
    die "$left_out: '$processor $name $reason' is not PROCESSOR TEST REASON"
  grep -qxF -- "$name" <<<"$tests" ||
    die "$left_out names the test $name, which is not there; correct or remove that line"
  [[ $processor == "$arch" ]] || continue
  excluded+=("$(sed 's/[][\.*^$+?(){}|/]/\\&/g' <<<"$name")")
  GTEST_FILTER+=:$name
done <"$left_out"
arguments=()
if [[ ${#excluded[@]} -gt 0 ]]; then
  export GTEST_FILTER
  arguments=(-E "^($(
    IFS='|'
    echo "${excluded[*]}"
  ))\$")
fi

report=$build/tests.xml
ctest --test-dir "$build" --no-tests=error --output-on-failure --output-junit "$report" \
  -j "$(nproc)" "${arguments[@]}" || die "tests failed on $arch; ctest names them above"
skipped=$(sed -n 's/^\t*skipped="\([0-9]*\)".*/\1/p' "$report")
count=$(wc -l <<<"$tests")
echo "dev: all $((count - ${#excluded[@]} - skipped)) tests that ran on $arch passed; skipped by themselves:" \
  "$skipped; left out: ${#excluded[@]} (see $left_out)"
