#!/usr/bin/env python3
"""Sets the RIFF size and the data chunk size of a Wave file to 0.

Usage: zero-wav-sizes.py FILE. That is what a recorder leaves when it stops before it
can go back and fill in the sizes; the audio and the chunks before it stay as they are.
"""
import sys

path = sys.argv[1]
data = bytearray(open(path, "rb").read())
assert data[:4] == b"RIFF" and data[8:12] == b"WAVE"
data[4:8] = bytes(4)
pos = 12
while pos + 8 <= len(data):
    size = int.from_bytes(data[pos + 4:pos + 8], "little")
    if data[pos:pos + 4] == b"data":
        data[pos + 4:pos + 8] = bytes(4)
        break
    pos += 8 + size + (size & 1)
else:
    sys.exit("no data chunk in " + path)
open(path, "wb").write(bytes(data))
