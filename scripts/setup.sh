#!/usr/bin/env bash
# Installs the missing packages of scripts/packages.txt, or of the list named as its argument. PACKAGE:ARCHITECTURE stands for a
# package of another architecture, which is added to dpkg's. Only installing needs root; when nothing is missing, it prints
# nothing.
set -euo pipefail
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")"
list=${1:-packages.txt}

if ! command -v apt-get >/dev/null; then
  echo "setup: this is not a Debian system; scripts/$list lists what is needed, by Debian's names" >&2
  exit 1
fi

wanted=$(sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$list" | LC_ALL=C sort -u)
installed=$(dpkg-query --show --showformat='${db:Status-Status} ${Package}\n${db:Status-Status} ${Package}:${Architecture}\n' |
  sed -n 's/^installed //p' | LC_ALL=C sort -u)
mapfile -t missing < <(LC_ALL=C comm -23 <(echo "$wanted") <(echo "$installed"))

if ((${#missing[@]} == 0)); then
  exit 0
fi
if ((EUID != 0)); then
  echo "setup: missing packages: ${missing[*]}" >&2
  echo "setup: installing them needs root; run scripts/setup.sh $list as root once" >&2
  exit 1
fi

echo "== setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
for package in "${missing[@]}"; do
  if [[ $package == *:* ]] && ! dpkg --print-foreign-architectures | grep -qxF "${package#*:}"; then
    dpkg --add-architecture "${package#*:}"
  fi
done
# On a freshly started machine the daily update may still hold the lock.
options=(-qq -o DPkg::Lock::Timeout=120 -o Dpkg::Use-Pty=0)
apt-get "${options[@]}" update
apt-get "${options[@]}" install --yes --no-install-recommends "${missing[@]}"
