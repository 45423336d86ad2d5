#!/bin/bash
# usage: vm/guest.sh REPOSITORY
#
# Runs in the guest, as vm/init's only child: each case of build/vm/run/cases in a folder of its own,
# whose files go to build/vm/run/results/CASE at its end. While a case runs it touches memory only:
# guest time runs on while the guest waits for the host, and a card would run dry.
set -u
repository=$1
share=$repository/build/vm/run
export PATH=$repository/build/dev/bin:$PATH
export CORVEX_PROPERTY_FILE=/tmp/vm/properties in=/tmp/vm/in
# Of the guest's time, which passes fast while nothing happens.
limit_s=600

mkdir -p /tmp/vm/cases "$in"
cp "$share"/in/* "$in/"
cp "$share"/cases/* /tmp/vm/cases/

if [[ ! -e /proc/asound/card0/pcm0p || ! -e /proc/asound/card0/pcm1c ]]; then
  echo "vm: there is no loopback card"
  exit 1
fi

while read -r case; do
  mkdir "/tmp/vm/$case"
  cd "/tmp/vm/$case" || exit 1
  timeout -k 5 "$limit_s" bash -c ". '$repository/vm/card.sh'; . '/tmp/vm/cases/$case'" \
    >log 2>&1 </dev/null
  echo $? >ended
  # A result is complete when it has its name.
  cp -r "/tmp/vm/$case" "$share/results/$case.part"
  mv "$share/results/$case.part" "$share/results/$case"
  cd /
  rm -rf "/tmp/vm/$case"
done <"$share/order"
