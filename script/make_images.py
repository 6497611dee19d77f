#!/usr/bin/env python3
"""Packs the contents of a folder into a file as vendors deliver applications.

  make_images.py zip FOLDER OUT      a zip archive (needs zip)
  make_images.py iso FOLDER OUT      an ISO 9660 image with Rock Ridge (needs xorriso)
  make_images.py hfs FOLDER OUT      an HFS+ volume
  make_images.py dmg FOLDER... OUT   a compressed disk image with one HFS+ volume for each folder

A volume is named after its folder.
"""

import bz2
import os
import plistlib
import struct
import subprocess
import sys
import tempfile
import zlib

SECTOR = 512
CHUNK = 512 * SECTOR
COPY, ZLIB, BZIP2, END = 0x00000001, 0x80000005, 0x80000006, 0xFFFFFFFF


def make_iso(folder, out, *more):
    """Writes an ISO 9660 image of the folder; `more` are further options of mkisofs."""
    name = os.path.basename(os.path.abspath(folder))
    made = subprocess.run(["xorriso", "-report_about", "WARNING", "-as", "mkisofs", "-quiet", "-R",
                           *more, "-V", name, "-o", out, folder], check=False, text=True,
                          stderr=subprocess.PIPE)
    if made.returncode != 0:
        raise SystemExit(made.stderr)


def hfs_volume(folder):
    """Returns the bytes of an HFS+ volume: the partition that xorriso puts into a hybrid image."""
    with tempfile.NamedTemporaryFile() as hybrid:
        make_iso(folder, hybrid.name, "-hfsplus")
        image = hybrid.read()
    for entry in range(SECTOR, 64 * SECTOR, SECTOR):
        if image[entry:entry + 2] == b"PM" and image[entry + 48:entry + 58] == b"Apple_HFS\0":
            start, count = struct.unpack(">II", image[entry + 8:entry + 16])
            return image[start * SECTOR:(start + count) * SECTOR]
    raise SystemExit("make_images: no HFS+ volume was made")


def checksum(data):
    """Returns the checksum field of a disk image: type (CRC-32), length in bits, value, padding."""
    return struct.pack(">III", 2, 32, zlib.crc32(data)) + bytes(124)


def block_table(partition, first_sector, number, data_fork):
    """Appends the chunks of a partition to the data fork and returns the table that locates them."""
    chunks = []
    for start in range(0, len(partition), CHUNK):
        chunk = partition[start:start + CHUNK]
        # Alternate between the methods, so that readers are tested with each. A chunk that does not
        # shrink is stored uncompressed.
        method, data = ((BZIP2, bz2.compress(chunk)) if len(chunks) % 2 else
                        (ZLIB, zlib.compress(chunk)))
        method, data = (method, data) if len(data) < len(chunk) else (COPY, chunk)
        chunks.append(struct.pack(">IIQQQQ", method, 0, start // SECTOR, len(chunk) // SECTOR,
                                  len(data_fork), len(data)))
        data_fork += data
    sectors = len(partition) // SECTOR
    chunks.append(struct.pack(">IIQQQQ", END, 0, sectors, 0, len(data_fork), 0))
    return (struct.pack(">4sIQQQIi24x", b"mish", 1, first_sector, sectors, 0, CHUNK // SECTOR + 8,
                        number) + checksum(partition) + struct.pack(">I", len(chunks)) +
            b"".join(chunks))


def make_dmg(folders, out):
    """Writes a compressed disk image: data fork, property list with the block tables, trailer."""
    data_fork, tables, sums, sectors = bytearray(), [], b"", 0
    for number, folder in enumerate(folders):
        volume = hfs_volume(folder)
        table = block_table(volume, sectors, number, data_fork)
        tables.append({"Attributes": "0x0050", "Data": table, "ID": str(number),
                       "Name": f"disk image (Apple_HFS : {number + 1})"})
        sectors += len(volume) // SECTOR
        sums += struct.pack(">I", zlib.crc32(volume))
    blocks = plistlib.dumps({"resource-fork": {"blkx": tables}})
    trailer = struct.pack(">4sIIIQQQQQII16s", b"koly", 4, 512, 1, 0, 0, len(data_fork), 0, 0, 1, 1,
                          os.urandom(16))
    trailer += checksum(data_fork)
    trailer += struct.pack(">QQ120x", len(data_fork), len(blocks))
    trailer += checksum(sums)
    trailer += struct.pack(">IQ12x", 1, sectors)
    with open(out, "wb") as image:
        image.write(data_fork + blocks + trailer)


def main(kind, *paths):
    *folders, out = paths
    if kind == "dmg":
        make_dmg(folders, out)
    elif kind == "iso":
        make_iso(*paths)
    elif kind == "hfs":
        with open(out, "wb") as image:
            image.write(hfs_volume(folders[0]))
    else:
        subprocess.run(["zip", "-qry", "-FS", os.path.abspath(out), "."], cwd=paths[0], check=True)


if __name__ == "__main__":
    main(*sys.argv[1:])
