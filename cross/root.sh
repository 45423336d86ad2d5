#!/usr/bin/env bash
# usage: cross/root.sh ARCH FOLDER PACKAGE...
#
# FOLDER/root holds these Debian packages of another processor and all that they need, unpacked and
# not installed: no script of theirs runs, nothing of this system changes, and no root rights are
# needed. apt-get resolves and checks them as it does for the system, with the system's sources and
# keys but with lists, cache and a (bare) status of its own in FOLDER.
#
# A finished root is kept until the list of packages changes. FOLDER/root is only ever a whole one: it
# is unpacked beside its place and moved there last.
set -euo pipefail

arch=$1 folder=$2
shift 2
packages=("$@")

die() {
  printf 'dev: %s\n' "$*" >&2
  exit 1
}

mkdir -p "$folder"
folder=$(realpath "$folder")
root=$folder/root new=$folder/root.new apt=$folder/apt

# What the root is made of, this script's own way of making it included.
recipe=$(printf '%s\n' "$arch" "${packages[@]}" && sha256sum <"$0")
if [[ -f $root/recipe && $(<"$root/recipe") == "$recipe" ]]; then
  exit 0
fi
# Held by apt-get too, which may go on when this script is killed.
exec {lock}>"$folder/lock"
flock -n "$lock" || die "${folder#"$PWD"/} is being made already; wait for that to end, then run this again"
rm -rf "$root" "$new"

# This system's settings (proxies, keys) without its hooks, its folders and its processors.
write_apt_configuration() {
  mkdir -p "$apt/lists/partial" "$apt/archives/partial"
  : >"$apt/status"
  {
    env -u APT_CONFIG apt-config dump |
      grep -vE '^(Dir::(State|Cache|Etc::main|Etc::parts|Log)|APT::Architecture|DPkg|[A-Za-z:-]*-Invoke)'
    cat <<END
APT::Architecture "$arch";
APT::Architectures { "$arch"; };
APT::Sandbox::User "$(id -un)";
APT::Install-Recommends "false";
APT::Get::Assume-Yes "true";
APT::Get::Download-Only "true";
Dir::Etc::main "/dev/null";
Dir::Etc::parts "/dev/null";
Dir::State "$apt";
Dir::State::lists "$apt/lists";
Dir::State::status "$apt/status";
Dir::Cache "$apt";
Dir::Cache::archives "$apt/archives";
Dir::Log "$apt";
END
  } >"$apt/apt.conf"
}

# Packages see /lib and /usr/lib as one folder, as every Debian 12 does, and their links may say
# where they lead from the system's root on, which is not where it is here.
unpack() {
  local package link target library
  mkdir -p "$new/usr"/{bin,sbin,lib}
  ln -s usr/bin usr/sbin usr/lib "$new"
  for package in "$apt"/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" |
      tar -x -C "$new" --no-same-owner --keep-directory-symlink \
        --exclude='./usr/share/doc/*' --exclude='./usr/share/locale/*' --exclude='./usr/share/man/*' ||
      die "cannot unpack ${package##*/}; see that there is room in build/, then run this again"
  done
  while IFS= read -r -d '' link; do
    target=$(readlink "$link")
    ln -sfnr "$new$target" "$link"
  done < <(find "$new" -type l -lname '/*' -print0)
  # Run paths name folders of a system that has these packages. Here a loader looks into this one
  # only. Without names that lack a number: libcutils.so is also ours.
  for library in "$new"/usr/lib/*/android/*.so.* "$new"/usr/lib/p7zip/*.so; do
    ln -sr "$library" "$new"/usr/lib/*-linux-gnu*/
  done
}

echo "dev: making a root of $arch packages in ${root#"$PWD"/}"
write_apt_configuration
export APT_CONFIG=$apt/apt.conf
# What apt-get said is shown only when it failed.
quietly() {
  "$@" >"$apt/log" 2>&1 || {
    tail -n 20 "$apt/log" >&2
    return 1
  }
}
# A list that is missing or fails its check is not used, and those that are left may do: every
# package is checked against a signed list in any case. Left to itself apt-get calls an update without
# a network a success, and its reason would not be seen.
quietly apt-get update -q -o APT::Update::Error-Mode=any ||
  printf 'dev: apt-get could not get all package lists for %s (above); %s\n' "$arch" \
    "going on with those that it got, so packages may lack their latest updates" >&2
rm -f "$apt"/archives/*.deb
quietly apt-get install -q "${packages[@]}" ||
  die "apt-get cannot get the packages for $arch (above). Making their root needs the network once:" \
    "see that 'apt-get update' works on this system, then run this again."
unpack
printf '%s\n' "$recipe" >"$new/recipe"
mv "$new" "$root"
rm -rf "$apt"
