# Read by the other scripts. `quietly COMMAND...` says nothing while all is well; of a command that fails, all that it said.
quiet_log=$(mktemp)
trap 'rm -f "$quiet_log"' EXIT
quietly() {
  "$@" >"$quiet_log" 2>&1 </dev/null || {
    status=$?
    cat "$quiet_log" >&2
    return $status
  }
}
