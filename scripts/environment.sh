# What the scripts share: where they work, and how they get what a fresh machine lacks. Sourced.

cd "$(dirname "${BASH_SOURCE[0]}")/.."

# The machine's name for what a script does now, on a line of its own.
announce() { printf '\n== %s\n' "$*"; }

# require_packages PACKAGE...: these Debian packages are installed, or get installed by root, or the
# script ends and says which command installs them.
require_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query --show --showformat='${Status}' "$package" 2>/dev/null |
      grep -q 'install ok installed' || missing+=("$package")
  done
  ((${#missing[@]})) || return 0
  if [ "$(id -u)" -ne 0 ]; then
    echo "Some packages are missing. Install them, then start this again:" >&2
    echo "  sudo apt-get install --yes ${missing[*]}" >&2
    exit 1
  fi
  announce "Installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update --quiet=2
  apt-get install --yes --quiet=2 --no-install-recommends "${missing[@]}" >/dev/null
}

# The directory of the Linux platform's sockets exists and is this user's to write in, or the script
# ends and says which command makes it so.
require_system_domain() {
  local directory=/run/blindfold
  if [ ! -e "$directory" ] && [ "$(id -u)" -eq 0 ]; then install -d -m 0755 "$directory"; fi
  if [ ! -w "$directory" ]; then
    echo "The development helper needs a directory for its socket. Make it, then start this again:" >&2
    echo "  sudo install -d -m 0755 -o $(id -un) $directory" >&2
    exit 1
  fi
}

# What it takes to build the programs and their tests.
build_packages=(cmake ninja-build g++ libgtest-dev libgmock-dev)

# What it takes to run the macOS adapters on Linux.
gnustep_packages=(libgnustep-base-dev libblocksruntime-dev libobjc-12-dev)
