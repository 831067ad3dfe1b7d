#!/usr/bin/env bash
# Installs the Debian packages the build needs, only those missing.
set -euo pipefail

packages=(cmake g++ make pkg-config libexpat1-dev nlohmann-json3-dev libgtest-dev libgmock-dev libbenchmark-dev clang libclang-rt-dev python3)
# moresc reads signed configuration profiles with OpenSSL (libssl-dev brings
# libcrypto's headers); its tests make a throw-away CA with the openssl command.
packages+=(libssl-dev openssl)
# For the check that the installed manual pages render.
packages+=(man-db groff-base)
missing=()
for package in "${packages[@]}"; do
  dpkg -s "$package" >/dev/null 2>&1 || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "Installing: ${missing[*]}"
"${as_root[@]}" apt-get update -qq
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq "${missing[@]}" >/dev/null
