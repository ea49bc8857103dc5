#!/bin/bash
# Looks over every source with clang-tidy: cmake/clang_tidy.sh
#
# Needs the builds of the presets linux-asan and windows, which tell how each source is compiled: alone
# or together with others. What was found clean is not looked at again before a source, a header of
# ours that it includes, or the settings change.
set -euo pipefail
cd "$(dirname "$0")/.."

clean=build/clang-tidy  # one empty file for each state of sources that was found clean
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

# Prints, for each compilation of preset $1, one line: the preset, what the compiler is given, and all
# the sources and headers of ours in it.
compilationsOf() {
  ninja -C "build/$1" -t deps | awk -v preset="$1" -v root="$PWD/" -v clean="$clean/$1/" '
    function flush() { if (files ~ /[.]cpp( |$)/) print preset, given files }
    /^[^ ]/ {
      flush()
      files = given = ""
      # The build makes a file that includes the sources that are compiled together.
      if (sub("[.]obj:$|[.]o:$", "", $1) && $1 ~ "/Unity/") given = clean $1
    }
    sub("^ +(" root "|[.][.]/[.][.]/)", "") && !/^build\// {
      if (given == "" && /[.]cpp$/) given = $0
      files = files " " $0
    }
    END { flush() }'
}

# Looks over $2 as preset $1 compiles it and makes the file $3 if it is clean.
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
# Sources that are compiled together are tests.
cp tests/.clang-tidy "$clean"

# Sources that both presets compile are looked at as the first one does.
declare -A seen
while read -r preset given files; do
  isNew=
  for file in $files; do
    if [[ $file == *.cpp && -z ${seen[$file]-} ]]; then isNew=yes seen[$file]=yes; fi
  done
  if [[ -z $isNew ]]; then continue; fi
  # shellcheck disable=SC2086
  state=$(cat - $files <<<"$settings" | sha256sum)
  if [[ ! -e $clean/${state%% *} ]]; then echo "$preset $given $clean/${state%% *}"; fi
done < <(compilationsOf linux-asan && compilationsOf windows) >"$clean/todo"

while read -r source; do
  if [[ -z ${seen[$source]-} ]]; then
    echo "$source: no preset compiles it"
    exit 1
  fi
done < <(git ls-files --cached --others --exclude-standard '*.cpp')

xargs -r -P "$(nproc)" -n 3 bash -c 'check "$@"' - <"$clean/todo"
