#!/usr/bin/env bash
# Installs the missing packages of scripts/packages.txt, or of the list named as its argument. Only installing needs root; when
# nothing is missing, it prints nothing.
#
# PACKAGE:ARCHITECTURE is a package of another architecture, which is added to dpkg's. Without such packages, which not every
# mirror has in the version that fits, only what is built for that architecture is left out.
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
native=()
foreign=()
for package in "${missing[@]}"; do
  if [[ $package == *:* ]]; then foreign+=("$package"); else native+=("$package"); fi
done

if ((${#missing[@]} == 0)); then
  exit 0
fi
if ((EUID != 0)); then
  echo "setup: missing packages: ${missing[*]}" >&2
  echo "setup: installing them needs root; run scripts/setup.sh $list as root once" >&2
  exit $((${#native[@]} != 0))
fi

export DEBIAN_FRONTEND=noninteractive
# On a freshly started machine the daily update may still hold the lock.
options=(-qq -o DPkg::Lock::Timeout=120 -o Dpkg::Use-Pty=0)
install_packages() {
  echo "== setup: installing $*"
  apt-get "${options[@]}" update || echo "setup: some lists of packages cannot be fetched; older ones are used" >&2
  apt-get "${options[@]}" install --yes --no-install-recommends "$@"
}

if ((${#native[@]} != 0)); then
  install_packages "${native[@]}"
fi
if ((${#foreign[@]} != 0)); then
  for package in "${foreign[@]}"; do
    dpkg --add-architecture "${package#*:}"
  done
  install_packages "${foreign[@]}" || echo "setup: cannot install ${foreign[*]}; what needs them is left out" >&2
fi
