#!/usr/bin/env bash
# usage: vm/kernel.sh FOLDER
#
# FOLDER gets what qemu boots: vmlinux, Debian's kernel, already unpacked, which a guest would take
# seconds for, and initramfs, with vm/init and the modules that it loads. The kernel's package is
# unpacked and not installed. Both are kept until what makes them changes; delete FOLDER to get
# Debian's latest kernel.
#
# Exit status: 0, or 77 with one line when the package cannot be had, or 1.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
folder=$1
modules=(virtio_pci 9pnet_virtio 9p snd-aloop)

die() {
  printf 'dev: %s\n' "$*" >&2
  exit 1
}

mkdir -p "$folder"
folder=$(realpath "$folder")
exec {lock}>"$folder/lock"
flock "$lock"
recipe=$(sha256sum "$0" "$here/init" "$here/vmlinux.py" | sha256sum)
if [[ -f $folder/recipe && $(<"$folder/recipe") == "$recipe" ]]; then
  exit 0
fi
rm -rf "$folder/recipe" "$folder/new"
mkdir "$folder/new"
cd "$folder/new"

# The package of that name only depends on the latest kernel.
package=$(apt-cache depends linux-image-amd64 2>/dev/null |
  sed -n 's/^ *Depends: \(linux-image-[0-9].*\)$/\1/p' | head -n 1)
if [[ -z $package ]] || ! apt-get download -q "$package" >"$folder/apt.log" 2>&1; then
  echo "dev: vm: not run: apt-get cannot get the package of the kernel, linux-image-amd64; see that" \
    "'apt-get update' and 'apt-get download linux-image-amd64' work here" >&2
  exit 77
fi
dpkg -x "$package"_*.deb kernel || die "cannot unpack $package; see that there is room in ${folder%/*}"
"$here/vmlinux.py" kernel/boot/vmlinuz-* vmlinux

release=$(basename kernel/lib/modules/*)
busybox depmod -b kernel "$release"
# needed_by MODULE...: their files and those that they depend on.
needed_by() {
  local module
  for module in "$@"; do
    sed -n "s|^\(.*/$module\.ko\):|\1|p" "kernel/lib/modules/$release/modules.dep" | tr ' ' '\n'
  done | sed '/^$/d' | sort -u
}
# A link, as the host's own root has it: the two archives are unpacked into one folder.
mkdir -p root/vm/bin "root/usr/lib/modules/$release"
ln -s usr/lib root/lib
needed_by "${modules[@]}" | while read -r file; do
  cp "kernel/lib/modules/$release/$file" "root/usr/lib/modules/$release/"
done
for module in "${modules[@]}"; do
  [[ -f root/usr/lib/modules/$release/$module.ko ]] || die "$package has no module $module"
done
busybox depmod -b root "$release"
cp "$(command -v busybox)" root/vm/bin/busybox
cp "$here/init" root/init
(cd root && find . | cpio --quiet -o -H newc) >initramfs
mv vmlinux initramfs "$folder/"
cd "$folder"
rm -rf new
echo "$release" >release
echo "$recipe" >recipe
