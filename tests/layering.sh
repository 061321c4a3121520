#!/bin/sh
# Fails if a source includes a header that the table "Which folder may use which" in docs/architecture.md forbids.
# Usage: layering.sh [FOLDER]. FOLDER is the project's root; the default is the root of this tree.
cd "${1:-$(dirname "$0")/..}" || exit 1

find . \( -path ./build -o -path './.*' \) -prune -o \( -name '*.h' -o -name '*.cpp' \) -print |
    sed 's|^\./||' | sort | awk '
# Returns the row for the path of a file: the longest row name that is a prefix of the path.
function row_of(file,    row, best) {
    for (row in allowed)
        if (index(file, row) == 1 && length(row) > length(best))
            best = row
    return best
}

# Returns the name that the table has for an included header: a row or a library. Returns "" for any other header.
function used(from, name,    folder) {
    folder = from
    sub(/[^\/]*$/, "", folder)
    if ((folder name) in exists)
        return row_of(folder name)
    if (name in home)
        return home[name] ~ /^platform\/win32\/include\// ? "Windows" : row_of(home[name])
    if (name ~ /^Q/)
        return "Qt"
    return name ~ /^qua[zZ]ip/ ? "QuaZip" : ""
}

function complain(text) {
    print text
    faults++
}

BEGIN {
    page = "docs/architecture.md"
    while ((getline line < page) > 0) {
        if (line ~ /^## /)
            inside = line == "## Which folder may use which"
        if (!inside || line !~ /^\| `/)
            continue
        split(line, cells, "|")
        row = cells[2]
        gsub(/[ `*]/, "", row)
        gsub(/[ `*]/, "", cells[3])
        allowed[row] = "," cells[3] ","
        rows++
    }
    if (rows < 2)
        complain(page ": no table of which folder may use which")
}

{
    files[NR] = $0
    exists[$0]
    base = $0
    sub(/.*\//, "", base)
    home[base] = $0
}

END {
    for (i = 1; i <= NR; i++) {
        from = row_of(files[i])
        if (from == "") {
            complain(files[i] ": no row for it in " page)
            continue
        }
        seen[from]
        number = 0
        while ((getline line < files[i]) > 0) {
            number++
            if (line !~ /^#include [<"]/)
                continue
            name = line
            gsub(/^#include [<"]|[>"].*$/, "", name)
            to = used(files[i], name)
            if (to == "" || to == from || allowed[from] ~ /,everything,/ || index(allowed[from], "," to ","))
                continue
            complain(files[i] ":" number ": " from " must not include " name " (" to ")")
        }
        close(files[i])
    }
    for (row in allowed)
        if (!(row in seen))
            complain(page ": no source for the row " row)
    print NR " sources, " rows " rows, " faults + 0 " faults"
    exit faults > 0
}'
