#!/bin/bash
# Runs a program that makes networks of its own: tests/with_networks.sh program arguments...
#
# Root may make them; everybody else may where the system allows a user namespace.
if ((EUID != 0)) && unshare --map-root-user true 2>/dev/null; then
  exec unshare --map-root-user "$@"
fi
exec "$@"
