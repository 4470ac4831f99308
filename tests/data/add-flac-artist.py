#!/usr/bin/env python3
"""Adds one more ARTIST field to a FLAC file's Vorbis comment block.

Usage: add-flac-artist.py FILE VALUE. The file keeps its other blocks and audio.
"""
import struct
import sys

path, value = sys.argv[1], sys.argv[2]
data = bytearray(open(path, "rb").read())
assert data[:4] == b"fLaC"
pos = 4
while True:
    header = data[pos]
    length = int.from_bytes(data[pos + 1:pos + 4], "big")
    if header & 0x7F == 4:  # VORBIS_COMMENT
        body = data[pos + 4:pos + 4 + length]
        vendor_len = struct.unpack_from("<I", body, 0)[0]
        count_at = 4 + vendor_len
        count = struct.unpack_from("<I", body, count_at)[0]
        struct.pack_into("<I", body, count_at, count + 1)
        field = ("ARTIST=" + value).encode("utf-8")
        body += struct.pack("<I", len(field)) + field
        data[pos + 1:pos + 4] = len(body).to_bytes(3, "big")
        data[pos + 4:pos + 4 + length] = body
        break
    if header & 0x80:
        sys.exit("no Vorbis comment block in " + path)
    pos += 4 + length
open(path, "wb").write(bytes(data))
