#!/bin/bash
# sim_test.sh SIM PRIVATE_MNT REQUESTS: runs the reference unit as a person does, with options, signals, a
# restart and a private /mnt, and sends it every example request.
set -euo pipefail
sim=$1 private_mnt=$2 requests=$3
. "$(dirname "$0")/../support/unit.sh"
unit=("$private_mnt" "$sim" --port "$port" --state "$work/state")

# Succeeds if the input has a matching line. Reads all of the input: otherwise its writer could fail.
has() { local all; all=$(cat); grep -q "$@" <<<"$all"; }
value() { sed -n 's/.*<return>\(.*\)<\/return>.*/\1/p'; }
refuses() { # REASON COMMAND...: the command must fail with a message that matches
  ! "${@:2}" >/dev/null 2>"$work/refusal" || fail "not refused: ${*:2}"
  grep -q -- "$1" "$work/refusal" || fail "not refused for: $1"
}

"$sim" --help | has -- --web-root || fail "--help"
refuses '--port' "$sim" --port 70000

# The unit stops as soon as it has prepared its signals. The handler of SIGPIPE, which it installs last,
# shows that it has. Its blocked signals do not: one that it waits for counts as not blocked.
start "${unit[@]}"
for _ in $(seq 1000); do
  grep -qx sim "/proc/$pid/comm" && grep -q 'SigCgt:.*[13579bdf]...$' "/proc/$pid/status" && break
done
stop TERM

start "${unit[@]}" --remote --verbose
await 'Unit ready' 1
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
await 'Unit ready' 2
moved() { [ "$(post "@$requests/coreDbReadData.xml" | value)" != "$first" ]; }
retry 10 moved || fail "the value did not move" # two readings may be the same: measurements are rounded
grep -q 'restarting' "$work/log" || fail "no restart"

# What is written shows in later reads, and the interlock refuses. A cookie counts for its own site and address.
point='<inputType>setPoint</inputType><inputName>V_SETPOINT</inputName>' cookie=$(login operator operator)
expect <<END
0;admin:admin;coreDbKrunchData;$point<value>42.5</value>
42[.]5[|].*;admin:admin;coreDbReadData;$point<inputFormat/>
Object read error;admin:admin;coreDbReadData;$point<inputFormat>%d%n%s</inputFormat>
.*;admin:admin;fnPut;<binContName>coreDb</binContName><function>setLR</function><arg>L</arg>
1;admin:admin;coreDbKrunchData;$point<value>1</value>
.*;admin:admin;thmSetTime;<inputTime>31:02:03:04:05:06</inputTime>
31:02:03:04:05:0.*;admin:admin;thmGetInfo;
200;$cookie;getUserAuth;
200;$cookie -H Origin:http://127.0.0.1:$port;getUserAuth;
$wrong;$cookie -H Origin:http://evil.example;getUserAuth;
$wrong;$cookie -H Origin:http://127.0.0.1:${port%?};getUserAuth;
$wrong;$cookie -H Origin:http://127.0.0.1:$port.evil.example;getUserAuth;
$wrong;$cookie -H Origin:null;getUserAuth;
$wrong;$cookie --interface 127.0.0.2;getUserAuth;
END

refuses "^sim: another unit runs in $work/state/mnt/:" "${unit[@]}"
while IFS='|' read -r reason options; do
  # shellcheck disable=SC2086
  refuses "^sim: $reason" "$private_mnt" "$sim" --state "$work/other" --port $options
  [ "$(wc -l <"$work/refusal")" -eq 1 ] || fail "more than the reason is printed"
done <<END
cannot listen on 127.0.0.1:$port: Address already in use;|$port
cannot listen on 127.0.0.1:80: Permission denied;|80
cannot listen on 192.0.2.1:$port: Cannot assign|$port --address 192.0.2.1
END

# Without scripts/private_mnt the unit starts only where /mnt is a mount with the file simulated_unit.
# With it, the unit gets as far as the port, which is in use.
mkdir "$work/mnt"
for expected in "/mnt is not a unit's own" "cannot listen"; do
  # shellcheck disable=SC2016,SC2046
  refuses "^sim: $expected" unshare $([ "$(id -u)" -eq 0 ] || echo --map-root-user) --mount sh -c \
    'mount --bind "$0" /mnt && exec "$@"' "$work/mnt" "$sim" --port "$port"
  [ -e "$work/mnt/simulated_unit" ] || [ -z "$(ls "$work/mnt")" ] || fail "a /mnt without the mark is written"
  touch "$work/mnt/simulated_unit"
done
refuses "^sim: /mnt is not a unit's own" "$sim" --port "$port"

# The line that the unit prints for pasting works as it stands.
sh -c "$(grep '^curl' "$work/out" | tail -1)" | has '<return>' || fail "the printed curl line"
# So does a browser's session as the README shows it.
session=$(sed -n '/^field()/,/^```/p' "$requests/../../README.md" | sed "/^\`/d; s/33080/$port/")
(cd "$work" && bash -ec "$session") >"$work/answers" || fail "the README's session"
for answer in '{"status":"success", "level":"250"}' '<points ' '<site name="here"/>' "'/index.htm'"; do
  has -F "$answer" <"$work/answers" || fail "no $answer in the README's session"
done
# And so does the guide's first call, by password and by cookie.
(cd "$work" && sed -n '/^```sh/,/^```$/p' "$requests/../../docs/operations.md" | sed "/^\(\`\|time\)/d; s/33080/$port/" | bash -e) \
  >"$work/answers" || fail "the guide's first call"
[ "$(grep -c '<return>[0-9.]*|[A-Z]*</return>' "$work/answers")" -eq 2 ] || fail "not two answers to the guide's first call"
door="http://127.0.0.1:$port/cfgFiles/../security/accounts?x.png"
! curl -s --path-as-is "$door" || fail "the unit starts with open doors"
stop INT
start "${unit[@]}" --strict off
await 'Unit ready' 1
curl -s --path-as-is "$door" | has '"hash"' || fail "--strict off closes doors"
stop INT

# A missing web root, and a bad file of points or of users is refused with its entry and the reason.
cd "$work" # relative paths are the caller's
refuses "no folder for the web root: $work/nowhere" "${unit[@]}" --web-root nowhere
point='{"type": "analog", "name": "A", "value": 1}'
while IFS='|' read -r entry reason text; do
  printf "%b" "$text" >"$work/bad"
  refuses "bad: ${entry:+entry $entry: }.*$reason" "${unit[@]}" --points bad
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
echo '[{"name": "admin", "hash": "admin", "roles": ["ADMIN"], "locked": false}]' \
  >"$work/state/mnt/flash/security/accounts"
refuses 'state/mnt/flash/security/accounts: entry 1: "hash" must be' "${unit[@]}"

echo "reference unit: all 22 requests answered"
