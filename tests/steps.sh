# shellcheck shell=bash
# What the steps of test.sh do, and how they are counted. Sourced, in the folder of test.sh.

logs=$PWD/build/test

# Forgets the steps of the last run.
startSteps() {
  rm -rf "$logs"
  mkdir -p "$logs"
  exec 3>&1  # for what steps say while their output goes elsewhere
}

# Prints what a step says of its failure in the log $1: the end of it, and before that the tests that
# failed, which may be far above.
showFailure() {
  grep --no-group-separator -A 8 ': Failure$' "$1" | head -n 60
  tail -n 40 "$1"
}

# Runs a command as the step of this name; leaves build/test/<step>.failed when it fails.
step() {
  local name=$1 start=$SECONDS verdict=ok code=0
  shift
  "$@" </dev/null &>"$logs/$name.log" 3>&- || code=$?
  if ((code != 0)); then
    verdict=FAILED
    touch "$logs/$name.failed"
    showFailure "$logs/$name.log" >&3
  fi
  printf '%-8s %-20s %4d s\n' "$verdict" "$name" $((SECONDS - start)) >&3
  return "$code"
}

# Prints how many test cases passed, failed and were skipped in the reports that the pattern $1
# selects: <preset>/<program>.xml.
countCases() {
  # shellcheck disable=SC2086
  cat /dev/null "$logs"/$1 | awk -F'"' '
    /<testsuites / { cases += $2; failed += $4; skipped += $6 }
    /result="skipped"/ { ++skipped }
    END { print cases - failed - skipped, failed + 0, skipped + 0 }'
}

# Prints the number of test cases and what failed; fails when something did.
reportSteps() {
  local passed failed skipped failedCases mark name failedSteps=()
  read -r passed failed skipped < <(countCases '*/*.xml')
  for mark in "$logs"/*.failed; do
    name=$(basename "$mark" .failed)
    failedSteps+=("$name")
    # A step that shows no failed test case counts as one.
    read -r _ failedCases _ < <(countCases "${name#test-}/*.xml")
    if ((failedCases == 0)); then ((++failed)); fi
  done
  if [[ -e $logs/coverage.txt ]]; then
    printf '\nWhat the tests reach:\n'
    cat "$logs/coverage.txt"
  fi
  echo
  if ((skipped > 0)); then echo "$skipped skipped or disabled"; fi
  if ((${#failedSteps[@]} > 0)); then echo "These steps failed: ${failedSteps[*]}"; fi
  echo "$passed passed, $failed failed"
  ((${#failedSteps[@]} == 0))
}

# Prints the files of ours that have these names, each ended by a zero byte.
ourFiles() { git ls-files -z --cached --others --exclude-standard -- "$@"; }

checkForm() { ourFiles '*.cpp' '*.h' | xargs -0 clang-format --dry-run -Werror; }

checkScripts() { ourFiles '*.sh' .ci/run 'tests/*_test' | xargs -0 shellcheck; }

buildPreset() { cmake --preset "$1" && cmake --build --preset "$1"; }

# Compiles every header alone, on the system that it belongs to.
compileHeaders() {
  cmake --build --preset linux-coverage --target all_verify_interface_header_sets &&
    cmake --build --preset windows --target all_verify_interface_header_sets
}

# Runs the test programs of preset $1.
testPreset() {
  local reports=$logs/$1/ runner=()
  # A Windows program finds this file system on its drive Z.
  if [[ $1 == windows* ]]; then reports=Z:$reports; fi
  # This sanitizer finds no room when addresses are more random than this.
  if [[ $1 == linux-tsan && $(</proc/sys/vm/mmap_rnd_bits) -gt 28 ]]; then runner=(setarch -R); fi
  # What earlier runs have reached does not count.
  if [[ $1 == *-coverage ]]; then find "build/$1" -name '*.gcda' -delete; fi

  GTEST_OUTPUT=xml:$reports "${runner[@]}" ctest --preset "$1" --timeout 1200 &&
    checkReports "$1"
}

# Fails unless every test program of preset $1 has reported a test that passed.
checkReports() {
  local programs report passed reports=0
  programs=$(ctest --preset "$1" --show-only | sed -n 's/^Total Tests: //p')
  for report in "$logs/$1"/*.xml; do
    ((++reports))
    read -r passed _ < <(countCases "$1/$(basename "$report")")
    if ((passed == 0)); then
      echo "$report: no test passed"
      return 1
    fi
  done
  echo "$reports of $programs test programs have left a report."
  ((reports == programs))
}

# Fails when the tests on Linux reach too little of what is the same on every system.
measureCoverage() {
  gcovr --root . --filter '(core|forwarding|monitor|config|engine|ui)/' --exclude 'ui/qt/' \
    --exclude-throw-branches --exclude-unreachable-branches build/linux-coverage \
    --output "$logs/coverage-lines.txt" --print-summary \
    --fail-under-line 95 --fail-under-branch 95 >"$logs/coverage.txt"
}

# Finds out which part of the windows' lines the tests reach.
measureWindowCoverage() {
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

# Searches with every fuzz target for $1 seconds, two at a time.
searchWithFuzzers() {
  printf '%s\n' tests/fuzz/*_fuzz.cpp |
    xargs -n 1 -P 2 bash -c 'searchWithFuzzer "$@"' - "$logs/fuzz" "$1"
}
