#!/usr/bin/env python3
"""usage: vmlinux.py VMLINUZ VMLINUX

Unpacks the ELF image out of an x86 kernel image. Where it lies is in the boot protocol's header."""
import lzma
import struct
import sys

SECTOR_BYTES = 512

with open(sys.argv[1], "rb") as file:
    image = file.read()
setup_sectors = image[0x1F1] or 4
if image[0x202:0x206] != b"HdrS" and image[0x1FE:0x200] != b"\x55\xaa":
    sys.exit(f"{sys.argv[1]} is no x86 kernel image")
offset, length = struct.unpack_from("<II", image, 0x248)
start = (setup_sectors + 1) * SECTOR_BYTES + offset
# Behind the compressed stream the payload has its unpacked size, which is not part of it.
try:
    elf = lzma.LZMADecompressor().decompress(image[start:start + length])
except lzma.LZMAError as error:
    sys.exit(f"{sys.argv[1]} is not compressed with xz: {error}")
if not elf.startswith(b"\x7fELF"):
    sys.exit(f"{sys.argv[1]} holds no ELF image")
with open(sys.argv[2], "wb") as file:
    file.write(elf)
