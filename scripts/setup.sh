#!/usr/bin/env bash
# Installs what building and testing need from the distribution's packages (Debian 12). Says nothing when all is there.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

packages=(
    build-essential cmake ninja-build git pkg-config ccache
    clang clang-format clang-tidy libclang-rt-14-dev
    qt6-base-dev libpugixml-dev libxerces-c-dev
    libcli11-dev nlohmann-json3-dev rapidjson-dev libsimpleini-dev libedit-dev libelf-dev
    libgtest-dev libgmock-dev locales python3
)

fail()
{
    printf 'setup: %s\nsetup: packages needed: %s\n' "$1" "${missing[*]}" >&2
    exit 1
}

installed()
{
    [[ "$(dpkg-query -W -f '${db:Status-Status}\n' "$1" 2>/dev/null)" == installed* ]]
}

missing=()
for package in "${packages[@]}"; do
    installed "$package" || missing+=("$package")
done
if ((${#missing[@]} == 0)); then
    exit 0
fi

command -v apt-get >/dev/null || fail "this machine has no apt-get; install the packages' counterparts by hand"
as_root=()
if ((EUID != 0)); then
    command -v sudo >/dev/null || fail "installing packages takes root, and there is no sudo; run this script as root"
    as_root=(sudo)
fi

printf 'setup: installing %s\n' "${missing[*]}"
apt_get=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o Dpkg::Use-Pty=0)
"${apt_get[@]}" update || fail "apt-get update failed"
"${apt_get[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null || fail "apt-get install failed"
