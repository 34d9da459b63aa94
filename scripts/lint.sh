#!/usr/bin/env bash
# Checks the layout of every source with clang-format and the sources of the product with clang-tidy, which reads the
# compile commands of the dev preset. What clang-tidy has found clean is remembered outside of the tree, by the text of
# the source, of all headers and of the rules. --fix lays the sources out instead.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case "$#:${1-}" in
    0:) ;;
    1:--fix)
        git ls-files '*.h' '*.hpp' '*.cpp' | xargs clang-format -i
        exit 0
        ;;
    *)
        echo "usage: scripts/lint.sh [--fix]" >&2
        exit 2
        ;;
esac

printf '\n== clang-format ==\n'
git ls-files '*.h' '*.hpp' '*.cpp' | xargs clang-format --dry-run -Werror

printf '\n== clang-tidy ==\n'
export clean=${XDG_CACHE_HOME:-$HOME/.cache}/orvanta/clang-tidy
mkdir -p "$clean"
rules=$({
    clang-tidy --version
    git ls-files .clang-tidy '*.h' '*.hpp' 'CMakeLists.txt' '*/CMakeLists.txt' 'cmake/*' | xargs cat
} | sha256sum)
export rules

# tidy SOURCE: silent when clean.
tidy()
{
    local key
    key=$(printf '%s %s' "$rules" "$1" | cat - "$1" | sha256sum | cut -d' ' -f1)
    if [[ ! -e "$clean/$key" ]]; then
        clang-tidy -p build/dev --quiet --warnings-as-errors='*' "$1" 2> >(grep -v 'warnings\? generated' >&2) || return 1
        touch "$clean/$key"
    fi
}
export -f tidy

git ls-files '*.cpp' | grep -vE '^(tests|examples|fuzz)/' |
    xargs -P "$(nproc)" -I '{}' bash -c 'tidy "$1"' tidy '{}' || {
    printf 'lint: clang-tidy has something to say, see above\n' >&2
    exit 1
}
find "$clean" -type f -mtime +30 -delete
