#!/usr/bin/env python3
"""Adds a TCMP frame (iTunes' compilation flag) with the text "1" to an MP3 file's
ID3v2.3 tag.

Usage: add-id3-tcmp.py FILE. FFmpeg writes its "compilation" value as a TXXX frame,
not as the TCMP frame that taggers write, so the frame is put in here. The other
frames and the audio stay as they are.
"""
import sys


def syncsafe(n):
    return bytes([(n >> 21) & 0x7F, (n >> 14) & 0x7F, (n >> 7) & 0x7F, n & 0x7F])


path = sys.argv[1]
data = open(path, "rb").read()
assert data[:4] == b"ID3\x03", "needs an ID3v2.3 tag without flags"
assert data[5] == 0
size = sum(b << (7 * (3 - i)) for i, b in enumerate(data[6:10]))
body = b"\x00" + b"1"  # ISO-8859-1, then the text
frame = b"TCMP" + len(body).to_bytes(4, "big") + b"\x00\x00" + body
tag = data[:6] + syncsafe(size + len(frame)) + frame + data[10:10 + size]
open(path, "wb").write(tag + data[10 + size:])
