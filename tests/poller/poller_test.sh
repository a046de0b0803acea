#!/bin/bash
# poller_test.sh SIM PRIVATE_MNT POLLER: polls 50 reference units, each with its own /mnt. Then one stops
# answering, one ends, one locks the user, one restarts and one takes the user's roles; the others go on.
set -euo pipefail
sim=$1 private_mnt=$2 poller=$3
. "$(dirname "$0")/../support/unit.sh"
count=50 units=() ports=()

next=$((30000 + $$ % 2600)) # the tests that run beside this one take ports below
for ((i = 0; i < count; ++i)); do
  new_ports "ports[$i]"
  "$private_mnt" "$sim" --quiet --port "$next" --state "$work/state$i" >"$work/unit$i" 2>&1 & units+=($!) pids+=" $!"; disown
  entries+="${entries:+, }\"u$i\": \"http://127.0.0.1:$next/\""
done
echo "{\"user\": \"viewer\", \"password\": \"viewer\", \"units\": {$entries},
  \"points\": {\"analog\": [\"FDR1_IA\", \"BUS1_FREQ\"], \"status\": [\"BRK1_POS\"]}}" >"$work/settings"

matches() { # COUNT PATTERN
  curl -sS "http://127.0.0.1:$port/metrics" >"$work/metrics" 2>/dev/null && [ "$(grep -cE "$2" "$work/metrics")" -eq "$1" ]
}
shows() { # COUNT PATTERN: waits until so many lines of the metrics match
  retry 30 matches "$@" || fail "not $1 times: $2: $(grep -E '^rtu_(up|polls_total)' "$work/metrics" | tail -n 60)"
}
admin() { port=${ports[$1]} call "$2" "$3" '<Authentication>admin:admin</Authentication>' >/dev/null; }

for ((i = 0; i < count; ++i)); do retry 60 grep -q "Unit ready" "$work/unit$i" || fail "unit $i"; done
start "$poller" "$work/settings" --port "$port" --every 1 --at-once 10
shows $count '^rtu_up.* 1\.0'
shows $((3 * count)) '^rtu_value'
kill -STOP "${units[0]}"
kill -KILL "${units[1]}"
admin 2 setUserLock '<userName>viewer</userName><lock>1</lock>'
admin 3 rtuReboot '<user/><password/>'
admin 4 setUserRoles '<userName>viewer</userName><rolesList/>'
shows 5 '^rtu_polls_total.outcome="(silent",unit="u[01]|refused",unit="u2|fault",unit="u4)|^rtu_logins_total.unit="u3". 2'
shows $((count - 4)) '^rtu_up.* 1\.0'
shows $((3 * (count - 4))) '^rtu_value'
! grep -E '^rtu_polls_total.outcome="(silent|refused|fault)' "$work/metrics" | grep -v '"u[0-4]"' || fail "others failed as well"
echo "$count units polled: $(awk '/^rtu_polls_total.outcome="ok"/ { polls += $2 } END { print polls }' "$work/metrics") polls"
