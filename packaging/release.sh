#!/bin/sh
# release.sh [--dry-run]: builds and checks both packages, and runs tests and benchmarks. Then puts the whole release
# into build/report: the packages, SHA256SUMS, linked.spdx (the works in the Windows program) and REPORT.md. Requires a
# tree without uncommitted changes, a new version, a licence, real addresses of the web site and the maintainer, and
# UPDATER_SIGN (the command that signs the Windows programs). If any of these is missing, refuses to make a release. A
# dry run lists in REPORT.md what is missing, and continues. Both kinds of run fail if a check fails or cannot run.
set -e
cd "$(dirname "$0")/.."
. scripts/packages.sh

case ${1:-} in
'') dry_run='' ;;
--dry-run) dry_run=' (dry run)' ;;
*) fail "Usage: $0 [--dry-run]" ;;
esac

report=$PWD/build/report
logs=$report/logs
page=$report/REPORT.md
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)

# obstacles: prints a line for each reason not to make a release.
obstacles() {
    [ -z "$(git status --porcelain)" ] || echo "The tree has changes that are not committed."
    [ "$(sed -n 's/^## //p' CHANGELOG.md | head -n 1)" = "$version" ] ||
        echo "The first heading of CHANGELOG.md is not the version in CMakeLists.txt, $version."
    ! git rev-parse -q --verify "refs/tags/v$version" >/dev/null || echo "Version $version has been released."
    [ -f LICENSE ] || echo "No licence has been chosen: there is no file LICENSE."
    ! grep -q '[.]example' packaging/linux/CMakeLists.txt || echo "The address in packaging/linux/CMakeLists.txt is an example."
    [ -n "${UPDATER_SIGN:-}" ] || echo "UPDATER_SIGN is not set: the Windows programs would not be signed."
}

# step NAME COMMAND...: runs the command with its output in NAME.log, and records how long the command takes.
step() {
    name=$1
    shift
    start=$(date +%s)
    "$@" >"$logs/$name.log" 2>&1 || {
        tail -n 40 "$logs/$name.log"
        fail "$name failed; see $logs/$name.log"
    }
    echo "$name: $(($(date +%s) - start)) s" | tee -a "$report/times"
}

# checked NAME: fails if the log of the step NAME contains a failed check, or no successful check.
checked() {
    grep -q '^holds: ' "$logs/$1.log" && ! grep -q '^FAILED: ' "$logs/$1.log" || fail "$1 did not run all its checks."
}

# row NAME COMMAND...: prints a row of the report's first table: the name, and what the command prints.
row() {
    name=$1
    shift
    printf '| %s | %s |\n' "$name" "$("$@")"
}

package_of() { dpkg-query -W -f '${Package} ${Version}' "$1"; }
wine_version() { sed -n 's/^wine-/Wine /p' build/windows/check/wine.log; }
machine_kernel() { sed -n 's/^Linux: //p' build/windows/check/wine.log; }
machine() { echo "$(nproc) processors, load $(cut -d ' ' -f 1 /proc/loadavg) at the end"; }

lines_of() {
    printf '\n## %s\n\n' "$1"
    grep -a -E '^(holds|FAILED): ' "$logs/$2.log" | sed 's/^/- /'
}

block_of() {
    printf '\n## %s\n\n```\n' "$1"
    sed 's/\x1b\[[0-9;]*m//g'
    printf '```\n'
}

write_page() {
    printf '# ZEFO VYNT firmware update %s%s\n\n| | |\n|---|---|\n' "$version" "$dry_run"
    row commit echo "$commit"
    row date date -u +%Y-%m-%dT%H:%M:%SZ
    row machine machine
    row "compiler of the Linux program" package_of g++
    row "compiler of the Windows program" package_of g++-mingw-w64-i686-posix
    row "Qt of the Linux program" package_of libqt5core5a
    row "Qt of the Windows program" sed -n 2p "$cache/qt.recipe"
    row Wine wine_version
    row "Linux kernel under Wine" machine_kernel
    [ -z "$reasons" ] || printf '\nA release would be refused:\n\n%s\n' "$(echo "$reasons" | sed 's/^/- /')"
    block_of Times <"$report/times"
    lines_of "Checks of the Linux package" linux-check
    lines_of "Checks of the Windows package" windows-check
    grep -a -h '^| ' "$logs/linux-check.log" "$logs/windows-check.log" | block_of "Figures of the checks"
    block_of Benchmarks <"$logs/benchmarks.log"
    grep -a 'tests passed\|tests failed' "$logs/tests.log" | block_of Tests
    (cd "$report" && find pictures -type f | sort) | block_of Pictures
    block_of SHA256SUMS <"$report/SHA256SUMS"
}

reasons=$(obstacles)
[ -z "$reasons" ] || [ -n "$dry_run" ] || fail "$reasons"

commit=$(git rev-parse HEAD)
rm -rf "$report"
mkdir -p "$logs" "$report/pictures"
step tests ./test.sh
step linux-build packaging/linux/build.sh
step linux-check packaging/linux/check.sh
checked linux-check
step windows-build packaging/windows/build.sh
step windows-check packaging/windows/check.sh
checked windows-check
step benchmarks benchmarks/run.sh
[ "$(git rev-parse HEAD)" = "$commit" ] || fail "Another commit was checked out while the checks ran."

. packaging/windows/common.sh
cp build/linux/*.deb build/windows/release/*.exe build/windows/release/licences.txt "$report"
cp -r build/linux/check "$report/pictures/linux"
cp -r build/windows/check/pictures "$report/pictures/windows"
find "$report/pictures" -type f ! -name '*.png' -delete
CREATED=$(TZ=UTC git log -1 --format=%cd --date=format-local:%Y-%m-%dT%H:%M:%SZ) packaging/windows/licences.pl spdx \
    "$cache/src/qtbase-opensource-src" "$cache/src/libquazip1-qt5" "$version" >"$report/linked.spdx"
(cd "$report" && sha256sum -- *.deb *.exe licences.txt linked.spdx >SHA256SUMS)
write_page >"$page"
echo "$page"
