#!/usr/bin/env bash
# Kills the process that runs a suite, or the one that waits for it, at random moments, and checks what is left each
# time: the record whole to its last line, the reports made from it with the call that was running, no process, the lock
# free for the next run.
#   scripts/kill-trials.sh [TRIALS] [BUILD_FOLDER]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

trials=${1:-200}
build=$PWD/${2:-build/dev}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
cat > suite.xml <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<x:TestSuite xmlns:x="urn:zelkor:test-suite" name="Bench" library="MisbehavingLibrary">
<x:InitGroup><x:Function name="Works"/></x:InitGroup>
<x:Group name="Main" to="100000"><x:Function name="Works" type="PassFailTest"/><x:Function name="Dawdles"/></x:Group>
<x:ExitGroup><x:Function name="PowersOff"/></x:ExitGroup></x:TestSuite>
XML
sed 's/ to="100000"//' suite.xml > short.xml
printf '[runtime]\nLockFileName=%s/lock\n' "$folder" > settings.ini
run=("$build/apps/orvanta/orvanta" run --settings settings.ini -L "$build/tests/Cli" -q)

# Checks a record line by line, and that the JUnit report made from it names the call that was running.
cat > check.py <<'PYTHON'
import json, sys
events = [json.loads(line) for line in open("r", encoding="utf-8")]
running = None
for event in events:
    if event["event"] == "state":
        running = event["name"] if event["state"] == "executing" and event["element"] == "x:Function" else None
if any(event["event"] == "run-end" for event in events):
    sys.exit()
cases = open("r.xml", encoding="utf-8").read()
if running and f'message="ended inside {running}"' not in cases:
    sys.exit(f"the report does not say that the run ended inside {running}")
if any(event["event"] == "run-start" for event in events) and "<error" not in cases:
    sys.exit("the report of a run that was cut off says nothing of it")
PYTHON

bad=0
declare -A kills=([waiting]=0 [running]=0)
complain()
{
    printf 'trial %d: %s\n' "$1" "$2"
    bad=$((bad + 1))
}

is_alive()
{
    [[ -r /proc/$1/stat ]] && ! grep -q ') Z ' "/proc/$1/stat"
}

for ((i = 1; i <= trials; ++i)); do
    rm -f r
    "${run[@]}" --record r suite.xml > out 2>&1 &
    waiting=$!
    sleep "0.$(printf '%03d' $((RANDOM % 200)))"
    running=$(cat "/proc/$waiting/task/$waiting/children" 2>/dev/null || true)
    running=${running%% *}
    target=$waiting
    kind=waiting
    if ((i % 2)) && [[ -n $running ]]; then
        target=$running
        kind=running
    fi
    kills[$kind]=$((kills[$kind] + 1))
    kill -9 "$target" 2>/dev/null || true
    code=0
    wait "$waiting" 2>/dev/null || code=$?
    [[ $kind == waiting || $code == 3 ]] || complain $i "exit code $code"
    for ((w = 0; w < 200; ++w)); do
        [[ -n $running ]] && is_alive "$running" || break
        sleep 0.01
    done
    ((w < 200)) || complain $i "process $running is left"
    if [[ -s r ]]; then
        [[ $(tail -c 1 r | od -An -c | tr -d ' ') == '\n' ]] || complain $i "the record ends in a piece of a line"
        "$build/apps/orvanta/orvanta" report --junit r.xml --html r.html r || complain $i "no reports from the record"
        python3 check.py || complain $i "record or report is wrong"
        [[ $kind == waiting ]] || tail -n 1 r | grep -q '"event":"vanished"' || complain $i "the record names no end"
    fi
    "${run[@]}" short.xml > next 2>&1 || complain $i "the next run does not pass: $(cat next)"
done
printf '%d trials: %d kills of the running process, %d of the waiting one; %d bad\n' "$trials" "${kills[running]}" \
    "${kills[waiting]}" "$bad"
((bad == 0))
