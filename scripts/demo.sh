#!/usr/bin/env bash
# Builds Orvanta and runs the example suite; arguments are handed on to `orvanta run` (scripts/demo.sh -vv).
# An --answers, --record or --html among them replaces the script's own. Exits with the run's exit code.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

log=build/demo-build.log
record=build/release/demo-record.jsonl
report=build/release/demo-report.html
example=build/release/examples/filesystem

# step WHAT COMMAND...: runs the command silently; when it fails, shows its output and ends the script.
step()
{
    printf '%s ...\n' "$1"
    shift
    if ! "$@" >"$log" 2>&1; then
        cat "$log" >&2
        printf 'demo: failed: %s\n' "$*" >&2
        exit 1
    fi
}

scripts/setup.sh
mkdir -p build
step "Configuring" cmake --preset release
step "Building" cmake --build --preset release --target orvanta FileSystemTests

# default OPTION FILE ARGUMENT...: adds the option to the run unless it is among the arguments.
run=(build/release/apps/orvanta/orvanta run "$@")
default()
{
    local option=$1 file=$2 argument
    shift 2
    for argument; do
        if [[ "$argument" == "$option" || "$argument" == "$option="* ]]; then
            return
        fi
    done
    run+=("$option" "$file")
}

rm -f "$record"
default --answers "$example/answers.json" "$@"
default --record "$record" "$@"
default --html "$report" "$@"
run+=("$example/filesystem.xml")
printf '\n$ %s\n' "${run[*]}"
code=0
"${run[@]}" || code=$?

# The run itself has named its record and its report.
printf '\nExit code: %d\n' "$code"
exit "$code"
