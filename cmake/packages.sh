# shellcheck shell=bash
# Debian's packages that the scripts need, each with its reason, and how to get them. Sourced.

# shellcheck disable=SC2034  # those who source this choose
{
  # To build and run any of the programs.
  commonPackages=(
    'cmake: describes the build'
    'ninja-build: carries the build out'
    'xvfb: a display where there is none'
    'xdotool: finds the window'
    'imagemagick: takes the screenshot'
  )

  # The program for Linux.
  linuxPackages=(
    'g++: compiles for Linux'
    'libxml2-dev: the XML library'
    'qt6-base-dev: the windows, with all that shows them on X11'
    'qt6-wayland: shows them on Wayland'
    'openbox: the window manager of a virtual display'
  )

  # The program for Windows.
  windowsPackages=(
    'g++-mingw-w64-x86-64-posix: compiles for Windows'
    'wine64: runs Windows programs'
    'fonts-open-sans: stands in for Segoe UI'
    'fonts-wine: the signs on the buttons of title bars'
    'nsis: makes the installer'
  )

  # To test a program.
  testPackages=(
    'git: names the files that are ours'
    'googletest: the test framework, as sources'
    'clang-format: checks the form of the sources'
    'shellcheck: checks the scripts'
    'desktop-file-utils: checks the entry of the menu'
    'appstream: checks what software centres show'
    'groff-base: checks the manual page'
    'reuse: checks that every file has a licence'
    'unzip: unpacks what is released for Windows'
    'openssl: makes a certificate to try signing with'
    'libatspi2.0-dev: drives the windows on Linux'
    'at-spi2-core: the service for screen readers'
    'dbus: the bus of a session, which that service is on'
    'qt6-xdgdesktopportal-platformtheme: lets windows use the dialogs of the desktop'
    'libx11-dev: windows as the display knows them'
    'libxtst-dev: mouse and keyboard'
    'zip: packs the tests for Windows'
    'unzip: unpacks them elsewhere'
  )

  # To look closer at what is tested.
  analysisPackages=(
    'clang: compiles it for the sanitizers'
    'libclang-rt-14-dev: the sanitizers'
    'llvm-14: names the lines in what sanitizers report'
    'clang-tidy: checks the sources'
    'gcovr: adds up the covered lines'
    'valgrind: checks the use of memory'
    'mmdebstrap: makes a clean Debian to install the package on'
    'uidmap: lets ordinary users do so'
    'wmctrl: closes a window as its button does'
    'faketime: lets a release be made at another time'
  )

  # To make a release.
  releasePackages=(
    'librsvg2-bin: renders the icon'
    'icoutils: puts its sizes into one file for Windows'
    'git: names the files that are released'
    'build-essential: makes Debian packages'
    'debhelper: knows how'
    'lintian: checks it'
    'xz-utils: packs the sources'
    'zip: packs what is for Windows'
    'googletest: is in the tests for Windows'
    'osslsigncode: signs programs for Windows'
    'jq: writes the bill of materials'
  )
}

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
