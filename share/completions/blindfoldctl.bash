# shellcheck shell=bash
# Completion of blindfoldctl(1) for bash 3.2 and later.

# Prints the lease of the current hold, if a helper answers the program $1 within a second.
_blindfoldctl_lease() {
  local state
  IFS= read -r -t 1 state < <(exec "$1" status 2>/dev/null) || return 0
  case $state in *'"leaseID":"'*) ;; *) return 0 ;; esac
  state=${state#*'"leaseID":"'}
  state=${state%%\",*}
  state=${state//\\\//\/}
  # A lease that JSON writes with other escapes is left to be typed.
  case $state in *\\*) ;; *) printf '%s' "$state" ;; esac
}

_blindfoldctl() {
  local word lease typed
  local -a given
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    for word in status detect hold-built-in release restore renew mute unmute; do
      case $word in "${COMP_WORDS[1]}"*) COMPREPLY[${#COMPREPLY[@]}]=$word ;; esac
    done
    return 0
  fi
  # COMP_WORDS has a lease in pieces where it holds a colon; the line has it whole. The period keeps
  # an argument that is still empty.
  read -r -a given <<<"${COMP_LINE:0:COMP_POINT}."
  if [ "${given[1]}" != renew ] || [ "${#given[@]}" -ne 3 ]; then return 0; fi
  typed=${given[2]%.}
  lease=$(_blindfoldctl_lease "$1")
  [ -n "$lease" ] || return 0
  lease=$(printf '%q' "$lease")
  case $lease in
    # Readline replaces the last piece only.
    "$typed"*) COMPREPLY=("${lease#"${typed%"${typed##*[=:]}"}"}") ;;
  esac
}

complete -F _blindfoldctl blindfoldctl
