# shellcheck shell=bash
# What the scripts share: where they work, and what they need of the machine. Sourced.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit

# What it takes to build the programs; those and their tests; to run the macOS adapters on Linux; and
# to read the manuals, completions, schemas and recipes as their users do.
# shellcheck disable=SC2034  # The scripts that source this file use them.
{
  build_packages=(cmake ninja-build g++)
  test_packages=("${build_packages[@]}" libgtest-dev libgmock-dev python3)
  gnustep_packages=(libgnustep-base-dev libblocksruntime-dev libobjc-12-dev)
  document_packages=(ansible-core binutils fish jq mandoc python3-jsonschema shellcheck zsh)
}

# A title for what a script does next.
announce() { printf '\n== %s\n' "$*"; }

# What is needed of a Debian package: a command, a header, a file, a module of Python, or a version of
# CMake. A package that is not listed has a command of its own name.
needed_of() {
  case "$1" in
    ansible-core) echo "command ansible-playbook" ;;
    binutils) echo "command strings" ;;
    clang-19) echo "command clang++-19" ;;
    cmake) echo "cmake 3.25" ;;
    g++) echo "command c++" ;;
    googletest) echo "file /usr/src/googletest/CMakeLists.txt" ;;
    libbenchmark-dev) echo "header benchmark/benchmark.h" ;;
    libblocksruntime-dev) echo "header Block.h" ;;
    libclang-rt-19-dev) echo "file /usr/lib/llvm-19/lib/clang/19/lib" ;;
    libgmock-dev) echo "header gmock/gmock.h" ;;
    libgnustep-base-dev) echo "file /usr/include/GNUstep/Foundation/Foundation.h" ;;
    libgtest-dev) echo "header gtest/gtest.h" ;;
    libobjc-12-dev) echo "file /usr/lib/gcc/*/*/include/objc/runtime.h" ;;
    libsimdjson-dev) echo "header simdjson.h" ;;
    lld-19) echo "command ld64.lld-19" ;;
    llvm-19) echo "command llvm-lipo-19" ;;
    nlohmann-json3-dev) echo "header nlohmann/json.hpp" ;;
    ninja-build) echo "command ninja" ;;
    python3-jsonschema) echo "module jsonschema" ;;
    rapidjson-dev) echo "header rapidjson/rapidjson.h" ;;
    systemd) echo "command busctl" ;;
    unicode-data) echo "file /usr/share/unicode/CaseFolding.txt" ;;
    *) echo "command $1" ;;
  esac
}

# is_there KIND NAME: this machine has it, whoever installed it. The name of a file is a pattern.
is_there() {
  case "$1" in
    cmake) printf '%s\n' "$2" "$(cmake --version 2>/dev/null | sed -n '1s/[^0-9]*//p')" | sort -VC ;;
    command) command -v "$2" >/dev/null ;;
    file) compgen -G "$2" >/dev/null ;;
    header) c++ -E -x c++ -include "$2" /dev/null >/dev/null 2>&1 ;;
    module) python3 -c "import $2" >/dev/null 2>&1 ;;
  esac
}

# require_packages PACKAGE...: what these Debian packages provide is there; or root installs them on
# Debian; or the script ends and says what is missing.
require_packages() {
  local packages=() missing=() package kind name
  for package in "$@"; do
    read -r kind name <<<"$(needed_of "$package")"
    is_there "$kind" "$name" || { packages+=("$package") && missing+=("$kind $name"); }
  done
  ((${#packages[@]})) || return 0
  if [ "$(id -u)" -eq 0 ] && command -v apt-get >/dev/null; then
    announce "Installing ${packages[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update --quiet=2
    apt-get install --yes --quiet=2 --no-install-recommends "${packages[@]}" >/dev/null
    return
  fi
  local list
  list=$(printf ', %s' "${missing[@]}")
  echo "Missing: ${list:2}. On Debian: sudo apt-get install --yes ${packages[*]}" >&2
  exit 1
}

# files_with PATTERN...: the project's files of these names, each ended by a null character.
files_with() {
  local pattern names=()
  for pattern in "$@"; do names+=(-o -name "$pattern"); done
  find bench blindfold devhelper docs examples tests -type f \( "${names[@]:1}" \) -print0
}

# scripts_in LANGUAGE: the project's scripts whose first line names it (a regular expression), each
# ended by a null character.
scripts_in() {
  # shellcheck disable=SC2016  # The program is awk's.
  find .ci scripts share tests -type f -print0 |
    xargs -0 awk -v language="[/ ]($1)\$" \
      'FNR == 1 { if (/^#!/ && $0 ~ language) printf "%s%c", FILENAME, 0; nextfile }'
}
