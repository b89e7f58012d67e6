#!/usr/bin/env bash
# Makes the sample files in samples/ with ffmpeg: a healthy reference, and
# damaged files from other recordings with the same settings, the way a
# camera leaves them when its battery dies (the end, with the index, lost).
set -euo pipefail
cd "$(dirname "$0")/../samples"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
# Cameras and phones write each track in chunks of about half a second.
h264=(-c:v libx264 -profile:v main -pix_fmt yuv420p -g 25 -bf 2 -c:a aac -b:a 64k -ar 44100 -ac 2 -chunk_duration 500000)
ff() { ffmpeg -nostdin -y -loglevel error "$@"; }

ff -f lavfi -i testsrc2=size=320x240:rate=25 -f lavfi -i sine=frequency=440:sample_rate=44100 \
   -t 2 "${h264[@]}" -b:v 300k reference.mp4
ff -f lavfi -i mandelbrot=size=320x240:rate=25 -f lavfi -i sine=frequency=660:sample_rate=44100 \
   -t 4 "${h264[@]}" -b:v 300k "$tmp/recording.mp4"
# Cut in the media data: the movie atom at the end of the file is gone.
size=$(stat -c %s "$tmp/recording.mp4")
head -c $((size * 8 / 10)) "$tmp/recording.mp4" > damaged.mp4

ff -f lavfi -i testsrc=size=320x240:rate=25 -f lavfi -i sine=frequency=440:sample_rate=22050 \
   -t 4 -c:v mpeg4 -vtag XVID -q:v 6 -c:a pcm_s16le -ac 1 "$tmp/recording.avi"
size=$(stat -c %s "$tmp/recording.avi")
head -c $((size * 8 / 10)) "$tmp/recording.avi" > damaged.avi
ls -l reference.mp4 damaged.mp4 damaged.avi
