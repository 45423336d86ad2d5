# shellcheck shell=bash
#
# What the cases are written in. The loopback card's device 0 is the module's, what it plays comes out
# of device 1's capture, and what is played to device 1 comes out of device 0's.

# try COMMAND...: runs it, and keeps its status, which a case has expectations of.
try() {
  local status=0
  echo "+ $*"
  "$@" || status=$?
  echo "$status" >>statuses
  echo "+ status $status"
}

# wait_until COMMAND...: until it succeeds. Ends the case when it has not after ten seconds. It looks
# seldom, because starting programs is what takes an emulated guest longest.
wait_until() {
  local i
  for ((i = 0; i < 200; ++i)); do
    "$@" && return
    sleep 0.05
  done
  echo "vm: in vain: wait_until $*"
  exit 1
}

# running PCM: waits until that direction of a device is ("pcm0p", "pcm1c").
running() {
  wait_until grep -qs RUNNING "/proc/asound/card0/$1/sub0/status"
}

# closed PCM: ends the case unless nobody has that direction of a device open.
closed() {
  grep -qs closed "/proc/asound/card0/$1/sub0/status" && return
  echo "vm: $1 is still open"
  exit 1
}

# await FILE: waits until a step of vm_hal_steps has made it.
await() {
  wait_until test -e "$1"
}

# hear [CHANNELS]: records what device 0 plays, into heard.raw, until heard.
hear() {
  arecord -q -D hw:0,1 -f S16_LE -r 48000 -c "${1:-2}" -t raw --period-size=1024 \
    --buffer-size=16384 heard.raw &
  ear=$!
  running pcm1c
}

heard() {
  sleep 0.3
  kill -INT "$ear"
  wait "$ear" || true  # arecord says 1 when it is interrupted
}

# feed FILE: plays it into what device 0 records, once that runs.
feed() {
  running pcm0c
  aplay -q -D hw:0,1 --period-size=1024 --buffer-size=4096 "$1"
}

# hold PROGRAM PCM FILE: aplay or arecord keep that direction of device 0, until release.
hold() {
  "$1" -q -D hw:0,0 -f S16_LE -r 48000 -c 2 -t raw "$3" &
  holder=$!
  running "$2"
}

release() {
  kill -INT "$holder"
  wait "$holder" || true
}

# sun_file FILE: its stereo samples of 48000 Hz with a header whose length says "to the end": ".snd" in
# little endian, 24 bytes of header, 16 bits.
sun_file() {
  printf 'dns.\030\0\0\0\377\377\377\377\003\0\0\0\200\273\0\0\002\0\0\0'
  cat "$1"
}

# The card's driver leaves the card: who has it open gets errors, and this returns when none has.
unplug() {
  echo snd_aloop.0 >/sys/bus/platform/drivers/snd_aloop/unbind
}

replug() {
  echo snd_aloop.0 >/sys/bus/platform/drivers/snd_aloop/bind
}
