#!/usr/bin/env bash
# Builds the .deb from a build folder (default: build), installs it, and
# runs the installed programs as a user would: the console's version and a
# repair of the samples, then the window, offscreen, which is closed again.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
(cd "$build" && cpack -G DEB >/dev/null)
deb=$(realpath "$(ls -t "$build"/tolmi-video-repair_*.deb | head -1)")
sudo_cmd=""
[ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "$deb" >/dev/null
echo "Installed $(basename "$deb")"

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export HOME=$home XDG_RUNTIME_DIR=$home
unset XDG_CONFIG_HOME XDG_CACHE_HOME
/usr/bin/tolmi-repair --version
/usr/bin/tolmi-repair --quiet samples/damaged.mp4 --reference samples/reference.mp4 --output "$home/repaired.mov"
/usr/bin/tolmi-repair --quiet samples/damaged.avi --output "$home/repaired.avi"
for result in "$home/repaired.mov" "$home/repaired.avi"; do
  ffprobe -v error -show_entries stream=codec_type -of csv=p=0 "$result" | grep -qx video
done
# Installed under /usr, its settings are the user's.
test -f "$home/.config/tolmi-video-repair/settings.ini"

QT_QPA_PLATFORM=offscreen /usr/bin/tolmi-video-repair &
window=$!
for _ in $(seq 100); do
  [ -S "$home/GlobalMutexTMQDT.socket" ] && break
  sleep 0.1
done
test -S "$home/GlobalMutexTMQDT.socket"
kill -0 "$window"
kill -TERM "$window"
wait "$window" || true
echo "The installed programs run."
