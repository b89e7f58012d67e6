#!/usr/bin/env bash
# Times tolmi-repair as a whole process on five large damaged files and sets
# each time beside that of copying the same file with cp, the least a repair
# can take: it must at least read and write the data.
#
#   bash bench/run.sh               # all five inputs, 5 runs each
#   RUNS=9 bash bench/run.sh 3      # input 3 only, 9 runs
#
# With inputs 1 and 2 both chosen, it also times the MOV engine inside one
# process on both (one run each), and the extra time that the 16 MiB of
# garbage cost it.
#
# BUILD_DIR (default build) names the build folder; the inputs are made once
# with ffmpeg and kept in BUILD_DIR/bench-inputs. Times are medians with the
# page cache warm; peak memory is the largest resident set of any run.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$(realpath -m "${BUILD_DIR:-$root/build}")
runs=${RUNS:-5}
inputs=$build/bench-inputs
work=$inputs/work
selected=("$@")
((${#selected[@]})) || selected=(1 2 3 4 5)

bash "$root/scripts/install-deps.sh"
if [ -z "${NO_BUILD:-}" ]; then
  cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
  cmake --build "$build" --target tolmi-repair tolmi-bench-reading -j"$(nproc)" >/dev/null
fi
repair=$build/bin/tolmi-repair
reading=$build/bin/tolmi-bench-reading
mkdir -p "$inputs" "$work"

# ---- Inputs ----

log() { echo "$*" >&2; }

encode() {  # encode OUTPUT SECONDS SOURCE_FILTER FFMPEG_ARGS...
  local out=$1 seconds=$2 source=$3
  shift 3
  [ -s "$out" ] && return
  log "making $(basename "$out") with ffmpeg (once)"
  # Moving test pictures with grain, so that the encoders spend real bits.
  ffmpeg -nostdin -loglevel error -y -f lavfi -i "$source:duration=$seconds" \
    -f lavfi -i "sine=frequency=440:sample_rate=48000:duration=$seconds" -ac 2 \
    -vf "noise=alls=14:allf=t+u" -threads 2 "$@" "${out%.*}.part.${out##*.}"
  mv "${out%.*}.part.${out##*.}" "$out"
}

cut_end() {  # cut_end SOURCE OUTPUT PERCENT_KEPT: the end lost, as when a recording stops
  local source=$1 out=$2 kept=$3
  [ -s "$out" ] && return
  head -c $(($(stat -c %s "$source") * kept / 100)) "$source" >"$out.part"
  mv "$out.part" "$out"
}

splice_garbage() {  # splice_garbage SOURCE OUTPUT: 16 MiB of random bytes in the middle of mdat
  local source=$1 out=$2
  [ -s "$out" ] && return
  local size mdat middle
  size=$(stat -c %s "$source")
  mdat=$(LC_ALL=C grep -obUa mdat "$source" | head -n 1 | cut -d: -f1)
  middle=$(((mdat + size) / 2))
  {
    head -c "$middle" "$source"
    head -c $((16 << 20)) /dev/urandom
    tail -c +$((middle + 1)) "$source"
  } >"$out.part"
  mv "$out.part" "$out"
}

# Cameras write each track in chunks of about half a second.
h264=(-c:v libx264 -preset ultrafast -b:v 11M -maxrate 11M -bufsize 22M -pix_fmt yuv420p -c:a aac -b:a 128k -chunk_duration 500000)
h265=(-c:v libx265 -preset ultrafast -b:v 11M -pix_fmt yuv420p -x265-params log-level=error -tag:v hvc1
  -c:a aac -b:a 128k -chunk_duration 500000)
# ffmpeg-based recorders interleave frame by frame: the same, without chunks.
h264_frames=("${h264[@]:0:${#h264[@]}-2}")
avi=(-c:v mpeg4 -b:v 12M -maxrate 12M -bufsize 24M -g 30 -c:a pcm_s16le)

make_inputs() {
  local want=" ${selected[*]} "
  if [[ $want == *" 1 "* || $want == *" 2 "* ]]; then
    encode "$inputs/h264-full.mp4" 60 "testsrc2=size=1920x1080:rate=30" "${h264[@]}"
    # The reference: another recording with the same camera settings.
    encode "$inputs/h264-reference.mp4" 5 "testsrc=size=1920x1080:rate=30" "${h264[@]}"
    cut_end "$inputs/h264-full.mp4" "$inputs/1-h264-cut.mp4" 96
    splice_garbage "$inputs/1-h264-cut.mp4" "$inputs/2-h264-cut-garbage.mp4"
  fi
  if [[ $want == *" 5 "* ]]; then
    encode "$inputs/h264-frames-full.mp4" 60 "testsrc2=size=1920x1080:rate=30" "${h264_frames[@]}"
    encode "$inputs/h264-frames-reference.mp4" 5 "testsrc=size=1920x1080:rate=30" "${h264_frames[@]}"
    cut_end "$inputs/h264-frames-full.mp4" "$inputs/5-h264-frames-cut.mp4" 96
  fi
  if [[ $want == *" 3 "* ]]; then
    encode "$inputs/avi-full.avi" 60 "testsrc2=size=1280x720:rate=30" "${avi[@]}"
    cut_end "$inputs/avi-full.avi" "$inputs/3-mpeg4-pcm-cut.avi" 97
  fi
  if [[ $want == *" 4 "* ]]; then
    encode "$inputs/h265-full.mp4" 60 "testsrc2=size=1280x720:rate=30" "${h265[@]}"
    encode "$inputs/h265-reference.mp4" 5 "testsrc=size=1280x720:rate=30" "${h265[@]}"
    cut_end "$inputs/h265-full.mp4" "$inputs/4-h265-cut.mp4" 96
  fi
}

# ---- Timing ----

now_ns() { date +%s%N; }

median() { sort -n | awk '{v[NR] = $1} END {print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2}'; }

# time_runs NAME COMMAND...: one warm-up, then RUNS timed runs; prints
# "median_seconds peak_kib exit_code".
time_runs() {
  local name=$1
  shift
  local times=() peak=0 code=0 start end rss
  for ((run = 0; run <= runs; run++)); do
    rm -f "$work/out"*
    start=$(now_ns)
    set +e
    /usr/bin/time -f %M -o "$work/$name.rss" "$@" >/dev/null 2>"$work/$name.err"
    code=$?
    set -e
    end=$(now_ns)
    rss=$(tail -n 1 "$work/$name.rss")
    ((rss > peak)) && peak=$rss
    ((run > 0)) && times+=("$(awk -v a="$start" -v b="$end" 'BEGIN {printf "%.4f", (b - a) / 1e9}')")
  done
  rm -f "$work/out"*
  echo "$(printf '%s\n' "${times[@]}" | median) $peak $code"
}

describe() {
  case $1 in
    1) echo "1080p H.264 + AAC, end cut off" ;;
    2) echo "the same + 16 MiB of garbage" ;;
    3) echo "AVI MPEG-4 + PCM, end cut off" ;;
    4) echo "720p H.265 + AAC, end cut off" ;;
    5) echo "1080p H.264 + AAC frame by frame, cut" ;;
  esac
}

