# What the tests of the installed package share. Sourced with the arguments of the test:
#
# CMAKE COMPILER SOURCES BUILD CONFIGURATION TOOL HELPER SANITIZERS
# TOOL links no property list.
#
# shellcheck shell=bash
# shellcheck disable=SC2034 # each test uses some of the variables
set -euo pipefail
cmake=$1 compiler=$2 sources=$3 build=$4 configuration=$5 tool=$6 helper_program=$7 sanitizers=$8
umask 022

# A folder of the test's own, and a service that no other test has.
work=$(mktemp -d)
service=test.package.$$
app=$work/Blindfold.app
helper_process=
program_process=
trap 'stop_helper; kill_program; rm -rf "$work"' EXIT

fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# expect STATUS TEXT COMMAND...: the command ends with the status and its output contains the text.
expect() {
  local status=0 output
  output=$("${@:3}" 2>&1) || status=$?
  echo "$output"
  [ "$status" -eq "$1" ] || fail "expected status $1, got $status: ${*:3}"
  grep -qF -- "$2" <<<"$output" || fail "expected \"$2\" in the output of: ${*:3}"
}

# Installs the package to $work/prefix.
install_package() {
  echo "== Installing"
  "$cmake" --install "$build" --config "$configuration" --prefix "$work/prefix" \
    --component development >/dev/null
  include=$work/prefix/include/blindfold
}

# build_program SOURCES BUILD [OPTION...]: builds a program against the installed package, as the
# library is built and without a warning.
build_program() {
  "$cmake" -G Ninja -S "$1" -B "$2" -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror ${sanitizers:+-fsanitize=$sanitizers}" \
    "${@:3}" >"$work/log" || fail "$(cat "$work/log")"
  "$cmake" --build "$2" >"$work/log" || fail "$(cat "$work/log")"
}

# A text as it stands in XML.
xml_text() { sed 's/&/\&amp;/g; s/</\&lt;/g' <<<"$1"; }

# make_application PROGRAM: makes the application that the precheck accepts, with this program.
make_application() {
  mkdir -p "$app/Contents/MacOS"
  cp "$1" "$app/Contents/MacOS/Blindfold"
  cp "$tool" "$app/Contents/MacOS/blindfoldctl"
  cat >"$app/Contents/Info.plist" <<PLIST
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0">
<dict>
  <key>CFBundleIdentifier</key><string>app.blindfold.mac</string>
  <key>BlindfoldHelperMachServiceName</key><string>$service</string>
  <key>BlindfoldHelperInstallPath</key><string>$(xml_text "$helper_program")</string>
</dict>
</plist>
PLIST
}

# await FILE TEXT PROCESS: waits until the file holds the text; fails when the process ends before.
await() {
  local waits
  for ((waits = 0; waits < 1000; ++waits)); do
    grep -qF -- "$2" "$1" && return
    kill -0 "$3" 2>/dev/null || break
    sleep 0.02
  done
  grep -qF -- "$2" "$1" || fail "expected \"$2\" in: $(cat "$1")"
}

# start_helper [LINE...]: starts the development helper; the lines are its script.
start_helper() {
  printf '%s\n' "$@" >"$work/script"
  : >"$work/record"
  : >"$work/helper_output"
  setpriv --pdeathsig KILL \
    "$helper_program" --service "$service" --script "$work/script" --record "$work/record" \
    >"$work/helper_output" &
  helper_process=$!
  await "$work/helper_output" ready "$helper_process"
}

stop_helper() {
  [ -n "$helper_process" ] || return 0
  kill "$helper_process" || true
  wait "$helper_process" || true
  helper_process=
}

# start_program ARGUMENT...: starts the application's program.
start_program() {
  : >"$work/output"
  "$app/Contents/MacOS/Blindfold" "$@" >"$work/output" 2>&1 &
  program_process=$!
}

# await_output TEXT: waits until the application's program has written the text.
await_output() { await "$work/output" "$1" "$program_process"; }

# interrupt_program [TEXT]: the application's program ends cleanly, and soon, on SIGTERM; its output
# contains the text.
interrupt_program() {
  local status=0 interrupted=$SECONDS
  kill -TERM "$program_process"
  wait "$program_process" || status=$?
  program_process=
  cat "$work/output"
  [ "$status" -eq 0 ] || fail "expected status 0, got $status"
  ((SECONDS - interrupted < 4)) || fail "it took $((SECONDS - interrupted)) seconds to end"
  [ $# -eq 0 ] || grep -qF -- "$1" "$work/output" || fail "expected \"$1\" in its output"
}

kill_program() {
  [ -n "$program_process" ] || return 0
  kill -KILL "$program_process" 2>/dev/null || true
}
