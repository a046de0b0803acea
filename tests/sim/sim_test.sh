#!/bin/bash
# sim_test.sh SIM PRIVATE_MNT REQUESTS: runs the reference unit as a person does, with options, signals, a
# restart and a private /mnt, and sends it every example request.
set -euo pipefail
sim=$1 private_mnt=$2 requests=$3
work=$(mktemp -d)
pid=
touch "$work/out" "$work/log"
trap '[ -z "$pid" ] || kill -9 "$pid" 2>/dev/null; rm -rf "$work"' EXIT
port=$((20000 + $$ % 9000 + 1000))
while (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do port=$((port + 1)); done

# Succeeds if the input has a matching line. Reads all of the input: otherwise its writer could fail.
has() { local all; all=$(cat); grep -q "$@" <<<"$all"; }
fail() { echo "FAILED: $*"; cat "$work"/*; exit 1; }
post() { curl -sS --max-time 10 -H 'Content-Type: text/xml' --data-binary "$1" "http://127.0.0.1:$port/"; }
value() { sed -n 's/.*<return>\(.*\)<\/return>.*/\1/p'; }
start() { : >"$work/out"; "$private_mnt" "$sim" --port "$port" --state "$work/state" "$@" >"$work/out" 2>"$work/log" & pid=$!; }
ready() { # TIMES: waits until the unit has printed "Unit ready" this many times
  for _ in $(seq 300); do
    [ "$(grep -c 'Unit ready' "$work/out")" -lt "$1" ] || return 0
    sleep 0.05
  done
  fail "not ready"
}
stop() { # SIGNAL: the unit must end with status 0
  kill -"$1" "$pid"
  wait "$pid" || fail "status $? after $1"
  pid=
}

"$sim" --help | has -- --web-root || fail "--help"
! "$sim" --port 70000 >/dev/null 2>&1 || fail "a port out of range is accepted"

# The unit stops as soon as it has prepared its signals. The handler of SIGPIPE, which it installs last,
# shows that it has. Its blocked signals do not: one that it waits for counts as not blocked.
start
for _ in $(seq 1000); do
  grep -qx sim "/proc/$pid/comm" && grep -q 'SigCgt:.*[13579bdf]...$' "/proc/$pid/status" && break
done
stop TERM

start --remote --verbose
ready 1
first=$(post "@$requests/coreDbReadData.xml" | value)
for request in "$requests"/*.xml; do
  operation=$(basename "$request" .xml)
  [ "$operation" != rtuReboot ] || continue
  reply=$(post "@$request")
  grep -q "ns:${operation}Response>" <<<"$reply" || fail "$operation: $reply"
done
[ "$(ls "$requests"/*.xml | wc -l)" -eq 22 ] || fail "not one example per operation"

# The reboot request restarts the program; its points move.
post "@$requests/rtuReboot.xml" | has '<return>0</return>' || fail "reboot"
ready 2
[ "$(post "@$requests/coreDbReadData.xml" | value)" != "$first" ] || fail "the value did not move"
grep -q 'restarting' "$work/log" || fail "no restart"

# What is written shows in later reads, and the interlock refuses.
body() { printf '<E:Envelope xmlns:E="http://schemas.xmlsoap.org/soap/envelope/"><E:Header><Authentication>admin:admin</Authentication></E:Header><E:Body><n:%s xmlns:n="urn:soapServ">%s</n:%s></E:Body></E:Envelope>' "$1" "$2" "$1"; }
point='<inputType>setPoint</inputType><inputName>V_SETPOINT</inputName>'
[ "$(post "$(body coreDbKrunchData "$point<value>42.5</value>")" | value)" = 0 ] || fail "krunch"
post "$(body coreDbReadData "$point<inputFormat/>")" | value | has '^42.5|' || fail "written value"
hostile="$(body coreDbReadData "$point<inputFormat>%d%n%s</inputFormat>")"
post "$hostile" | has 'Fault' || fail "a hostile format is read"
post "$(body fnPut '<binContName>coreDb</binContName><function>setLR</function><arg>L</arg>')" >/dev/null
[ "$(post "$(body coreDbKrunchData "$point<value>1</value>")" | value)" = 1 ] || fail "local control"
post "$(body thmSetTime '<inputTime>31:02:03:04:05:06</inputTime>')" >/dev/null
post "$(body thmGetInfo '')" | value | has '^31:02:03:04:05:0' || fail "the unit's clock"

if "$private_mnt" "$sim" --port "$port" --state "$work/state" >"$work/second" 2>&1; then fail "a used port is not reported"; fi
grep -q "cannot listen on 127.0.0.1:$port" "$work/second" || fail "no clear message"

# Without scripts/private_mnt the unit starts only where /mnt is a mount with the file simulated_unit.
# With it, the unit gets as far as the port, which is in use.
mkdir "$work/mnt"
for expected in "/mnt is not a unit's own" "cannot listen"; do
  if unshare $([ "$(id -u)" -eq 0 ] || echo --map-root-user) --mount sh -c \
    'mount --bind "$0" /mnt && exec "$@"' "$work/mnt" "$sim" --port "$port" 2>"$work/second"; then fail "started"; fi
  grep -q "^sim: $expected" "$work/second" || fail "not refused: $expected"
  [ -e "$work/mnt/simulated_unit" ] || [ -z "$(ls "$work/mnt")" ] || fail "a /mnt without the mark is written"
  touch "$work/mnt/simulated_unit"
done
if "$sim" --port "$port" 2>"$work/second"; then fail "starts in the machine's /mnt"; fi
grep -q "^sim: /mnt is not a unit's own" "$work/second" || fail "no clear message about /mnt"

# A bad file of points or of users is refused with its entry and the reason.
point='{"type": "analog", "name": "A", "value": 1}'
while IFS='|' read -r entry reason text; do
  printf "%b" "$text" >"$work/bad"
  if "$private_mnt" "$sim" --state "$work/state" --points "$work/bad" 2>"$work/second"; then fail "taken: $text"; fi
  grep -q "bad: ${entry:+entry $entry: }.*$reason" "$work/second" || fail "$text is not refused at $entry for $reason"
done <<END
1|line 3.*syntax error|[\n$point,\n]
|not a list|$point
2|not an object|[$point, 7]
1|"Name" is not a field|[${point/name/Name}]
1|'name' not found|[{"type": "analog"}]
2|"name" is there twice|[$point, {"name": "B", "name": "B"}]
2|analog A is there twice|[$point, $point]
1|/value.* must be number|[${point/1/'"1"'}]
1|"type" must be|[${point/analog/Analog}]
1|text must have|[{"type": "analog", "name": "A", "text": "\\\\u0007"}]
1|"seconds" must be|[{"type": "analog", "name": "A", "simulation": "walk", "from": 0, "to": 1, "seconds": 0}]
|no points|[]
END
echo '[{"name": "admin", "hash": "admin", "roles": ["ADMIN"], "locked": false}]' >"$work/state/mnt/flash/security/accounts"
if "$private_mnt" "$sim" --state "$work/state" 2>"$work/second"; then fail "a damaged file of users is taken"; fi
grep -q 'state/mnt/flash/security/accounts: entry 1: "hash" must be' "$work/second" || fail "no clear message about users"

# The line that the unit prints for pasting works as it stands.
sh -c "$(grep '^curl' "$work/out" | tail -1)" | has '<return>' || fail "the printed curl line"
# So does a browser's session as the README shows it.
session=$(sed -n '/^field()/,/^```/p' "$requests/../../README.md" | sed "/^\`/d; s/33080/$port/")
(cd "$work" && bash -ec "$session") >"$work/answers" || fail "the README's session"
for answer in '{"status":"success", "level":"250"}' '<points ' '<site name="here"/>' "'/index.htm'"; do
  has -F "$answer" <"$work/answers" || fail "no $answer in the README's session"
done
stop INT
echo "reference unit: all 22 requests answered"
