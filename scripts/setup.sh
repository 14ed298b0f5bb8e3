#!/usr/bin/env bash
# Installs everything Probix needs to build, run and test on Debian 12; with
# --packaging also what the package, install-check and arm64 scripts use on the
# machine itself (everything else they need goes into their own chroots); with
# --hardening the compiler of the sanitizer and fuzz builds.
# Asks apt only when a package is missing, so the scripts that call it first cost
# nothing once the machine is set up.
set -euo pipefail
packages=(
  cmake g++ make pkg-config
  qtbase5-dev qtdeclarative5-dev qtquickcontrols2-5-dev qttools5-dev qttools5-dev-tools qtdeclarative5-dev-tools
  qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-controls2
  qml-module-qtquick-templates2 qml-module-qtquick-layouts qml-module-qtquick-dialogs
  qml-module-qtgraphicaleffects libqt5svg5
  libprotobuf-dev protobuf-compiler libgrpc++-dev protobuf-compiler-grpc
  xvfb xauth xdotool x11-apps imagemagick fonts-noto-cjk openssl
  sudo dmidecode lsb-release procps iproute2 util-linux ansible-core
  g++-aarch64-linux-gnu qemu-user clang-format
)
for flag in "$@"; do
  case $flag in
  --hardening) packages+=(clang-14 libclang-rt-14-dev) ;;
  --packaging)
    packages+=(dpkg-dev file lintian desktop-file-utils debootstrap
      tesseract-ocr tesseract-ocr-eng tesseract-ocr-chi-sim)
    ;;
  *) echo "usage: $0 [--hardening] [--packaging]" >&2; exit 2 ;;
  esac
done

# dpkg-query says nothing at all about a package it has never heard of, so every
# name is looked for in its answer rather than trusting its exit status.
installed=$(dpkg-query -W -f='${Package} ${Status}\n' "${packages[@]}" 2>/dev/null || true)
missing=()
for package in "${packages[@]}"; do
  grep -qxF "$package install ok installed" <<<"$installed" || missing+=("$package")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: the ${#packages[@]} Debian packages are installed"
  exit 0
fi
echo "setup: installing ${missing[*]}"

SUDO=
[ "$(id -u)" -eq 0 ] || SUDO=sudo
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${packages[@]}"
