#!/bin/bash
# Makes the converter tests' own audio files again: the tone of tests/data with a
# small front-cover picture, in the two kinds of picture block (FLAC's PICTURE and
# ID3v2's APIC). Needs the ffmpeg command-line tool (Debian package "ffmpeg"); the
# tests themselves do not, since the files are kept in the repository.
set -euo pipefail
cd "$(dirname "$0")"
data=../../data
ff() { ffmpeg -hide_banner -loglevel error -y -bitexact "$@"; }

# A 16x16 picture: red, so a test can tell it from any other.
ff -f lavfi -i "color=c=red:size=16x16:duration=0.04" -frames:v 1 cover.png
ff -f lavfi -i "color=c=red:size=16x16:duration=0.04" -frames:v 1 -q:v 5 cover.jpg

ff -i "$data/tone.flac" -i cover.png -map 0:a -map 1:v -c:a copy -c:v copy \
   -disposition:v attached_pic -metadata:s:v comment="Cover (front)" cover.flac
ff -i "$data/tone.mp3" -i cover.jpg -map 0:a -map 1:v -c:a copy -c:v copy -id3v2_version 3 \
   -disposition:v attached_pic -metadata:s:v comment="Cover (front)" cover.mp3
rm cover.png cover.jpg
