#!/bin/bash
# Builds and tests everything: ./test.sh [--long]
#
# Installs the packages that are missing, then goes through every check and every test, on Linux,
# under the sanitizers and on Windows, whatever fails on the way. build/test/<step>.log has what a step
# printed. Ends with the number of test cases; exits with 0 only if nothing failed. With --long, loads
# last longer, each fuzz target searches for half an hour, what g++ makes for release on Linux is
# tested, too, and the lines of the windows are counted.
set -uo pipefail
shopt -s nullglob
cd "$(dirname "$0")" || exit
source cmake/packages.sh
source tests/steps.sh

presets=(windows linux-tsan linux-asan linux-coverage)  # those with the longest tests first
fuzzSeconds=20  # for each target
if [[ ${1-} == --long ]]; then
  presets+=(linux windows-coverage)
  fuzzSeconds=1800
  export QUILLGATE_LONG_TESTS=1
fi

ensurePackages "${programPackages[@]}" "${testPackages[@]}" || exit
startSteps

step form checkForm
step scripts checkScripts
step layering tests/layering_test

# Tests mostly wait, so those of one preset run while the next one is built.
{
  for preset in "${presets[@]}"; do
    if step "build-$preset" buildPreset "$preset"; then echo "$preset"; fi
  done
  step headers compileHeaders
  step valgrind checkMemory
  step clang-tidy cmake/clang_tidy.sh
} | while read -r preset; do
  step "test-$preset" testPreset "$preset"
  case $preset in
    linux-asan) step fuzz searchWithFuzzers "$fuzzSeconds" ;;
    linux-coverage) step coverage measureCoverage ;;
    windows-coverage) step window-coverage measureWindowCoverage ;;
  esac
done

reportSteps
