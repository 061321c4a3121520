# Defines the functions "check" and "within", and counts failed checks. The checks of both packages source this file.

failures=0

# check SENTENCE COMMAND...: runs the command, prints the sentence and whether the command succeeds; counts failures.
check() {
    sentence=$1
    shift
    if "$@"; then
        echo "holds:  $sentence"
    else
        echo "FAILED: $sentence"
        failures=$((failures + 1))
    fi
}

# within SECONDS COMMAND...: repeats the command until it succeeds; fails after SECONDS.
within() {
    end=$(($(date +%s) + $1))
    shift
    until "$@"; do
        [ "$(date +%s)" -lt "$end" ] || return 1
        sleep 0.2
    done
}
