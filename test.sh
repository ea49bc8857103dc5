#!/bin/bash
# Builds and tests everything: ./test.sh [--long]
#
# Installs the packages that are missing, then goes through every check and every test, on Linux,
# under the sanitizers and on Windows, whatever fails on the way. Tests mostly wait, so those of one
# preset run while the next one is built. build/test/<step>.log has what a step printed. Ends with
# the number of test cases; exits with 0 only if nothing failed. With --long, loads last longer, each
# fuzz target searches for half an hour, what g++ makes for release on Linux is tested, too, and the
# lines of the windows are counted.
set -uo pipefail
shopt -s nullglob
cd "$(dirname "$0")" || exit
source cmake/packages.sh

logs=$PWD/build/test
presets=(windows linux-tsan linux-asan linux-coverage)  # those with the longest tests first
coveredFolders='core forwarding monitor config engine ui'
minCoverage=95  # percent of the lines, and of the branches, of the covered folders
fuzzSeconds=20  # for each target
if [[ ${1-} == --long ]]; then
  presets+=(linux windows-coverage)
  fuzzSeconds=1800
  export QUILLGATE_LONG_TESTS=1
fi

exec 3>&1  # for what steps say while their output goes elsewhere

# Runs a command as the step of this name; leaves build/test/<step>.failed when it fails.
step() {
  local name=$1 start=$SECONDS verdict=ok code=0
  shift
  "$@" </dev/null &>"$logs/$name.log" 3>&- || code=$?
  if ((code != 0)); then
    verdict=FAILED
    touch "$logs/$name.failed"
    tail -n 60 "$logs/$name.log" >&3
  fi
  printf '%-8s %-20s %4d s\n' "$verdict" "$name" $((SECONDS - start)) >&3
  return "$code"
}

# Prints how many test cases passed, failed and were skipped in the reports <step>/<program> that
# the pattern $1 selects.
countCases() {
  find "$logs" -path "$logs/$1.xml" -exec cat {} + | awk -F'"' '
    /<testsuites / { cases += $2; failed += $4; skipped += $6 }
    /result="skipped"/ { ++skipped }
    END { print cases - failed - skipped, failed + 0, skipped + 0 }'
}

# Prints the files of ours that fit the conditions of find, each ended by a zero byte.
ourFiles() { find . \( -name build -o -name '.?*' \) -prune -o -type f \( "$@" \) -print0; }

checkForm() { ourFiles -name '*.cpp' -o -name '*.h' | xargs -0 clang-format --dry-run -Werror; }

checkScripts() { ourFiles -name '*.sh' -o -name layering_test | xargs -0 shellcheck .ci/run; }

buildPreset() { cmake --preset "$1" && cmake --build --preset "$1"; }

# Builds every preset and prints its name when that is done; then looks at the use of memory and over
# the sources.
buildPresets() {
  local preset
  for preset in "${presets[@]}"; do
    if step "build-$preset" buildPreset "$preset"; then echo "$preset"; fi
  done
  step valgrind checkMemory
  step clang-tidy cmake/clang_tidy.sh
}

# Runs the tests of the presets whose names come in.
testPresets() {
  local preset
  while read -r preset; do
    case $preset in
      linux-coverage) step "test-$preset" measureCoverage ;;
      windows-coverage) step "test-$preset" measureWindowCoverage ;;
      *) step "test-$preset" testPreset "$preset" ;;
    esac
    if [[ $preset == linux-asan ]]; then step fuzz searchWithFuzzers; fi
  done
}

# Runs the test programs of preset $1.
testPreset() {
  local reports=$logs/$1/ runner=()
  # A Windows program finds this file system on its drive Z.
  if [[ $1 == windows* ]]; then reports=Z:$reports; fi
  # This sanitizer finds no room when addresses are more random than this.
  if [[ $1 == linux-tsan && $(</proc/sys/vm/mmap_rnd_bits) -gt 28 ]]; then runner=(setarch -R); fi

  GTEST_OUTPUT=xml:$reports "${runner[@]}" ctest --preset "$1" --timeout 1200 &&
    checkReports "$1"
}

