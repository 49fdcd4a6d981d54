# What the scripts for a Mac share: the tools that they need, and the development helper as a daemon.
# Sourced. macOS ships bash 3.2, so these scripts keep to what it knows.
# shellcheck shell=bash

cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit

announce() { printf '\n== %s\n' "$*"; }

# Ends the script with one line.
fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

# require_tools FORMULA...: the compiler and these programs of Homebrew's are there, or the script
# ends and says which command installs what is missing.
require_tools() {
  xcrun --find clang++ >/dev/null 2>&1 ||
    fail "The compiler is missing. Install it, then start this again: xcode-select --install"
  if command -v brew >/dev/null; then PATH="$PATH:$(brew --prefix)/bin"; fi
  local formula
  for formula in "$@"; do
    command -v "$formula" >/dev/null ||
      fail "$formula is missing. Install it, then start this again: brew install $formula"
  done
}

label=app.blindfold.helper.dev
daemon_directory=/var/run/$label
property_list=$daemon_directory/$label.plist

# Says why the password is asked for.
explain_sudo() {
  cat <<END
A helper is a daemon of the system: launchd takes it from a directory that belongs to root. So sudo
may ask for your password now. It is used to make $daemon_directory,
to register the development helper from there as system/$label, and to
remove both again when this script ends. The helper itself runs as you, not as root.
END
}

# The text of a property list's string.
escape_xml() {
  printf '%s' "$1" | sed -e 's/&/\&amp;/g' -e 's/</\&lt;/g' -e 's/>/\&gt;/g'
}

# print_property_list ARGUMENT...: the daemon's, which passes the helper these arguments.
print_property_list() {
  local argument
  cat <<END
<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>Label</key>
  <string>$label</string>
  <key>MachServices</key>
  <dict>
    <key>$label</key>
    <true/>
  </dict>
  <key>UserName</key>
  <string>$(escape_xml "$(id -un)")</string>
  <key>ProgramArguments</key>
  <array>
    <string>$daemon_directory/blindfold-devhelper</string>
    <string>--service</string>
    <string>$label</string>
END
  for argument in "$@"; do printf '    <string>%s</string>\n' "$(escape_xml "$argument")"; done
  printf '  </array>\n</dict>\n</plist>\n'
}

# require_no_daemon: nobody's development helper is registered, or the script ends.
require_no_daemon() {
  if launchctl print "system/$label" >/dev/null 2>&1; then
    fail "A development helper is registered already. Remove it: sudo launchctl bootout system/$label"
  fi
}

# install_daemon HELPER PROPERTY_LIST: puts both where launchd takes them from, and registers them.
install_daemon() {
  sudo install -d -o root -g wheel -m 0755 "$daemon_directory" &&
    sudo install -o root -g wheel -m 0755 "$1" "$daemon_directory/blindfold-devhelper" &&
    sudo install -o root -g wheel -m 0644 "$2" "$property_list" &&
    sudo launchctl bootstrap system "$property_list"
}

# register_daemon HELPER [ARGUMENT...]: launchd starts the helper, with these arguments, as soon as a
# client asks for its service. Needs clean_up_at_exit, which also removes what was made of it before
# a failure.
register_daemon() {
  local helper=$1 list=$work/$label.plist
  shift
  print_property_list "$@" >"$list"
  install_daemon "$helper" "$list" || fail "The development helper could not be registered."
}

# Removes what register_daemon has made, as far as it is there.
remove_daemon() {
  sudo launchctl bootout "system/$label" 2>/dev/null || true
  sudo rm -rf "$daemon_directory" ||
    echo "The daemon's directory is still there. Remove it: sudo rm -rf $daemon_directory" >&2
}

# clean_up_at_exit: makes $work, a directory for the script's files. From now on it goes with the
# script, and so does the daemon, on errors, on Ctrl-C and with the terminal too.
clean_up_at_exit() {
  trap clean_up EXIT
  trap 'exit 129' HUP
  trap 'exit 130' INT
  trap 'exit 143' TERM
  work=$(mktemp -d "${TMPDIR:-/tmp}/blindfold.XXXXXX")
}

# Goes through to its end, whatever fails and whoever interrupts.
clean_up() {
  trap '' HUP INT TERM PIPE
  set +e
  remove_daemon
  rm -rf "${work:-}"
}
