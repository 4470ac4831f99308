#!/usr/bin/env bash
# The converter against the ffmpeg command-line tool on the same files in the
# same run: 40 ten-second WAV files (stereo, 44.1 kHz, 16 bit) to FLAC (level 5)
# and to MP3 (LAME V2). The reference is what a script would do without
# kovantrix: one ffmpeg process per file, two at a time. kovantrix converts the
# list in one process with 2 workers (and once with 1, for the scaling).
#
#   bench/convert_bench.sh [BUILD_DIR] [ROUNDS]      (default build/release, 3)
#
# Rounds alternate the programs, so a machine that gets busier or quieter moves
# both alike; the table gives the median of the rounds. Needs ffmpeg (installed
# with apt-get when missing) and a Release build of kovantrix.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
rounds=${2:-3}
files=40
kovantrix="$PWD/$build/kovantrix"
[ -x "$kovantrix" ] || { echo "no kovantrix in $build: build it first (ninja -C $build kovantrix)" >&2; exit 1; }
source scripts/ensure-packages.sh
ensure_packages ffmpeg

work=$(mktemp -d "${TMPDIR:-/tmp}/convert-bench.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/wav"
# Tone plus noise with a seed per file: each file different, every run the same.
for i in $(seq -w 1 $files); do
  ffmpeg -nostdin -hide_banner -loglevel error -y \
    -f lavfi -i "sine=frequency=$((200 + 10#$i * 17)):sample_rate=44100:duration=10" \
    -f lavfi -i "anoisesrc=color=pink:amplitude=0.2:seed=$((10#$i)):sample_rate=44100:duration=10" \
    -filter_complex "[0:a][1:a]amix=inputs=2,aformat=channel_layouts=stereo:sample_fmts=s16" \
    -c:a pcm_s16le "$work/wav/track$i.wav"
done
# The list as the selector writes it: UTF-16LE, CR LF after every path.
for f in "$work"/wav/*.wav; do printf '%s\r\n' "$f"; done | iconv -f UTF-8 -t UTF-16LE >"$work/list.tmp"

# "WALL CPU" of a command: bash's own clock, which counts the CPU time of every
# child process too. CPU time is what a busy machine moves least.
timed() {
  local TIMEFORMAT='%R %U %S' line
  line=$({ time "$@" >/dev/null 2>&1; } 2>&1)
  awk '{ printf "%.3f %.3f\n", $1, $2 + $3 }' <<<"$line"
}

# ffmpeg once per file, two at a time, as xargs -P2 runs it.
run_ffmpeg() {  # extension encoder-args...
  local out=$work/out-ffmpeg ext=$1
  shift
  rm -rf "$out" && mkdir -p "$out"
  timed xargs -0 -P2 -I{} -a <(printf '%s\0' "$work"/wav/*.wav) sh -c \
    'f=$1; shift; out=$1; shift; ext=$1; shift; b=${f##*/}; exec ffmpeg -nostdin -hide_banner -loglevel error -y -i "$f" "$@" "$out/${b%.wav}.$ext"' \
    _ {} "$out" "$ext" "$@"
}

run_kovantrix() {  # format preset jobs
  rm -rf "$work/out-kovantrix"
  timed "$kovantrix" -list_to_conv="$work/list.tmp" --no-window --output="$work/out-kovantrix" --format="$1" \
    --preset="$2" --jobs="$3"
}

# The median of column $1 of the lines read.
median() { awk -v c="$1" '{ print $c }' | sort -g | awk '{ v[NR] = $1 } END { print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }'; }
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }

report() {  # label ffmpeg-args kovantrix-format kovantrix-preset
  local label=$1 fmt=$3 preset=$4 ext
  local -a args
  read -r -a args <<<"$2"
  ext=$([ "$fmt" = mp3 ] && echo mp3 || echo flac)
  local f=() k2=() k1=()
  for _ in $(seq "$rounds"); do
    f+=("$(run_ffmpeg "$ext" "${args[@]}")")
    k2+=("$(run_kovantrix "$fmt" "$preset" 2)")
    k1+=("$(run_kovantrix "$fmt" "$preset" 1)")
    local made
    made=$(find "$work/out-kovantrix" -type f -name "*.$ext" | wc -l)
    [ "$made" -eq "$files" ] || { echo "kovantrix made $made of $files files" >&2; exit 1; }
  done
  local col wall=() cpu=()
  for col in 1 2; do
    local mf mk2 mk1
    mf=$(printf '%s\n' "${f[@]}" | median $col)
    mk2=$(printf '%s\n' "${k2[@]}" | median $col)
    mk1=$(printf '%s\n' "${k1[@]}" | median $col)
    if [ $col = 1 ]; then wall=("$mf" "$mk2" "$mk1"); else cpu=("$mf" "$mk2" "$mk1"); fi
  done
  printf '%-7s wall: ffmpeg %6.2f s, kovantrix 2 workers %6.2f s = %sx, 1 worker %6.2f s (2 workers %sx its throughput)\n' \
    "$label" "${wall[0]}" "${wall[1]}" "$(ratio "${wall[1]}" "${wall[0]}")" "${wall[2]}" "$(ratio "${wall[2]}" "${wall[1]}")"
  printf '%-7s CPU:  ffmpeg %6.2f s, kovantrix 2 workers %6.2f s = %sx\n' \
    "" "${cpu[0]}" "${cpu[1]}" "$(ratio "${cpu[1]}" "${cpu[0]}")"
}

echo "$files WAV files of 10 s, $rounds rounds, $(nproc) cores; medians:"
report "FLAC" "-c:a flac -compression_level 5" flac default
report "MP3 V2" "-c:a libmp3lame -q:a 2" mp3 v2
