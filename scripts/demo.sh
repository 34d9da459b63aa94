#!/usr/bin/env bash
# Builds Orvanta and runs the example suite; arguments are handed on to `orvanta run` (scripts/demo.sh -vv).
# Exits with the run's exit code.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

log=build/demo-build.log
record=build/release/demo-record.jsonl

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

rm -f "$record"
run=(build/release/apps/orvanta/orvanta run "$@" --record "$record" build/release/examples/filesystem/filesystem.xml)
printf '\n$ %s\n' "${run[*]}"
code=0
"${run[@]}" || code=$?

printf '\nRun record: %s\n' "$([[ -e "$record" ]] && printf '%s' "$record" || printf 'none was written')"
printf 'Exit code: %d\n' "$code"
exit "$code"
