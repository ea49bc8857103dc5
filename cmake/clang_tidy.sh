#!/bin/bash
# Looks over every source with clang-tidy: cmake/clang_tidy.sh
#
# Needs the builds of the presets linux-asan and windows, which tell how each source is compiled. A
# source that was found clean is not looked at again before it, a header of ours that it includes, or
# the settings change.
set -euo pipefail
cd "$(dirname "$0")/.."

clean=build/clang-tidy  # one empty file for each state of a source that was found clean
mkdir -p "$clean"
settings=$({ clang-tidy --version && cat .clang-tidy tests/.clang-tidy "$0"; } | sha256sum)

# The compiler for Windows is not where clang looks for its library.
library=$(x86_64-w64-mingw32-g++-posix -print-file-name=include/c++)
windowsOptions="--extra-arg=-isystem$library --extra-arg=-isystem$library/x86_64-w64-mingw32"

# Notes in $clean/<preset> how preset $1 compiles each source. Headers that are precompiled by another
# compiler cannot be read, and would hide that a source does not include what it uses.
describe() {
  cmake --preset "$1" -B "$clean/$1" -D CMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
}

# Prints, for each source that preset $1 compiles, one line: the preset, the source and the headers
# of ours that it includes.
sourcesOf() {
  ninja -C "build/$1" -t deps | awk -v preset="$1" -v root="$PWD/" '
    function flush() { if (line ~ /^ [^ ]*[.]cpp/) print preset line; line = "" }
    /^[^ ]/ { flush() }
    sub("^ +(" root "|[.][.]/[.][.]/)", "") && !/^build\// { line = line " " $0 }
    END { flush() }'
}

# Looks over source $2 as preset $1 compiles it and makes the file $3 if it is clean.
check() {
  local options=
  if [[ $1 == windows ]]; then options=$windowsOptions; fi
  # shellcheck disable=SC2086
  if findings=$(clang-tidy --quiet -p "$clean/$1" $options "$2" 2>&1); then
    touch "$3"
  else
    echo "$findings"
    return 1
  fi
}
export -f check
export clean windowsOptions

describe linux-asan
describe windows

# A source that both presets compile is looked at as the first one does.
declare -A seen
while read -r preset source headers; do
  if [[ -n ${seen[$source]-} ]]; then continue; fi
  seen[$source]=yes
  # shellcheck disable=SC2086
  state=$(cat - "$source" $headers <<<"$settings" | sha256sum)
  if [[ ! -e $clean/${state%% *} ]]; then echo "$preset $source $clean/${state%% *}"; fi
done < <(sourcesOf linux-asan && sourcesOf windows) >"$clean/todo"

while read -r source; do
  if [[ -z ${seen[$source]-} ]]; then
    echo "$source: no preset compiles it"
    exit 1
  fi
done < <(git ls-files --cached --others --exclude-standard '*.cpp')

xargs -r -P "$(nproc)" -n 3 bash -c 'check "$@"' - <"$clean/todo"