# Fails unless every test program of preset $1 has reported a test that passed.
checkReports() {
  local programs report passed reports=0
  programs=$(ctest --preset "$1" --show-only | sed -n 's/^Total Tests: //p')
  for report in "$logs/$1"/*.xml; do
    ((++reports))
    read -r passed _ < <(countCases "$1/$(basename "$report" .xml)")
    if ((passed == 0)); then
      echo "$report: no test passed"
      return 1
    fi
  done
  echo "$reports of $programs test programs have left a report."
  ((reports == programs))
}

# Runs the tests of the preset linux-coverage and finds out which part of the lines of each folder
# they reach.
measureCoverage() {
  find build/linux-coverage -name '*.gcda' -delete 2>/dev/null
  testPreset linux-coverage || return
  gcovr --root . --filter '(core|forwarding|monitor|config|engine|ui|platform)/' \
    --exclude-throw-branches --exclude-unreachable-branches \
    build/linux-coverage --csv "$logs/coverage.csv" || return
  awk -F, -v counted=" $coveredFolders " -v least="$minCoverage" '
    function share(part, all) {
      return sprintf("%5d of %5d %6.1f %%", part, all, all ? 100 * part / all : 100)
    }
    function row(name, lines, allLines, branches, allBranches) {
      return sprintf("%-52s lines %s   branches %s", name, share(lines, allLines),
        share(branches, allBranches))
    }
    NR > 1 {
      folder = $1; sub("/[^/]*$", "", folder)
      allLines[folder] += $2; lines[folder] += $3; allBranches[folder] += $5; branches[folder] += $6
      if (index(counted, " " folder " ")) {
        sumOfLines += $2; hitLines += $3; sumOfBranches += $5; hitBranches += $6
      }
    }
    END {
      for (folder in lines) {
        print row(folder, lines[folder], allLines[folder], branches[folder],
          allBranches[folder]) | "sort"
      }
      close("sort")
      if (sumOfBranches == 0) exit 1
      print row("all of" counted, hitLines, sumOfLines, hitBranches, sumOfBranches)
      exit 100 * hitLines < least * sumOfLines || 100 * hitBranches < least * sumOfBranches
    }' "$logs/coverage.csv" >"$logs/coverage.txt" || {
    echo "The tests reach too little; $minCoverage % of the lines and branches is the least."
    return 1
  }
}

# Runs the tests of the preset windows-coverage and finds out which part of the windows' lines they
# reach.
measureWindowCoverage() {
  find build/windows-coverage -name '*.gcda' -delete 2>/dev/null
  testPreset windows-coverage &&
    gcovr --root . --gcov-executable x86_64-w64-mingw32-gcov-posix --filter '(ui|platform)/win32/' \
      --output "$logs/window-coverage.txt" build/windows-coverage
}

# Runs the tests that relay under the memory checker. What is covered meanwhile does not count.
checkMemory() {
  GCOV_PREFIX=$logs/valgrind valgrind --quiet --error-exitcode=99 --leak-check=full \
    --fair-sched=yes --max-threads=3000 \
    build/linux-coverage/tests/quillgate_tests \
    --gtest_filter='ForwardingServer*:Tcp*:Udp*:Relay*'
}

# Searches with the fuzz target in the source $3 for $2 seconds from its corpus on. What is found is
# left in the folder $1.
searchWithFuzzer() {
  local target
  target=$(basename "$3" _fuzz.cpp)
  mkdir -p "$1/$target"
  "build/linux-asan/tests/${target}_fuzz" -max_total_time="$2" -print_final_stats=1 \
    -artifact_prefix="$1/$target-" "$1/$target" "tests/fuzz/corpus/$target"
}
export -f searchWithFuzzer

# Searches with every fuzz target, two at a time.
searchWithFuzzers() {
  printf '%s\n' tests/fuzz/*_fuzz.cpp |
    xargs -n 1 -P 2 bash -c 'searchWithFuzzer "$@"' - "$logs/fuzz" "$fuzzSeconds"
}

rm -rf "$logs"
mkdir -p "$logs"
ensurePackages "${programPackages[@]}" "${testPackages[@]}" || exit

step form checkForm
step scripts checkScripts
step layering tests/layering_test
buildPresets | testPresets

if [[ -e $logs/coverage.txt ]]; then
  echo
  echo 'What the tests reach:'
  cat "$logs/coverage.txt"
fi
echo
read -r passed failed skipped < <(countCases '*/*')
failedSteps=()
for mark in "$logs"/*.failed; do
  name=$(basename "$mark" .failed)
  failedSteps+=("$name")
  # A step that shows no failed test case counts as one.
  read -r _ failedCases _ < <(countCases "${name#test-}/*")
  if ((failedCases == 0)); then ((++failed)); fi
done
if ((skipped > 0)); then echo "$skipped skipped or disabled"; fi
if ((${#failedSteps[@]} > 0)); then echo "These steps failed: ${failedSteps[*]}"; fi
echo "$passed passed, $failed failed"
((${#failedSteps[@]} == 0))
