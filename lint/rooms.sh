#!/usr/bin/env bash
# Includes go down only. A room's sources may include these rooms of ours; everything else that they
# include comes from the platform, at the paths that a device has, or from the C and C++ libraries.
set -euo pipefail
cd "$(dirname "$0")/.."

declare -A below=(
  [hal]="hal pcm direct diag records"
  [pcm]="pcm diag records"
  [direct]="direct player_client diag records"
  [player_client]="player_client diag"
  [diag]="diag"
  [records]="records diag"
  [player_service]="player_service"
  [tools]="tools"
)
# These meet the module through its tables and the service through its interface, never from inside.
programs=" player_service tools "

status=0
for room in "${!below[@]}"; do
  [[ -d $room ]] || continue
  allowed=" ${below[$room]} "
  while IFS=: read -r file line text; do
    path=${text#*\"}
    path=${path%%\"*}
    if [[ $allowed != *" ${path%%/*} "* ]]; then
      echo "$file:$line: $room/ must not include \"$path\" (it may include: ${below[$room]})"
      status=1
    fi
  done < <(grep -rnE '^ *# *include *"' --include='*.cpp' --include='*.h' "$room")
  # The module meets its platform through <...> only, and knows none of its insides.
  [[ $programs != *" $room "* ]] || continue
  if grep -rnE '^ *# *include *[<"](platform|player_service|tools|tests|alsa)/' \
    --include='*.cpp' --include='*.h' "$room"; then
    echo "$room/ must not include the line above"
    status=1
  fi
done
exit $status
