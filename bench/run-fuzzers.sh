#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in build/fuzz and runs each for a bounded
# time, printing its execs and findings. Run by hand, never in CI.
#   bench/run-fuzzers.sh [seconds per target, default 60]
# Needs clang-14 and libclang-rt-14-dev (libFuzzer's runtime).
set -euo pipefail
seconds="${1:-60}"
root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/fuzz"
work="$build/fuzz-runs"

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link -DCMAKE_C_FLAGS=-fsanitize=fuzzer-no-link \
  -DTESSAROVEN_SANITIZE=ON -DTESSAROVEN_FUZZ=ON -DTESSAROVEN_TESTS=OFF >/dev/null
targets=(tag_block_fuzz profile_store_fuzz plugin_open_fuzz_taglib plugin_open_fuzz_ffmpeg)
ninja -C "$build" -j2 "${targets[@]}"

rm -rf "$work"
mkdir -p "$work"
export TMPDIR="$work/tmp"
mkdir -p "$TMPDIR"

# Seeds for the tag block reader: a valid two-entry block and one with a picture.
seeds="$work/tag_block_fuzz/seeds"
mkdir -p "$seeds"
python3 - "$seeds" <<'PY'
import struct, sys
def entry(name, value, binary=b""):
    body = (name + "\0").encode("utf-16-le") + (value + "\0").encode("utf-16-le") + binary
    return struct.pack("<i", len(body) + 4) + body
def block(*entries):
    return struct.pack("<i", len(entries)) + b"".join(entries)
out = sys.argv[1]
open(f"{out}/two", "wb").write(block(entry("Artist", "Someone"), entry("Album", "Something")))
open(f"{out}/picture", "wb").write(block(entry("Cover Art (Front)", "image/png", b"\x89PNG" + bytes(12)),
                                         entry("DSD Type", "DSD64")))
PY

# Seeds for the profile parser: a profile as a save writes it, and one cut short.
seeds="$work/profile_store_fuzz/seeds"
mkdir -p "$seeds"
python3 - "$seeds" <<'PY'
import struct, sys
def record(key, value, data=b""):
    body = (key + "\0").encode("utf-16-le") + (value + "\0").encode("utf-16-le") + data
    return struct.pack("<I", len(body) + 4) + body
records = [record("lstFoldersAndSub", "/music/a/{_{_}_}/music/b/"), record("lstFoldersNoSub", ""),
           record("lstFoldersExclude", "/music/a/skip/"), record("lstSingleFiles", "/x.flac"),
           record("lstSingleFilesExclude", ""), record("lstExcludedExt", ".ogg;.wma;"),
           record("Filter0-ExcludeAll", "1"), record("Filter0", "", struct.pack("<II", 5, 17))]
records += [record(f"Filter{i}", "") for i in range(1, 8)] + [record("DateFilter", "1,30")]
whole = struct.pack("<I", len(records)) + b"".join(records)
out = sys.argv[1]
open(f"{out}/saved", "wb").write(whole)
open(f"{out}/truncated", "wb").write(whole[:len(whole) // 2])
PY

# Seeds for a plug-in: each tests/data file whose extension the plug-in declares,
# prefixed with the byte that selects that extension.
for plugin in taglib ffmpeg; do
  seeds="$work/plugin_open_fuzz_$plugin/seeds"
  mkdir -p "$seeds"
  index=0
  while read -r extension; do
    for file in "$root"/tests/data/*"$extension"; do
      [ -f "$file" ] || continue
      { printf "\\$(printf '%03o' "$index")"; cat "$file"; } >"$seeds/$(basename "$file")"
    done
    index=$((index + 1))
  done < <(TESSAROVEN_FUZZ_LIST=1 "$build/bench/fuzz/plugin_open_fuzz_$plugin")
done

status=0
for target in "${targets[@]}"; do
  dir="$work/$target"
  mkdir -p "$dir/corpus" "$dir/findings"
  echo "== $target: ${seconds}s, $(ls "$dir/seeds" | wc -l) seeds"
  set +e
  (cd "$dir" && "$build/bench/fuzz/$target" -max_total_time="$seconds" -rss_limit_mb=4096 \
     -timeout=10 -print_final_stats=1 -artifact_prefix="$dir/findings/" \
     corpus seeds >"$dir/log.txt" 2>&1)
  rc=$?
  set -e
  grep -E '^stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "$dir/log.txt" || true
  grep -E '^#[0-9]+ +DONE' "$dir/log.txt" | tail -n 1 || true
  findings=$(ls "$dir/findings" | wc -l)
  echo "exit code $rc, findings: $findings"
  if [ "$findings" -ne 0 ]; then
    ls "$dir/findings"
    grep -E 'ERROR: |SUMMARY: ' "$dir/log.txt" | head -n 5
    status=1
  fi
done
exit "$status"
