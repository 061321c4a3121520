#!/bin/sh
# Runs each function of the given test programs in its own process, to find functions that depend on an earlier
# function. Without arguments, runs all test programs. Run ./test.sh first. Exit status 1 if a function fails or
# none runs.
# Usage: scripts/each-alone.sh [TEST...], such as tst_flasher
cd "$(dirname "$0")/../build/release/tests" || exit 1
[ $# -gt 0 ] || set -- tst_*
export QT_QPA_PLATFORM=offscreen LC_ALL=C.UTF-8

functions=0
failures=0
for test in "$@"; do
    [ -f "$test" ] && [ -x "$test" ] || continue
    for function in $("./$test" -functions | sed 's/()$//'); do
        functions=$((functions + 1))
        "./$test" "$function" >each-alone.log 2>&1 || {
            failures=$((failures + 1))
            echo "$test $function fails alone:"
            cat each-alone.log
        }
    done
done
echo "$functions test functions, each alone; $failures failed"
[ $functions -gt 0 ] && [ $failures -eq 0 ]
