#!/usr/bin/env bash
# Installs the built program into a scratch prefix and checks the tree (check-tree.sh).
# Usage: check-install.sh <cmake> <build folder>
set -euo pipefail
cmake=$1
build=$2
here=$(dirname "$0")
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT

"$cmake" --install "$build" --prefix "$prefix" >/dev/null
"$here/check-tree.sh" "$prefix"
echo "installed tree complete"