input_of() {
  case $1 in
    1) echo "$inputs/1-h264-cut.mp4" ;;
    2) echo "$inputs/2-h264-cut-garbage.mp4" ;;
    3) echo "$inputs/3-mpeg4-pcm-cut.avi" ;;
    4) echo "$inputs/4-h265-cut.mp4" ;;
    5) echo "$inputs/5-h264-frames-cut.mp4" ;;
  esac
}

reference_of() {
  case $1 in
    1 | 2) echo "$inputs/h264-reference.mp4" ;;
    4) echo "$inputs/h265-reference.mp4" ;;
    5) echo "$inputs/h264-frames-reference.mp4" ;;
  esac
}

make_inputs
log "load average: $(cut -d' ' -f1-3 /proc/loadavg) on $(nproc) cores; $runs runs each, medians"
printf '%-3s %-34s %8s %9s %9s %8s %7s %9s %5s\n' \
  "#" "input" "MB" "repair s" "MB/s" "cp s" "÷ cp" "peak MiB" "exit"
declare -A seconds
for n in "${selected[@]}"; do
  input=$(input_of "$n")
  args=("$input")
  ref=$(reference_of "$n")
  [ -n "$ref" ] && args+=(--reference "$ref")
  ext=${input##*.}
  read -r repair_s peak code < <(time_runs "repair$n" "$repair" "${args[@]}" --output "$work/out.$ext" --force --quiet)
  read -r copy_s _ _ < <(time_runs "copy$n" cp "$input" "$work/out.copy")
  seconds[$n]=$repair_s
  mb=$(awk -v b="$(stat -c %s "$input")" 'BEGIN {printf "%.1f", b / 1e6}')
  printf '%-3s %-34s %8s %9s %9s %8s %7s %9s %5s\n' "$n" "$(describe "$n")" "$mb" "$repair_s" \
    "$(awk -v m="$mb" -v s="$repair_s" 'BEGIN {printf "%.0f", m / s}')" "$copy_s" \
    "$(awk -v a="$repair_s" -v c="$copy_s" 'BEGIN {printf "%.1f", a / c}')" \
    "$(awk -v k="$peak" 'BEGIN {printf "%.1f", k / 1024}')" "$code"
  [ "$code" -eq 0 ] || log "input $n: tolmi-repair exited with $code: $(tail -n 3 "$work/repair$n.err")"
done
if [[ -n ${seconds[1]:-} && -n ${seconds[2]:-} ]]; then
  echo "the 16 MiB of garbage cost $(awk -v a="${seconds[1]}" -v b="${seconds[2]}" 'BEGIN {printf "%.3f", b - a}') s"
fi

# ---- The MOV engine in one process ----

if [[ -n ${seconds[1]:-} && -n ${seconds[2]:-} ]]; then
  echo
  echo "MOV engine in one process (scan and rebuild), one run each:"
  printf '%10s %10s %14s\n' "input 1 s" "input 2 s" "garbage cost s"
  read -r one _ < <("$reading" "$(input_of 1)" "$(reference_of 1)" "$work")
  read -r two _ < <("$reading" "$(input_of 2)" "$(reference_of 2)" "$work")
  printf '%10s %10s %14s\n' "$one" "$two" "$(awk -v a="$one" -v b="$two" 'BEGIN {printf "%.3f", b - a}')"
fi
