# ./dev demo: a voice through the module and back, and encoded sound through direct outputs. Sourced
# by dev. What the programs say is in build/demo/log.
# shellcheck shell=bash

# A voice, from Debian's alsa-utils.
demo_recording=/usr/share/sounds/alsa/Front_Center.wav

# step NAME SAYING COMMAND...: one line for a command that worked, and all it said for one that did not.
step() {
  local name=$1 saying=$2 words=$folder/log/last
  shift 2
  if ! "$@" >"$words" 2>&1; then
    cat "$words" >&2
    die "demo: '$*' failed; what it said is above"
  fi
  { printf '== %s\n' "$*" && cat "$words"; } >>"$folder/log/all"
  printf '%-11s %s\n' "$name" "$saying"
}

# ask_module: the module that the loader finds, with a player service running.
ask_module() {
  local services service status=0
  services=$(mktemp -d)
  build/dev/bin/zuavplayerd --socket-dir "$services" --device none --exit-with-parent &
  service=$!
  CORVEX_BINDER_DIR=$services CORVEX_BINDER_WAIT_MS=5000 "$tool" info || status=$?
  kill "$service"
  wait "$service" || true
  rm -rf "$services"
  return "$status"
}

# make_recordings FOLDER: a voice as PCM and as AC-3, and a 5.1 sweep as E-AC-3 in a container.
make_recordings() {
  local folder=$1 sweep="" channel
  for channel in 0 1 2 3 4 5; do
    sweep+="0.2*sin(2*PI*t*($((100 + 150 * channel))+$((80 + 40 * channel))*t))|"
  done
  cp "$demo_recording" "$folder/voice.wav"
  ffmpeg -nostdin -v error -y -i "$folder/voice.wav" -ac 2 -c:a ac3 -b:a 192k "$folder/voice.ac3"
  ffmpeg -nostdin -v error -y -f lavfi -i "aevalsrc=${sweep%|}:s=48000:c=5.1:d=3" \
    -c:a eac3 -b:a 448k "$folder/sweep.mkv"
}

# direct COMMAND FILE OPTION...: a direct output's sound has to be FFmpeg's own decode.
direct() {
  local command=$1 file=$2 played
  played=$folder/$command-${file##*/}.wav
  shift 2
  rm -f "$played"
  "$tool" "$command" "$file" --device "$played" "$@" || return 1
  same_sound "$file" "$played"
}

# same_sound FILE PLAYED
same_sound() {
  local part
  for part in "$@"; do
    if ! ffmpeg -nostdin -v error -y -i "$part" -map 0:a:0 -c:a pcm_s16le -f s16le "$part.s16" ||
      [[ ! -s $part.s16 ]]; then
      echo "FFmpeg finds no sound in $part"
      return 1
    fi
  done
  cmp "$1.s16" "$2.s16" || {
    echo "the player's sound, $2, differs from FFmpeg's own decode of $1"
    return 1
  }
  rm -f "$1.s16" "$2.s16"
}

# timed_tunnel FILE OPTION...: with no gap, nothing reordered, and sound and times a millisecond apart
# at most.
timed_tunnel() {
  local file=$1
  shift
  direct tunnel "$file" --pace real --timeline "$folder/timeline.csv" "$@" || return 1
  awk -F, 'NR > 1 { rows++; drift = $5 < 0 ? -$5 : $5; if (drift > most) most = drift
                    if ($6 != "start" && $6 != "follows") faults++ }
    END { exit !(rows > 0 && faults == 0 && most <= 1) }' "$folder/timeline.csv" || {
    echo "the timestamps and the sound do not agree; see $folder/timeline.csv"
    return 1
  }
}

demo() {
  local recording=${1:-} tool=build/dev/bin/corvex-hal folder=build/demo file seed=1
  if [[ -n $recording ]]; then
    [[ $recording == /* ]] || recording=$called_from/$recording
    [[ -r $recording ]] || die "no recording '$recording': give the path of an audio file"
  fi
  need "${packages_build[@]}" "${packages_demo[@]}"
  build dev corvex-hal audio_primary_corvex zuavplayerd
  recording=${recording:-$demo_recording}
  rm -rf "$folder/log"
  mkdir -p "$folder/log"
  make_recordings "$folder"
  echo
  step module "found by the loader, opened, and its direct outputs by a player service" ask_module
  # At the pace of a card, so that what a card would have to keep up with is what happens.
  export CORVEX_WAV_PACE=real
  local playback=build/demo/played.wav where="no sound card here, so to $folder/played.wav"
  if [[ -e /proc/asound/card0/pcm0p ]]; then
    playback=card where="to sound card 0"
  fi
  step played "${recording##*/}, $where" "$tool" play "$recording" --device "$playback"
  local record=("$tool" record "$folder/recorded.wav" --rate 16000 --channels 1)
  if [[ -e /proc/asound/card0/pcm0c ]]; then
    echo "            five seconds of sound card 0: say something"
    step recorded "them, as a telephone would: 16000 Hz, one channel" \
      "${record[@]}" --device card --seconds 5
  else
    [[ $playback != card ]] ||
      step played "it again, to $folder/played.wav" "$tool" play "$recording" --device "$folder/played.wav"
    step recorded "it again, as a telephone would: 16000 Hz, one channel" \
      "${record[@]}" --device "$folder/played.wav" --seconds 2
  fi
  step "round trip" "played and recorded at once: no frame lost, the delay measured" \
    "$tool" loop --playback "$folder/loop.wav" --capture "$folder/loop.wav"
  unset CORVEX_WAV_PACE
  step av-sync "the device gives a source for it" "$tool" sync
  for file in voice.ac3 sweep.mkv voice.wav; do
    step tunnel "$file in pieces of any size: FFmpeg's samples, each at its time" \
      timed_tunnel "$folder/$file" --cut "random:$seed"
    step passthrough "$file: FFmpeg's samples" direct passthrough "$folder/$file" --cut "random:$seed"
    seed=$((seed + 1))
  done
  echo
  echo "Proved: direct outputs play AC-3, E-AC-3 and PCM bit for bit as FFmpeg decodes them. Listen to $folder/*.wav;" \
    "what the programs said is in $folder/log/all."
}
