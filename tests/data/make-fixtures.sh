#!/bin/bash
# Makes the small audio files of this folder again from generated tones.
# Needs the ffmpeg command-line tool (Debian package "ffmpeg") and python3; the
# tests themselves need neither, since the results are kept in the repository.
set -euo pipefail
cd "$(dirname "$0")"

ff() { ffmpeg -hide_banner -loglevel error -y -bitexact "$@"; }

# A fifth of a second of a 440 Hz tone with a little noise, stereo.
TONE=(-f lavfi -i "sine=frequency=440:sample_rate=44100:duration=0.2"
      -f lavfi -i "anoisesrc=color=white:amplitude=0.002:seed=7:sample_rate=44100:duration=0.2")
MIX=(-filter_complex "[0:a][1:a]amix=inputs=2,aformat=channel_layouts=stereo[a]" -map "[a]")
# A tiny picture stream for the video containers.
VIDEO=(-f lavfi -i "color=c=blue:size=32x32:rate=25:duration=0.2")
VMIX=(-filter_complex "[1:a][2:a]amix=inputs=2,aformat=channel_layouts=stereo[a]" -map 0:v -map "[a]")

# The same tags everywhere; the title is not ASCII on purpose.
TAGS=(-metadata "title=Grüße ☃ Ωmega"
      -metadata "artist=Fixture Artist"
      -metadata "album_artist=Fixture Album Artist"
      -metadata "album=Fixture Album"
      -metadata "date=2021"
      -metadata "genre=Ambient"
      -metadata "comment=Made from a sine"
      -metadata "composer=Fixture Composer"
      -metadata "track=3"
      -metadata "disc=1/2")

tone() { local out=$1; shift; ff "${TONE[@]}" "${MIX[@]}" "${TAGS[@]}" "$@" "$out"; }
video() { local out=$1; shift; ff "${VIDEO[@]}" "${TONE[@]}" "${VMIX[@]}" "${TAGS[@]}" "$@" "$out"; }

# Formats the TagLib plug-in reads.
tone tone.mp3 -c:a libmp3lame -b:a 64k -id3v2_version 4
tone tone.mp2 -c:a mp2 -b:a 128k
tone tone.flac -c:a flac -sample_fmt s16
tone tone.ogg -c:a libvorbis -q:a 0
tone tone.oga -c:a flac -f oga
tone tone.opus -c:a libopus -b:a 32k -ar 48000
tone tone.spx -c:a libspeex -ac 1 -ar 16000
tone tone.m4a -c:a aac -b:a 64k
tone tone-alac.m4a -c:a alac -sample_fmt s16p
tone tone.wav -c:a pcm_s16le
tone tone-float.wav -c:a pcm_f32le -ar 96000 -ac 1
tone tone.aiff -c:a pcm_s16be -ar 48000 -write_id3v2 1
tone tone.wv -c:a wavpack -sample_fmt s16p
tone tone.tta -c:a tta
tone tone.wma -c:a wmav2 -b:a 64k

# The compilation flag in each of the tag kinds that carry one: ID3v2 TCMP, MP4 cpil,
# the Vorbis comment's COMPILATION and the APE tag's Compilation (in WavPack: FFmpeg
# writes no APE file). No album artist, so that the album filter shows the album
# without an artist in front. FFmpeg writes the MP3's flag as a TXXX frame, so
# add-id3-tcmp.py puts the TCMP frame in.
CTAGS=(-metadata "title=Grüße ☃ Ωmega"
       -metadata "artist=Fixture Artist"
       -metadata "album=Fixture Album")
compilation() { local out=$1; shift; ff "${TONE[@]}" "${MIX[@]}" "${CTAGS[@]}" "$@" "$out"; }
compilation tone-compilation.mp3 -c:a libmp3lame -b:a 32k -ac 1 -id3v2_version 3
python3 add-id3-tcmp.py tone-compilation.mp3
compilation tone-compilation.m4a -metadata compilation=1 -c:a aac -b:a 32k
compilation tone-compilation.opus -metadata compilation=1 -c:a libopus -b:a 16k -ac 1 -ar 48000
compilation tone-compilation.wv -metadata Compilation=1 -c:a wavpack -sample_fmt s16p -ac 1 -ar 8000

# Files the TagLib plug-in owns by extension but whose codec or layout TagLib cannot
# read; it reads their format through FFmpeg. MP4 with Opus, FLAC, AC-3 and E-AC-3
# (FFmpeg's .m4a muxer refuses these codecs, its plain MP4 muxer writes them),
# RF64, a Wave file whose sizes were never filled in, and an Ogg file with two
# streams. Mono 8 kHz where the codec allows, to keep them small.
tone tone-opus.m4a -c:a libopus -b:a 32k -ar 48000 -f mp4
tone tone-flac.m4a -c:a flac -sample_fmt s16 -ac 1 -ar 8000 -strict -2 -f mp4
tone tone-ac3.m4a -c:a ac3 -b:a 64k -ar 48000 -f mp4
tone tone-eac3.m4a -c:a eac3 -b:a 64k -ar 48000 -f mp4
tone tone-rf64.wav -c:a pcm_s16le -ac 1 -ar 8000 -rf64 always
tone tone-zero-size.wav -c:a pcm_s16le -ac 1 -ar 8000
python3 zero-wav-sizes.py tone-zero-size.wav
ff "${TONE[@]}" -filter_complex "[0:a][1:a]amix=inputs=2,aformat=channel_layouts=mono,asplit=2[a][b]" \
   -map "[a]" -map "[b]" "${TAGS[@]}" -c:a libvorbis -q:a 0 -ar 22050 tone-multiplexed.ogg

# Formats the FFmpeg plug-in reads.
tone tone.ac3 -c:a ac3 -b:a 96k -ar 48000
tone tone.dts -c:a dca -strict -2 -ar 48000 -b:a 768k
tone tone.aac -c:a aac -b:a 64k -f adts
tone tone.mka -c:a libvorbis -q:a 0
tone tone.webm -c:a libopus -b:a 32k -ar 48000
video tone.mkv -c:v mpeg4 -c:a libvorbis -q:a 0
video tone.mp4 -c:v mpeg4 -c:a aac -b:a 64k
video tone.mov -c:v mpeg4 -c:a aac -b:a 64k
video tone.avi -c:v mpeg4 -c:a libmp3lame -b:a 64k
video tone.mpg -c:v mpeg1video -c:a mp2 -b:a 128k -f mpeg
video tone.ts -c:v mpeg2video -c:a mp2 -b:a 128k -f mpegts
video tone.m2ts -c:v mpeg2video -c:a mp2 -b:a 128k -f mpegts -mpegts_m2ts_mode 1
video tone.flv -c:v flv -c:a libmp3lame -b:a 64k
ff -f lavfi -i "color=c=blue:size=128x96:rate=25:duration=0.2" "${TONE[@]}" "${VMIX[@]}" \
   "${TAGS[@]}" -c:v h263 -c:a aac -b:a 32k -ar 16000 tone.3gp

# FFmpeg writes neither DSF nor DFF: these two are written from their published
# layouts by a small script, with a hundredth of a second of a DSD square wave (DSD64 and DSD128).
python3 make-dsd.py

# Several values in one tag: FFmpeg keeps one value per name, so a second ARTIST
# field is added to the FLAC file's Vorbis comment.
python3 add-flac-artist.py tone.flac "Second Artist"
