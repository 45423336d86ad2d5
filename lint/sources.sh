#!/usr/bin/env bash
# The module's sources on disk are exactly those that CMake and Android.bp build.
set -euo pipefail
cd "$(dirname "$0")/.."

on_disk=$(find diag direct hal pcm player_client records -name '*.cpp' | sort)
listed() { grep -oE '(diag|direct|hal|pcm|player_client|records)/[a-z0-9_]+\.cpp' "$1" | sort; }

status=0
for list in cmake/Module.cmake Android.bp; do
  if ! diff <(echo "$on_disk") <(listed "$list"); then
    echo "$list: its sources differ from those on disk (<) as shown above"
    status=1
  fi
done
exit $status
