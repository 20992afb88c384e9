#!/bin/sh
# Compares the functions declared in the public header with the functions a
# built library exports, and fails listing the differences.
#
#   check_exports.sh elf <nm> <libozl.so> <ozl.h>
#   check_exports.sh pe <objdump> <ozlA6.dll> <ozl.h>
#
# Header declarations are the statements of the form
#   OZL_API <type> OZL_CALL <name>( ... );
# which may span several lines. POSIX sh, sed, awk, grep and sort only.
set -u

if [ $# -ne 4 ]; then
    echo "usage: $0 <elf|pe> <nm-or-objdump> <library> <header>" >&2
    exit 2
fi
kind=$1
tool=$2
library=$3
header=$4

for f in "$library" "$header"; do
    if [ ! -f "$f" ]; then
        echo "check_exports: no such file: $f" >&2
        exit 2
    fi
done

tmp=${TMPDIR:-/tmp}/check_exports.$$
mkdir "$tmp" || exit 2
trap 'rm -rf "$tmp"' EXIT HUP INT TERM

# Declared names: drop comments and preprocessor lines, join everything into one
# line, cut it into statements at ';' and '}', keep those that start with
# OZL_API and pick the identifier after OZL_CALL.
awk '
    BEGIN { incomment = 0 }
    {
        line = $0
        out = ""
        while (length(line) > 0) {
            if (incomment) {
                p = index(line, "*/")
                if (p == 0) { line = ""; break }
                line = substr(line, p + 2)
                incomment = 0
            } else {
                p = index(line, "/*")
                q = index(line, "//")
                if (q > 0 && (p == 0 || q < p)) { out = out substr(line, 1, q - 1); line = ""; break }
                if (p == 0) { out = out line; line = ""; break }
                out = out substr(line, 1, p - 1) " "
                line = substr(line, p + 2)
                incomment = 1
            }
        }
        if (out ~ /^[ \t]*#/) {
            # a directive may continue on the next lines
            while (out ~ /\\$/ && (getline nextline) > 0) out = nextline
            next
        }
        printf "%s ", out
    }
' "$header" |
    tr ';{}' '\n\n\n' |
    sed -n 's/^[[:space:]]*OZL_API[[:space:]].*[[:space:]*]OZL_CALL[[:space:]]*\([A-Za-z_][A-Za-z0-9_]*\)[[:space:]]*(.*$/\1/p' |
    LC_ALL=C sort >"$tmp/declared"

if [ ! -s "$tmp/declared" ]; then
    echo "check_exports: no OZL_API ... OZL_CALL declarations found in $header" >&2
    exit 1
fi
dups=$(LC_ALL=C uniq -d "$tmp/declared")
if [ -n "$dups" ]; then
    echo "check_exports: declared more than once in $header:" >&2
    echo "$dups" | sed 's/^/    /' >&2
    exit 1
fi

case $kind in
elf)
    # Defined dynamic function symbols; weak definitions (W) count too, since
    # they are exported just the same.
    if ! "$tool" -D --defined-only "$library" >"$tmp/nm.out"; then
        echo "check_exports: $tool failed on $library" >&2
        exit 2
    fi
    awk 'NF >= 3 && ($2 == "T" || $2 == "W" || $2 == "i") { sub(/@.*/, "", $3); print $3 }' \
        "$tmp/nm.out" | LC_ALL=C sort -u >"$tmp/exported"
    ;;
pe)
    # The export directory's name table: the lines after
    # "[Ordinal/Name Pointer] Table" up to the next blank line; the name is the
    # last field of each entry.
    if ! "$tool" -p "$library" >"$tmp/objdump.out"; then
        echo "check_exports: $tool failed on $library" >&2
        exit 2
    fi
    awk '
        /\[Ordinal\/Name Pointer\] Table/ { intable = 1; next }
        intable && /^[[:space:]]*$/ { intable = 0; next }
        intable && /^[[:space:]]*\[/ { print $NF }
    ' "$tmp/objdump.out" | LC_ALL=C sort -u >"$tmp/exported"
    ;;
*)
    echo "check_exports: unknown library kind '$kind' (elf or pe)" >&2
    exit 2
    ;;
esac

missing=$(LC_ALL=C comm -23 "$tmp/declared" "$tmp/exported")
extra=$(LC_ALL=C comm -13 "$tmp/declared" "$tmp/exported")
ndeclared=$(wc -l <"$tmp/declared" | tr -d ' ')
nexported=$(wc -l <"$tmp/exported" | tr -d ' ')

status=0
if [ -n "$missing" ]; then
    echo "Declared in $(basename "$header") but not exported by $(basename "$library"):"
    echo "$missing" | sed 's/^/    /'
    status=1
fi
if [ -n "$extra" ]; then
    echo "Exported by $(basename "$library") but not declared in $(basename "$header"):"
    echo "$extra" | sed 's/^/    /'
    status=1
fi
if [ $status -eq 0 ]; then
    echo "exports match: $ndeclared functions declared, $nexported exported"
else
    echo "exports differ: $ndeclared functions declared, $nexported exported"
fi
exit $status
