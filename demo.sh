#!/usr/bin/env bash
# Shows Drape at work: installs what is missing, builds, drapes a mould that ships with the project, and says where
# the results are. Works on a Debian machine with nothing installed.
#
#   ./demo.sh                      the double dome
#   ./demo.sh FILE [OPTION...]     a mould of your own, with any options of the program
set -euo pipefail
cd "$(dirname "$0")"
. .ci/packages.sh

mould=${1:-samples/double_dome.obj}
shift || true

ensure_packages "${TOOL_PACKAGES[@]}"
echo "Building (build/release)"
cmake --preset release -G Ninja >/dev/null
cmake --build --preset release -j "$(nproc)" -- --quiet

name=$(basename "${mould%.*}")
mkdir -p out
echo
ended=0
build/release/tool/drape "$mould" "$@" -o "out/$name.png" -o "out/$name.svg" -o "out/$name.pattern.png" \
    -o "out/$name.vtp" -o "out/$name.json" || ended=$?

cat <<END

Look at
  out/$name.png            the cloth on the mould, coloured by shear (out/$name.svg: the same as vectors)
  out/$name.pattern.png    the flat pattern
  out/$name.vtp            the grid with all its arrays, for ParaView
  out/$name.json           the figures above, for a program
END
exit "$ended"
