#!/usr/bin/env bash
# Builds the `ostrel` command and schedules its built-in example project:
# installs the Debian packages the build needs, configures and builds into
# build/, prints the schedule table and writes build/example.json and the
# Gantt page build/example.html (opened in a browser when there is a display).
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build"
jobs=$(nproc 2>/dev/null || echo 2)

packages=(cmake g++ make pkgconf libgtest-dev mingw-w64-tools libwine-dev libcli11-dev nlohmann-json3-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "== installing ${missing[*]}" >&2
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -q >&2
  $sudo apt-get install -y -q --no-install-recommends "${missing[@]}" >&2
fi

echo "== build" >&2
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j "$jobs" --target ostrel >/dev/null

echo "== ostrel schedule (built-in example)" >&2
# In the build tree the message module sits in its own folder; an installed
# ostrel finds it beside the library.
status=0
PATH="$build/messages:$PATH" "$build/bin/ostrel" schedule --json "$build/example.json" \
  --html "$build/example.html" || status=$?
echo "== wrote $build/example.json and the Gantt page $build/example.html (exit code $status)" >&2
if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && command -v xdg-open > /dev/null; then
  xdg-open "$build/example.html" > /dev/null 2>&1 &
else
  echo "== open file://$build/example.html in a browser to see it" >&2
fi
# 1 means some tasks could not be scheduled, which the example shows on purpose.
[ "$status" -le 1 ]
