#!/usr/bin/env bash
# Installs everything Probix needs to build, run and test on Debian 12; with
# --packaging also what the package, install-check and arm64 scripts use on the
# machine itself (everything else they need goes into their own chroots); with
# --hardening the compiler of the sanitizer and fuzz builds.
set -euo pipefail
SUDO=
[ "$(id -u)" -eq 0 ] || SUDO=sudo
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends \
  cmake g++ make pkg-config \
  qtbase5-dev qtdeclarative5-dev qtquickcontrols2-5-dev qttools5-dev qttools5-dev-tools qtdeclarative5-dev-tools \
  qml-module-qtquick2 qml-module-qtquick-window2 qml-module-qtquick-controls2 \
  qml-module-qtquick-templates2 qml-module-qtquick-layouts qml-module-qtquick-dialogs \
  qml-module-qtgraphicaleffects libqt5svg5 \
  libprotobuf-dev protobuf-compiler libgrpc++-dev protobuf-compiler-grpc \
  xvfb xauth xdotool x11-apps imagemagick fonts-noto-cjk openssl \
  sudo dmidecode lsb-release procps iproute2 util-linux ansible-core \
  g++-aarch64-linux-gnu qemu-user
if [ "${1:-}" = --hardening ]; then
  $SUDO apt-get install -y -q --no-install-recommends clang-14 libclang-rt-14-dev
fi
if [ "${1:-}" = --packaging ]; then
  $SUDO apt-get install -y -q --no-install-recommends \
    dpkg-dev file lintian desktop-file-utils debootstrap \
    tesseract-ocr tesseract-ocr-eng tesseract-ocr-chi-sim
fi
