#!/bin/bash
# Builds and tests Quillgate.
#
# Installs the packages that are missing, then goes through checks and tests, whatever fails on the way:
#
#   ./test.sh          everything: the tests on Linux, under the sanitizers and valgrind, and on
#                      Windows; coverage, fuzzing, clang-tidy
#   ./test.sh --quick  what to run before every commit, in a few minutes: form, scripts, layers, and
#                      every test of a debug build on Linux
#   ./test.sh --long   as without an argument, but loads last longer, each fuzz target searches for
#                      half an hour, what g++ makes for release on Linux is tested, too, the lines
#                      of the windows are counted, the Debian package is made, looked at, and
#                      installed, used, upgraded and removed on a clean Debian, and a release is
#                      made twice and compared
#
# build/test/<step>.log has what a step printed. Ends with the number of test cases; exits with 0 only
# if nothing failed.
set -uo pipefail
shopt -s nullglob
cd "$(dirname "$0")" || exit
source cmake/packages.sh
source tests/steps.sh

packages=("${commonPackages[@]}" "${linuxPackages[@]}" "${testPackages[@]}")
presets=(windows linux-tsan linux-asan linux-coverage)  # those with the longest tests first
fuzzSeconds=20  # for each target
case $* in
  --quick) presets=(linux-debug) ;;
  '') ;;
  --long)
    presets+=(linux windows-coverage)
    fuzzSeconds=1800
    export QUILLGATE_LONG_TESTS=1
    ;;
  *)
    echo 'usage: ./test.sh [--quick | --long]' >&2
    exit 2
    ;;
esac
if [[ $* != --quick ]]; then
  packages+=("${windowsPackages[@]}" "${analysisPackages[@]}" "${releasePackages[@]}")
fi

ensurePackages "${packages[@]}" || exit
startSteps

step form checkForm
step scripts checkScripts
step layering tests/layering_test
step version tests/version_test
step licences reuse lint

# Tests mostly wait, so those of one preset run while the next one is built.
{
  for preset in "${presets[@]}"; do
    if step "build-$preset" buildPreset "$preset"; then echo "$preset"; fi
  done
  if [[ $* != --quick ]]; then
    step headers compileHeaders
    step fuzz searchWithFuzzers "$fuzzSeconds"
    step valgrind checkMemory
    step clang-tidy cmake/clang_tidy.sh
    step program-version tests/version_test build/windows/{quillgate,tests/installer/this}.exe
    step packages tests/package_test build/windows
    step windows-archive tests/windows_archive_test build/windows  # waits for test-windows
  fi
} | while read -r preset; do
  step "test-$preset" testPreset "$preset"
  case $preset in
    linux-debug) step installation tests/install_test build/linux-debug ;;
    linux-coverage)
      step coverage measureCoverage
      step installation tests/install_test build/linux-coverage
      ;;
    windows-coverage) step window-coverage measureWindowCoverage ;;
  esac
done

# After all that, as these take long and need the package registry.
if [[ $* == --long ]]; then
  step debian-package tests/debian_test
  step debian-life tests/debian_life_test build/debian/quillgate_*.deb
  step reproducibility tests/reproducibility_test
fi

reportSteps
