#!/usr/bin/env bash
# Builds Ostrel for Windows with MinGW-w64 and checks it under Wine, the real
# platform runtime:
#   - Ostrel.dll, VoMessages.dll, the tests and ostrel.exe from the same
#     sources, in build-windows/;
#   - Wine's own regsvr32 registers and unregisters the library, checked by
#     reading the registry with Wine's reg query;
#   - every test program runs under Wine, each in a prefix of its own;
#   - ostrel.exe schedules the built-in example;
#   - a VBScript host (examples/script-host/drive.vbs) drives the components
#     late-bound through Wine's cscript, first without the version 1.0 type
#     library (calls by name must fail), then with it;
#   - the per-test results are compared with the Linux run's, when
#     build/test-results.xml (from tools/run-tests.sh) is there.
#
#   tools/run-windows.sh
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build-windows"
linux_results="$root/build/test-results.xml"
jobs=$(nproc 2>/dev/null || echo 2)

packages=(cmake make python3 g++-mingw-w64-x86-64-posix mingw-w64-tools wine wine64 wine64-tools googletest
          libcli11-dev nlohmann-json3-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "== installing ${missing[*]}"
  sudo=""
  [ "$(id -u)" -ne 0 ] && sudo=sudo
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -q
  $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
fi

export WINEDEBUG=-all
export WINEPREFIX="$build/wine/default"
wine=$(command -v wine || command -v wine64)
windows_path() { echo "Z:${1//\//\\}"; }

echo "== configure (MinGW-w64)"
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" -DCMAKE_BUILD_TYPE=Release \
  -DOSTREL_WERROR=ON
echo "== build"
cmake --build "$build" -j "$jobs"
dll=$(windows_path "$build/lib/Ostrel.dll")

# A machine of its own for the checks below.
export WINEPREFIX="$build/wine/check"
rm -rf "$WINEPREFIX"
mkdir -p "$WINEPREFIX"
# No offer to install Wine's .NET and HTML engines, which nothing here uses
# and which would wait for an answer on a machine with a display.
WINEDLLOVERRIDES="mscoree=;mshtml=" "$wine" wineboot --init >/dev/null 2>&1

echo "== regsvr32 round trip"
# The scheduler's class identifier is the last one the IDL declares.
scheduler_clsid=$(sed -n 's/.*uuid(\([0-9A-Fa-f-]*\)).*/\1/p' "$root/src/component/OstrelLib.idl" | tail -1)
registered_keys=('HKCR\VoAvl.VoRules\CLSID' 'HKCR\VoService.VoCalculator.1\CLSID'
                 "HKCR\\CLSID\\{$scheduler_clsid}\\InprocServer32"
                 'HKCR\TypeLib\{82E2242C-FCC0-4C2E-AB32-0060A2BD3CA9}\2.0')
"$wine" regsvr32 /s "$dll"
for key in "${registered_keys[@]}"; do
  if ! "$wine" reg query "$key" > "$build/reg-query.txt" 2>&1; then
    echo "registered, but $key is missing" >&2
    exit 1
  fi
  echo "   $key: $(tr -d '\r' < "$build/reg-query.txt" | sed -n 's/.*REG_SZ *//p' | head -1)"
done
"$wine" regsvr32 /u /s "$dll"
for key in "${registered_keys[@]}"; do
  if "$wine" reg query "$key" > /dev/null 2>&1; then
    echo "unregistered, but $key is still there" >&2
    exit 1
  fi
done
echo "   regsvr32 /u removed every key again"
"$wine" regsvr32 /s "$dll"

echo "== ostrel.exe schedule (built-in example)"
status=0
(cd "$build" && WINEPATH=$(windows_path "$build/messages") "$wine" "$build/lib/ostrel.exe" schedule \
  --json example.json --html example.html) || status=$?
# 1 means some tasks could not be scheduled, which the example shows on purpose.
[ "$status" -le 1 ] || { echo "ostrel.exe failed with exit code $status" >&2; exit 1; }

echo "== script host (cscript, late-bound)"
script=$(windows_path "$root/examples/script-host/drive.vbs")
status=0
without=$("$wine" cscript //nologo "$script" 2>&1 | tr -d '\r') || status=$?
echo "   without the 1.0 type library: $without"
[ "$without" = "late binding unavailable: 0x8002801D" ] || { echo "expected the call by name to fail" >&2; exit 1; }
"$wine" "$build/lib/ostrel-regsvr.exe" /s /t1 "$dll"
"$wine" cscript //nologo "$script" 2>&1 | tr -d '\r' > "$build/script-host.txt"
if ! diff -u "$root/examples/script-host/drive.expected" "$build/script-host.txt"; then
  echo "the script host printed something else" >&2
  exit 1
fi
sed 's/^/   /' "$build/script-host.txt"

echo "== test (under Wine)"
export WINEPREFIX="$build/wine/default"
status=0
ctest --test-dir "$build" --output-on-failure -j "$jobs" --timeout 300 --output-junit "$build/test-results.xml" ||
  status=$?

echo "== Linux and Windows, test by test"
if [ -f "$linux_results" ]; then
  python3 "$root/tools/compare-tests.py" "$linux_results" "$build/test-results.xml" || status=1
else
  echo "   no Linux results in $linux_results (run tools/run-tests.sh first)"
fi
exit "$status"
