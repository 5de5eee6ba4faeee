#!/usr/bin/env bash
# Ctrl-C during `ostrel schedule` on a large generated project: the run
# stops through the scheduler, exits with 130, reports what was scheduled,
# and the --json file is whole (written from what was scheduled) with no
# half-written file beside it. The signal is sent once reading is over
# (--timings says so); should the run finish first anyway, its outcome is
# checked as a finished run's and a larger project is tried. The first
# project is modest so that the test stays quick while the scheduler, which
# finishes the task it is on before it stops, is slow on large ones.
#   interrupt_test.sh OSTREL WORKDIR
set -u
ostrel=$1
work=$2
mkdir -p "$work" && cd "$work" || exit 1

fail() {
  echo "FAIL: $*" >&2
  echo "--- stdout (last lines)" >&2; tail -n 5 report.txt >&2
  echo "--- stderr" >&2; tail -n 20 err.txt >&2
  exit 1
}
whole_json() {  # pretty-printed by the command: the document's closing brace is the last line
  [ -s out.json ] && [ "$(tail -n 1 out.json)" = "}" ] && grep -q '^ "tasks": \[' out.json
}

tasks=20000
for attempt in 1 2 3 4; do
  "$ostrel" generate --tasks "$tasks" --seed 3 -o big.json || fail "generate"
  rm -f out.json out.json.part report.txt err.txt
  "$ostrel" schedule big.json -q --timings --json out.json > report.txt 2> err.txt &
  pid=$!
  for _ in $(seq 1 1200); do
    grep -q '^timings: read' err.txt && break
    kill -0 "$pid" 2> /dev/null || break
    sleep 0.05
  done
  sleep 0.2
  kill -INT "$pid" 2> /dev/null
  wait "$pid"
  code=$?
  [ -e out.json.part ] && fail "a half-written out.json.part was left behind"
  if [ "$code" -eq 130 ]; then
    grep -q 'stopped by Ctrl-C; [0-9]* scheduled, ' report.txt || fail "no report of what was scheduled"
    whole_json || fail "out.json is missing or not whole"
    grep -q '"interrupted": true' out.json || fail "out.json does not say the run was stopped"
    grep -q '"not_scheduled": [1-9]' out.json || fail "out.json has every task scheduled after a stop"
    echo "stopped with $tasks tasks: $(tail -n 1 report.txt)"
    exit 0
  fi
  # The run was over before the signal came: a finished run's outcome.
  [ "$code" -le 1 ] || fail "exit code $code"
  whole_json || fail "out.json is not whole"
  grep -q '"interrupted": false' out.json || fail "out.json says stopped, the exit code does not"
  echo "the run with $tasks tasks finished before the signal; trying a larger one"
  tasks=$((tasks * 2))
done
echo "every run finished before the signal; their outcomes were checked as finished runs"
