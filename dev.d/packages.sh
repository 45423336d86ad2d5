# Which Debian packages the commands of ./dev need, and their installation. Sourced by dev.
# shellcheck shell=bash

# Libraries are also what a root of another processor is made of.
packages_compile=(g++ cmake ninja-build pkg-config binutils)
packages_libraries=(android-liblog-dev android-libbase-dev android-libcutils-dev
  android-libutils-dev libasound2-dev libavformat-dev libavcodec-dev libavutil-dev libswresample-dev
  libsndfile1-dev libcli11-dev libspeexdsp-dev libgtest-dev libtinyxml2-dev)
packages_build=("${packages_compile[@]}" "${packages_libraries[@]}")
packages_demo=(alsa-utils libasound2-data ffmpeg)
packages_clang=(clang libclang-rt-14-dev)
packages_bench=(strace)
packages_vm=(qemu-system-x86 busybox-static cpio python3)
packages_lint=(git clang clang-format clang-tidy shellcheck python3 g++-arm-linux-gnueabihf)

# How long another apt is waited for.
apt_patience_s=300
apt_is_locked='^E: (Could not get lock|Unable to (acquire|lock))'

# run_apt LOG COMMAND...: with its complaints in LOG, in English. Waits while another apt works.
run_apt() {
  local log=$1 waited=0
  shift
  until "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive LC_ALL=C "$@" 2>"$log"; do
    if ! grep -qE "$apt_is_locked" "$log" || [[ $waited -ge $apt_patience_s ]]; then
      return 1
    fi
    [[ $waited -gt 0 ]] ||
      echo "dev: another apt is at work; waiting for it, $apt_patience_s s at most" >&2
    sleep 2
    waited=$((waited + 2))
  done
}

# why_not LOG...: what to do about an apt-get that failed.
why_not() {
  if grep -qE "$apt_is_locked" "$@"; then
    echo "another apt has been at work for $apt_patience_s s: $(grep -hm 1 -oE 'held by process .*' "$@"). Run this" \
      "again when it has ended"
  elif grep -qE 'Temporary failure|Could not (resolve|connect)|Cannot initiate|unreachable|timed out|refused' "$@"; then
    echo "the package servers cannot be reached. Check the network (and the proxy, if \$http_proxy is set), and run this again"
  elif grep -qE 'Unable to locate package|has no installation candidate' "$@"; then
    echo "apt knows no$(sed -nE "s/^E: (Unable to locate package |Package ')([^ ']+).*/ \2/p" "$@" | sort -u | tr -d '\n')." \
      "Does /etc/apt name Debian 12's archive? Elsewhere install what they hold by other means, and set CORVEX_SKIP_SETUP=1"
  elif grep -qE 'No space left|enough free space' "$@"; then
    echo "the disk is full"
  else
    echo "apt-get says: $(grep -hm 4 '^E:\|^dpkg: error' "$@" | paste -sd' ')"
  fi
}

# show_progress: apt-get's status lines on standard input, as a line that grows.
show_progress() {
  local kind percent last=-1 doing
  while IFS=: read -r kind _ percent _; do
    case $kind in
      dlstatus) doing="downloading" ;;
      pmstatus) doing="installing " ;;
      *) continue ;;
    esac
    percent=${percent%%.*}
    if [[ -t 1 ]]; then
      printf '\rdev: %s %3d %%' "$doing" "$percent"
    elif [[ $((percent / 25)) -ne $last ]]; then
      last=$((percent / 25))
      printf 'dev: %s %3d %%\n' "$doing" "$percent"
    fi
  done
  [[ ! -t 1 ]] || printf '\r%-30s\r' ""
}

# need PACKAGE...: installs those that are missing, in one round.
need() {
  [[ ${CORVEX_SKIP_SETUP:-0} != 1 ]] || return 0
  if ! command -v apt-get >/dev/null || ! command -v dpkg-query >/dev/null; then
    die "this system has no apt. Install what these Debian 12 packages hold: $*" \
      "- then run the command again with CORVEX_SKIP_SETUP=1."
  fi
  local package missing=() as_root=()
  for package in "$@"; do
    [[ $(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) == installed ]] ||
      missing+=("$package")
  done
  [[ ${#missing[@]} -gt 0 ]] || return 0
  if [[ $(id -u) -ne 0 ]]; then
    command -v sudo >/dev/null ||
      die "packages are missing, and only root can install them. As root, run:" \
        "apt-get update && apt-get install --no-install-recommends ${missing[*]}"
    as_root=(sudo)
  fi
  install_packages
}

# With need()'s `missing` and `as_root`.
install_packages() {
  local logs size install=(apt-get install --no-install-recommends "${missing[@]}")
  logs=$(mktemp -d)
  # shellcheck disable=SC2064 # the folder of now
  trap "rm -rf '$logs'" EXIT
  echo "dev: reading the package lists"
  run_apt "$logs/update" apt-get -qq update >/dev/null || die "cannot read the package lists: $(why_not "$logs"/*)."
  # It fails in any case: it is told not to go on.
  size=$(run_apt "$logs/plan" "${install[@]}" --assume-no | sed -nE '
    s/^[0-9]+ upgraded, ([0-9]+) newly installed.*/\1 packages/p
    s,^Need to get ([^ ]+ [kMG]?B)(/.*)? of archives.*,\1 to download,p
    s/^After this operation, (.*) of additional.*/\1 on the disk/p' | paste -sd'|' | sed 's:|:, :g') || true
  # A list that could not be fetched is no error of update's.
  [[ -n $size ]] || die "cannot install ${missing[*]}: $(why_not "$logs"/*)."
  echo "dev: installing $size; one to two minutes where nothing is there yet"
  # Not descriptor 1, which apt would close for dpkg; and sudo passes none above 2. No terminal of
  # apt's own, which a container may not have.
  # shellcheck disable=SC2016 # for the inner shell
  run_apt "$logs/install" sh -c '"$@" 3>&1 >&2' sh "${install[@]}" -y -o APT::Status-Fd=3 -o Dpkg::Use-Pty=0 | show_progress ||
    die "cannot install ${missing[*]}: $(why_not "$logs/install")."
  rm -rf "$logs"
  trap - EXIT
}
