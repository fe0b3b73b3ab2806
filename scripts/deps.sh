#!/usr/bin/env bash
# Installs the Debian packages the build, the tests and the demo need, if any is missing.
set -euo pipefail

packages=(
  cmake g++ make pkg-config
  libcurl4-openssl-dev libboost-json1.81-dev libglib2.0-dev libgtkmm-4.0-dev libwebkitgtk-6.0-dev
  libcpp-httplib-dev libsqlite3-dev libgtest-dev libgmock-dev libbenchmark-dev xvfb xauth openssl
  xdotool  # the form tests press real keys (XTest)
  clang chromium
)

missing=()
for package in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$package" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$package")
done

if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo=""
  [[ $(id -u) -eq 0 ]] || sudo="sudo"
  $sudo apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y --no-install-recommends "${missing[@]}"
fi
