# shellcheck shell=bash
# Makes the Debian package. Sourced.

# Makes the package of the sources in the folder $1, which holds nothing else, and leaves it in the
# folder $2. Fails when lintian has an error or a warning to tell.
makeDebianPackage() (
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  cp -a "$1" "$work/quillgate" &&
    (cd "$work/quillgate" &&
      dpkg-buildpackage --build=binary --unsigned-source --unsigned-changes) &&
    lintian --allow-root --fail-on=error,warning "$work"/quillgate_*.changes &&
    cp "$work"/quillgate_*.deb "$2"
)
