# g++ 12 miscompiles a co_await inside a condition or in a statement with a braced list. So a co_await
# must be a whole statement or a variable's whole initializer, without a brace in that statement.
# Prints file:line for each one that is neither.

function flag() { printf "%s:%d: co_await is not a statement of its own\n", FILENAME, begun }

FNR == 1 { before = ";"; open = 0 }
{
    line = $0
    gsub(/"([^"\\]|\\.)*"/, "\"\"", line)
    sub(/\/\/.*/, "", line)
    sub(/[ \t]+$/, "", line)
    if (line == "") next
    if (open) {
        statement = statement " " line
    } else if (line ~ /(^|[^A-Za-z0-9_])co_await([^A-Za-z0-9_]|$)/ && line !~ /operator co_await/) {
        # The declaration may stand on the line before.
        statement = (before ~ /=$/ ? before " " : "") line
        begun = FNR
        open = 1
        atStart = before ~ /[;{}:=]$/
    }
    if (open && line ~ /;|\{$/) {
        open = 0
        # A body on one line: what stands before its brace or before another statement is not ours.
        while (match(statement, /[{;][ \t]+/) &&
               index(substr(statement, RSTART + RLENGTH), "co_await")) {
            statement = substr(statement, RSTART + RLENGTH)
            atStart = 1
        }
        shape = "^[ \t]*((const )?[A-Za-z_][A-Za-z0-9_:<>, ]*[&*]? [A-Za-z_][A-Za-z0-9_]* =[ \t]+)?co_await [^{};]*;( .*)?$"
        again = statement
        if (!atStart || statement !~ shape || gsub(/co_await/, "", again) != 1) flag()
    }
    before = line
}
