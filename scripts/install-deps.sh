#!/usr/bin/env bash
# Installs what building and testing need on Debian 12, where it is missing.
set -euo pipefail
packages=(build-essential cmake pkg-config libgtest-dev libcli11-dev libfaad-dev ffmpeg clang libclang-rt-14-dev time
  qt6-base-dev libgl-dev fonts-open-sans qt6-multimedia-dev qt6-svg-dev qt6-qpa-plugins
  gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-libav dpkg-dev)
missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -ne 0 ] && sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi
