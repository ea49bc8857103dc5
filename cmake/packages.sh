# shellcheck shell=bash
# Debian's packages that the scripts need, each with its reason, and how to get them. Sourced.

# To build the program and to run it.
# shellcheck disable=SC2034
programPackages=(
  'cmake: describes the build'
  'ninja-build: carries the build out'
  'g++-mingw-w64-x86-64-posix: compiles for Windows'
  'wine64: runs Windows programs'
  'xvfb: a display where there is none'
  'xdotool: finds the window'
  'imagemagick: takes the screenshot'
  'fonts-open-sans: stands in for Segoe UI'
  'fonts-wine: the signs on the buttons of title bars'
)

# To test it as well.
# shellcheck disable=SC2034
testPackages=(
  'git: names the files that are ours'
  'g++: compiles the engine for Linux'
  'clang: compiles it for the sanitizers'
  'libclang-rt-14-dev: the sanitizers'
  'llvm-14: names the lines in what sanitizers report'
  'libxml2-dev: the XML library on Linux'
  'qt6-base-dev: the windows on Linux'
  'googletest: the test framework, as sources'
  'gcovr: adds up the covered lines'
  'valgrind: checks the use of memory'
  'clang-format: checks the form of the sources'
  'clang-tidy: checks the sources'
  'shellcheck: checks the scripts'
)

# Installs those of the packages "name: reason" that are not there yet. Detailed output goes to
# build/packages.log.
ensurePackages() {
  local package installed missing=()
  installed=$(dpkg-query --show --showformat '${Package} ${db:Status-Status}\n' "${@%%:*}" \
    2>/dev/null) || true  # a package dpkg has never heard of
  for package in "$@"; do
    if ! grep -qx "${package%%:*} installed" <<<"$installed"; then missing+=("$package"); fi
  done
  if ((${#missing[@]} == 0)); then return; fi

  echo 'These packages are missing:'
  printf '  %s\n' "${missing[@]}"
  local install=(env DEBIAN_FRONTEND=noninteractive apt-get -y)
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      echo "Only root can install them: apt-get install --no-install-recommends ${missing[*]%%:*}" >&2
      return 1
    fi
    install=(sudo "${install[@]}")
  fi
  mkdir -p build
  echo 'Installing them; this takes a few minutes (details in build/packages.log) ...'
  if ! "${install[@]}" update &>build/packages.log ||
    ! "${install[@]}" install --no-install-recommends "${missing[@]%%:*}" &>>build/packages.log; then
    tail -n 20 build/packages.log >&2
    echo "These packages cannot be had: ${missing[*]%%:*}" >&2
    return 1
  fi
}
