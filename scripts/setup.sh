#!/usr/bin/env bash
# Installs what building and testing qelstd needs on a Debian machine and generates the
# locales the tests pin. Idempotent: when everything is present it only checks and returns.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config
  clang libclang-rt-14-dev
  libgtest-dev libgmock-dev libbenchmark-dev rapidjson-dev nlohmann-json3-dev
  pybind11-dev python3-dev python3-pytest
  libssl-dev zlib1g-dev libglib2.0-dev shared-mime-info
  python3-gi gir1.2-glib-2.0
  locales
  dpkg-dev file help2man
  gnucobol3
  libcurl4-openssl-dev openssl curl
  dbus-daemon libglib2.0-bin systemd
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

SUDO=""
if [ "$(id -u)" != 0 ]; then SUDO="sudo"; fi

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

need_locales=()
for l in es_CL en_US; do
  locale -a 2>/dev/null | grep -qi "^${l}\.utf-\?8$" || need_locales+=("$l")
done
if [ ${#need_locales[@]} -gt 0 ]; then
  echo "setup: generating locales ${need_locales[*]}"
  for l in "${need_locales[@]}"; do
    $SUDO localedef -i "$l" -f UTF-8 "$l.UTF-8"
  done
fi
