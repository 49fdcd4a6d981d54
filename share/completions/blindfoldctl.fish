# Completion of blindfoldctl(1) for fish.

# Prints the lease of the current hold, if a helper answers within a second.
function __blindfoldctl_lease
    set --local tool (commandline --tokenize --current-process)[1]
    # fish cannot limit the time of a command, and macOS has no timeout(1).
    set --local state (command sh -c '
        "$1" status 2>/dev/null & tool=$!
        { sleep 1; kill "$tool"; } >/dev/null 2>&1 & limit=$!
        wait "$tool"
        kill "$limit"
    ' sh $tool 2>/dev/null)
    # A lease that JSON writes with other escapes than \/ is left to be typed.
    set --local lease (string replace --filter --regex '.*"leaseID":"((?:[^"\\\\]|\\\\/)*)".*' '$1' -- $state)
    or return
    printf '%s\tThe lease of the current hold\n' (string replace --all '\\/' / -- $lease)
end

# Whether the arguments before the cursor are these.
function __blindfoldctl_after
    set --local tokens (commandline --tokenize --cut-at-cursor --current-process)
    test "$tokens[2..]" = "$argv"
end

complete --command blindfoldctl --no-files
complete -c blindfoldctl -n __blindfoldctl_after -a status -d 'Print the state of the hold and its lease'
complete -c blindfoldctl -n __blindfoldctl_after -a detect -d 'Print the cameras, the services behind them, and their processes'
complete -c blindfoldctl -n __blindfoldctl_after -a hold-built-in -d 'Hold the selected built-in camera'
complete -c blindfoldctl -n __blindfoldctl_after -a release -d 'End the hold'
complete -c blindfoldctl -n __blindfoldctl_after -a restore -d 'Resume every paused service, whoever holds it'
complete -c blindfoldctl -n __blindfoldctl_after -a renew -d 'Renew the lease of the hold'
complete -c blindfoldctl -n __blindfoldctl_after -a mute -d 'Mute the input microphones'
complete -c blindfoldctl -n __blindfoldctl_after -a unmute -d 'Unmute the input microphones'
complete -c blindfoldctl -n '__blindfoldctl_after renew' -a '(__blindfoldctl_lease)'
