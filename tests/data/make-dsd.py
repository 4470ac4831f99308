#!/usr/bin/env python3
"""Writes tone.dsf (DSD64, with an ID3v2.4 tag) and tone.dff (DSD128) for the tests.

FFmpeg reads both formats but writes neither, so they are built here from the
published layouts: Sony's DSF (little-endian chunks, 4096-byte blocks per channel)
and Philips' DSDIFF (big-endian IFF chunks, bytes interleaved per channel).
"""
import struct

SECONDS = 0.01
CHANNELS = 2


def square_wave_bytes(rate, seconds):
    """One channel of a DSD square wave: runs of ones and zeros."""
    count = int(rate * seconds) // 8
    return bytes((0xF0 if (i // 64) % 2 == 0 else 0x0F) for i in range(count))


def id3v24_tag(frames):
    def syncsafe(n):
        return bytes([(n >> 21) & 0x7F, (n >> 14) & 0x7F, (n >> 7) & 0x7F, n & 0x7F])

    body = b""
    for frame_id, text in frames:
        payload = b"\x03" + text.encode("utf-8")  # encoding 3 = UTF-8
        body += frame_id.encode("ascii") + syncsafe(len(payload)) + b"\x00\x00" + payload
    return b"ID3\x04\x00\x00" + syncsafe(len(body)) + body


def write_dsf(path):
    rate = 2822400
    block = 4096
    channel = square_wave_bytes(rate, SECONDS)
    samples = len(channel) * 8
    padded = channel + b"\x00" * (-len(channel) % block)
    data = b"".join(padded[i:i + block] * CHANNELS for i in range(0, len(padded), block))
    fmt = struct.pack("<4sQIIIIIIQII", b"fmt ", 52, 1, 0, 2, CHANNELS, rate, 1, samples, block, 0)
    data_chunk = struct.pack("<4sQ", b"data", 12 + len(data)) + data
    tag = id3v24_tag([("TIT2", "Grüße ☃ Ωmega"), ("TPE1", "Fixture Artist"), ("TALB", "Fixture Album"),
                      ("TRCK", "3"), ("TPOS", "1/2")])
    head_size = 28
    meta_offset = head_size + len(fmt) + len(data_chunk)
    total = meta_offset + len(tag)
    head = struct.pack("<4sQQQ", b"DSD ", 28, total, meta_offset)
    with open(path, "wb") as f:
        f.write(head + fmt + data_chunk + tag)


def chunk(ident, body):
    pad = b"\x00" if len(body) % 2 else b""
    return struct.pack(">4sQ", ident, len(body)) + body + pad


def write_dff(path):
    rate = 5644800
    channel = square_wave_bytes(rate, SECONDS)
    interleaved = bytes(b for byte in channel for b in (byte,) * CHANNELS)
    name = b"not compressed"
    prop = b"SND " + chunk(b"FS  ", struct.pack(">I", rate)) \
        + chunk(b"CHNL", struct.pack(">H", CHANNELS) + b"SLFTSRGT") \
        + chunk(b"CMPR", b"DSD " + bytes([len(name)]) + name)
    form = b"DSD " + chunk(b"FVER", struct.pack(">I", 0x01050000)) + chunk(b"PROP", prop) \
        + chunk(b"DSD ", interleaved)
    with open(path, "wb") as f:
        f.write(struct.pack(">4sQ", b"FRM8", len(form)) + form)


write_dsf("tone.dsf")
write_dff("tone.dff")
