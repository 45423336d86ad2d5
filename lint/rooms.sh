#!/usr/bin/env bash
# Includes go down only. A room's sources may include their own room and these rooms of ours; everything
# else that they include comes from the platform, at the paths that a device has, or from the C and C++
# libraries.
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A below=(
  [hal]="pcm direct diag records"
  [pcm]="diag records"
  [direct]="player_client diag records"
  [player_client]="diag"
  [diag]=""
  [records]="diag"
  [player_service]="host"
  [tools/commands]="tools/pcm tools/direct tools/service tools/module tools/device tools/media tools/terminal host"
  [tools/pcm]="tools/module tools/media tools/terminal host"
  [tools/direct]="tools/module tools/media tools/terminal host"
  [tools/service]="host"
  [tools/module]="tools/device tools/terminal host"
  [tools/device]="host"
  [tools/media]="host"
  [tools/terminal]=""
  [host]=""
)
# These meet the module through its tables and the service through its interface, never from inside.
programs=" player_service tools host "

status=0
for room in "${!below[@]}"; do
  for to in ${below[$room]}; do
    echo "$room $to"
  done
done | tsort >/dev/null || {
  echo "lint/rooms.sh: its table lets includes go in a circle: see the lines above"
  status=1
}

# room_of PATH: the innermost room that holds the file, in $room.
room_of() {
  room=$1
  while [[ $room == */* ]]; do
    room=${room%/*}
    [[ ! -v below[$room] ]] || return 0
  done
}

for top in $(printf '%s\n' "${!below[@]}" | cut -d/ -f1 | sort -u); do
  while IFS=: read -r file line text; do
    path=${text#*\"}
    path=${path%%\"*}
    room_of "$path"
    to=$room
    room_of "$file"
    if [[ ! -v below[$room] ]]; then
      echo "$file: is in no room; give $(dirname "$file")/ its row in lint/rooms.sh"
      status=1
    elif [[ " $room ${below[$room]} " != *" $to "* ]]; then
      echo "$file:$line: $room/ must not include \"$path\" (only itself${below[$room]:+ and ${below[$room]}})"
      status=1
    fi
  done < <(grep -rnE '^ *# *include *"' --include='*.cpp' --include='*.h' "$top")
  # The module meets its platform through <...> only, and knows none of its insides.
  [[ $programs != *" $top "* ]] || continue
  if grep -rnE '^ *# *include *[<"](platform|player_service|tools|host|tests|alsa)/' \
    --include='*.cpp' --include='*.h' "$top"; then
    echo "$top/ must not include the line above"
    status=1
  fi
done
exit $status
