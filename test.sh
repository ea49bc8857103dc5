#!/bin/bash
# Builds and tests everything: ./test.sh
#
# Installs the packages that are missing, then goes through every check and every test, on Linux,
# under the sanitizers and on Windows, whatever fails on the way. build/test/<step>.log has what a
# step printed. Ends with the number of test cases; exits with 0 only if nothing failed.
set -uo pipefail
cd "$(dirname "$0")" || exit
source cmake/packages.sh

logs=$PWD/build/test
coveredFolders='core forwarding monitor config'
minCoverage=95  # percent of the lines of the covered folders

failedSteps=()
failedWithoutCase=0  # of them, those that show no failed test case

# Runs a command as the step of this name.
step() {
  local name=$1 start=$SECONDS verdict=ok failed
  shift
  if ! "$@" </dev/null &>"$logs/$name.log"; then
    verdict=FAILED
    failedSteps+=("$name")
    read -r _ failed _ < <(countCases "$name/*")
    if ((failed == 0)); then ((++failedWithoutCase)); fi
    tail -n 60 "$logs/$name.log"
  fi
  printf '%-8s %-15s %4d s\n' "$verdict" "$name" $((SECONDS - start))
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

# Builds preset $1 and runs its test programs.
testPreset() {
  local reports=$logs/$1/ runner=()
  # A Windows program finds this file system on its drive Z.
  if [[ $1 == windows ]]; then reports=Z:$reports; fi
  # This sanitizer finds no room when addresses are more random than this.
  if [[ $1 == linux-tsan && $(</proc/sys/vm/mmap_rnd_bits) -gt 28 ]]; then runner=(setarch -R); fi

  cmake --preset "$1" && cmake --build --preset "$1" &&
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

# Runs the tests once more and prints which part of the lines of each folder they reach.
measureCoverage() {
  find build/linux-coverage -name '*.gcda' -delete 2>/dev/null
  testPreset linux-coverage || return
  gcovr --root . --filter '(core|forwarding|monitor|config|engine|ui|platform)/' \
    build/linux-coverage --csv "$logs/coverage.csv" || return
  awk -F, -v counted=" $coveredFolders " -v least="$minCoverage" '
    function row(name, covered, lines) {
      return sprintf("%-40s %5d of %5d lines  %5.1f %%", name, covered, lines, 100 * covered / lines)
    }
    NR > 1 {
      folder = $1; sub("/[^/]*$", "", folder)
      lines[folder] += $2; covered[folder] += $3
      if (index(counted, " " folder " ")) { allLines += $2; allCovered += $3 }
    }
    END {
      for (folder in lines) print row(folder, covered[folder], lines[folder]) | "sort"
      close("sort")
      if (allLines > 0) print row("all of" counted, allCovered, allLines)
      exit !(allLines > 0 && 100 * allCovered >= least * allLines)
    }' "$logs/coverage.csv" >"$logs/coverage.txt" || {
    echo "The tests reach too few lines; $minCoverage % is the least."
    return 1
  }
}

rm -rf "$logs"
mkdir -p "$logs"
ensurePackages "${programPackages[@]}" "${testPackages[@]}" || exit

step form checkForm
step scripts checkScripts
step layering tests/layering_test
for preset in linux linux-asan linux-tsan windows; do step "$preset" testPreset "$preset"; done
step linux-coverage measureCoverage
step clang-tidy cmake/clang_tidy.sh

echo
echo 'Lines that the tests reach:'
cat "$logs/coverage.txt"
echo
read -r passed failed skipped < <(countCases '*/*')
if ((skipped > 0)); then echo "$skipped skipped or disabled"; fi
if ((${#failedSteps[@]} > 0)); then echo "These steps failed: ${failedSteps[*]}"; fi
echo "$passed passed, $((failed + failedWithoutCase)) failed"
((${#failedSteps[@]} == 0))
