#!/usr/bin/env bash
# Opens HTML reports in a browser without a window and uses them: the example suite's, a small one with everything in
# it, and one of 100,000 events. Installs the browser when it is missing; not part of the tests.
#   scripts/html-trial.sh [BUILD_FOLDER [FOLDER_FOR_SCREENSHOTS]]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

build=$PWD/${1:-build/dev}
shots=${2:-}
orvanta=${ORVANTA:-$build/apps/orvanta/orvanta}

if ! command -v chromedriver >/dev/null || ! command -v chromium >/dev/null; then
    as_root=()
    ((EUID == 0)) || as_root=(sudo)
    "${as_root[@]}" apt-get -qq update
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends \
        chromium chromium-driver fonts-dejavu-core >/dev/null
fi

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
example=$build/examples/filesystem
"$orvanta" run -q --answers "$example/answers.json" --record "$folder/demo.jsonl" "$example/filesystem.xml" >/dev/null
# A question that nobody answers fails its prompt.
sed 's/"answer": true/"answer": "timeout"/' "$example/answers.json" > "$folder/answers.json"
"$orvanta" run -q --answers "$folder/answers.json" --record "$folder/unanswered.jsonl" "$example/filesystem.xml" \
    >/dev/null && { echo "html-trial: an unanswered prompt passed" >&2; exit 1; }
python3 scripts/html_trial.py records "$folder"
for record in "$folder"/*.jsonl; do
    "$orvanta" report --html "${record%.jsonl}.html" "$record" >/dev/null || true # the exit code may tell of the run
    [[ -s ${record%.jsonl}.html ]]
done
python3 scripts/html_trial.py browse "$folder" "$shots"
