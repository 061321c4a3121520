#!/bin/sh
# Fuzzes each target for SECONDS, one after the other, and prints the number of executions and the coverage. Keeps
# new inputs in build/fuzz/corpus, and inputs that reveal a fault in build/fuzz/findings. Exit status 1 means that
# a target failed.
# Usage: fuzz/run.sh [SECONDS [TARGET...]]
cd "$(dirname "$0")/.." || exit 1
. scripts/packages.sh

seconds=${1:-60}
[ $# -eq 0 ] || shift
[ $# -gt 0 ] || set -- imagetext inspection devicereader archive reportdescriptor

# shellcheck disable=SC2086
install_packages $build_packages $fuzz_packages
build fuzz >build/fuzz.log || fail "$(cat build/fuzz.log)"

# sources_of TARGET: prints the names of the sources that the target tests.
sources_of() {
    case $1 in
        imagetext) echo firmware/imagetext.cpp ;;
        inspection) echo firmware/firmwareutilities.cpp ;;
        devicereader) echo flashing/chip/devicereader.cpp firmware/firmwareutilities.cpp ;;
        archive) echo firmware/firmwarecontroller.cpp firmware/imagetext.cpp firmware/firmwareutilities.cpp ;;
        reportdescriptor) echo platform/linux/reportdescriptor.cpp ;;
    esac
}

# run TARGET: fuzzes the target and writes a log to build/fuzz/findings.
run() {
    program=build/fuzz/fuzz/fuzz_$1
    log=build/fuzz/findings/$1.log
    mkdir -p "build/fuzz/corpus/$1" build/fuzz/findings
    LC_ALL=C.UTF-8 QT_LOGGING_RULES=default=false LLVM_PROFILE_FILE="build/fuzz/$1.profraw" "$program" -max_total_time="$seconds" -max_len=8192 \
        -timeout=30 -rss_limit_mb=2048 -malloc_limit_mb=200 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/findings/$1-" "build/fuzz/corpus/$1" "fuzz/corpus/$1" 2>"$log"
    status=$?
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "$1: ${executions:-no} executions in $seconds s"
    if [ $status -ne 0 ]; then
        echo "$1: a finding; see $log"
        tail -n 40 "$log"
        return 1
    fi
    llvm-profdata merge -o "build/fuzz/$1.profdata" "build/fuzz/$1.profraw" || return 1
    # shellcheck disable=SC2046
    llvm-cov report -instr-profile "build/fuzz/$1.profdata" "$program" $(sources_of "$1") |
        awk '/\.cpp / { sub(/.*\//, "", $1); printf "    %s: %d of %d lines, %d of %d branches\n", $1, $8 - $9, $8, $11 - $12, $11 }'
}

findings=0
for target in "$@"; do
    run "$target" || findings=$((findings + 1))
done
echo "Findings: $findings"
[ $findings -eq 0 ]
