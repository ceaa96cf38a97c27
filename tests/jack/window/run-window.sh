#!/usr/bin/env bash
# Runs a Lingo script in the message window on a JACK server, with JACK's example clients as
# peers, and compares what it prints with the expected output. The script asks for changes by
# printing lines "driver: start seq2", "driver: stop seq2", "driver: stop server",
# "driver: start server" and "driver: start window NAME", which this driver carries out while the
# script waits for their effect. The last runs NAME.ls (beside SCRIPT.ls) in a second message
# window; what that prints follows what SCRIPT.ls printed.
#
# Usage: run-window.sh shared|private|none SCRIPT.ls EXPECTED [DUMPED]
#   EXPECTED: NAME.out, the exact output, or NAME.grep, patterns that some printed line matches
#   DUMPED:   an extended regular expression that a line of jack_midi_dump must match (what the
#             script sent)
#   shared:  the server JACK_DEFAULT_SERVER names if it answers (CI starts one), else our own
#   private: always a server of our own, which the script may see stopped and started again
#   none:    no server at all
# Environment: TONVIK, JACKD, JACK_MIDISEQ, JACK_MIDI_DUMP, JACK_LSP (paths of the programs).
set -uo pipefail
mode=$1 script=$2 expected=$3 dumped=${4:-}
work=$(mktemp -d)
server_pid="" seq_pid="" seq2_pid="" dump_pid="" windows=()
export JACK_NO_START_SERVER=1

stop() {  # by PID, SIGTERM: a server killed harder leaves its files behind
  local pid=$1
  [ -n "$pid" ] || return 0
  kill -TERM "$pid" 2>/dev/null
  for _ in $(seq 200); do kill -0 "$pid" 2>/dev/null || return 0; sleep 0.05; done
  kill -KILL "$pid" 2>/dev/null
}
cleanup() {
  stop "$seq2_pid"; stop "$seq_pid"; stop "$dump_pid"; stop "$server_pid"
  rm -rf "$work"
}
trap cleanup EXIT

answers() { "$JACK_LSP" >/dev/null 2>&1; }
start_named() {  # false if the name is taken or the server does not come up
  answers && return 1
  "$JACKD" -r -n "$JACK_DEFAULT_SERVER" -d dummy -r 48000 -p 256 >"$work/jackd.log" 2>&1 &
  server_pid=$!
  for _ in $(seq 200); do
    answers && return 0
    kill -0 "$server_pid" 2>/dev/null || break
    sleep 0.05
  done
  server_pid=""
  return 1
}
start_server() {
  if [ -n "${server_name:-}" ]; then  # the same server again
    export JACK_DEFAULT_SERVER=$server_name
    start_named && return 0
  else
    # A few fixed names: libjack's registry of servers (eight places) frees the place of a
    # server that died unannounced only for a new server of the same name.
    for i in 0 1 2 3; do
      export JACK_DEFAULT_SERVER="tonvik-window-$i"
      if start_named; then server_name=$JACK_DEFAULT_SERVER; return 0; fi
    done
  fi
  echo "jackd did not start" >&2
  cat "$work/jackd.log" >&2
  exit 1
}
wait_ports() {  # until JACK lists every port named, so a script finds them at its first listing
  for _ in $(seq 200); do
    local listed missing=0
    listed=$("$JACK_LSP" 2>/dev/null)
    for port in "$@"; do grep -qxF "$port" <<<"$listed" || missing=1; done
    [ "$missing" -eq 0 ] && return 0
    sleep 0.05
  done
  echo "JACK never listed $*" >&2
  exit 1
}
start_peers() {
  "$JACK_MIDISEQ" seq 24000 0 60 6000 >/dev/null 2>&1 &
  seq_pid=$!
  "$JACK_MIDI_DUMP" >>"$work/dump.txt" 2>/dev/null &
  dump_pid=$!
  wait_ports seq:out midi-monitor:input
}
stop_peers() {
  stop "$seq2_pid"; stop "$seq_pid"; stop "$dump_pid"
  seq2_pid="" seq_pid="" dump_pid=""
}

case $mode in
  shared)
    if [ -z "${JACK_DEFAULT_SERVER:-}" ] || ! answers; then start_server; fi
    start_peers ;;
  private)
    start_server
    start_peers ;;
  none)
    export JACK_DEFAULT_SERVER="tonvik-absent-$$" ;;
  *) echo "unknown mode $mode" >&2; exit 2 ;;
esac

# The window prints one line per put and flushes it, so each request is seen at once.
mkfifo "$work/out"
"$TONVIK" --midi jack "$script" >"$work/out" 2>"$work/err" &
window_pid=$!
while IFS= read -r line; do
  printf '%s\n' "$line" >>"$work/printed"
  case $line in
    *'"driver: start seq2"') "$JACK_MIDISEQ" seq2 24000 0 62 6000 >/dev/null 2>&1 & seq2_pid=$! ;;
    *'"driver: stop seq2"') stop "$seq2_pid"; seq2_pid="" ;;
    *'"driver: stop server"') stop "$server_pid"; server_pid=""; stop_peers ;;
    *'"driver: start server"') start_server; start_peers ;;
    *'"driver: start window '*)
      name=${line##*driver: start window }
      name=${name%\"}
      "$TONVIK" --midi jack "$(dirname "$script")/$name.ls" >"$work/$name.printed" 2>"$work/$name.err" &
      windows+=("$!:$name") ;;
  esac
done <"$work/out"
wait "$window_pid"
status=$?
touch "$work/printed"
# Second windows end by themselves, as every script here does.
for entry in "${windows[@]}"; do
  pid=${entry%%:*} name=${entry#*:}
  if ! wait "$pid"; then echo "the window $name failed" >&2; status=1; fi
  cat "$work/$name.printed" >>"$work/printed"
  cat "$work/$name.err" >>"$work/err"
done

failed=0
if [ "${expected##*.}" = grep ]; then
  while IFS= read -r pattern; do
    grep -qE -- "$pattern" "$work/printed" || { echo "no printed line matches: $pattern" >&2; failed=1; }
  done <"$expected"
  [ "$failed" -eq 0 ] || cat "$work/printed" >&2
elif ! diff -u "$expected" "$work/printed"; then
  failed=1
fi
if [ "$status" -ne 0 ]; then echo "the window exited with status $status" >&2; failed=1; fi
if grep -q "Script error" "$work/err"; then failed=1; fi
# Said once, however often the script tries.
absent="JACK backend: the JACK server \"$JACK_DEFAULT_SERVER\" is not running; start it"
absent+=" (for example \"jackd -d dummy\") and call Init again."
if [ "$mode" = none ] && [ "$(grep -cxF -- "$absent" "$work/err")" -ne 1 ]; then
  echo "standard error does not say once: $absent" >&2
  failed=1
fi
if [ -n "$dumped" ]; then
  for _ in $(seq 100); do grep -qE "$dumped" "$work/dump.txt" && break; sleep 0.05; done
  if ! grep -qE "$dumped" "$work/dump.txt"; then
    echo "jack_midi_dump did not print $dumped; it printed:" >&2
    cut -c1-200 "$work/dump.txt" >&2
    failed=1
  fi
fi
if [ "$failed" -ne 0 ]; then
  echo "--- standard error of the window:" >&2
  cat "$work/err" >&2
fi
exit "$failed"
