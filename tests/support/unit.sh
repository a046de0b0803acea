#!/bin/bash
# unit.sh: sourced by the scripts that test a unit from outside. Makes the folder $work, which goes away at
# the end together with the unit that still runs, and finds a free $port.
work=$(mktemp -d)
pid=
trap '[ -z "$pid" ] || kill -9 "$pid" 2>/dev/null; rm -rf "$work"' EXIT
port=$((20000 + $$ % 10000))
while (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do port=$((port + 1)); done

fail() { echo "FAILED: $*"; tail -n 50 "$work"/* 2>/dev/null || true; exit 1; }
start() { # COMMAND...: its output goes to $work/out and $work/log
  truncate -s 0 "$work"/{out,log} # otherwise await() could find the text of the last unit
  "$@" >"$work/out" 2>"$work/log" & pid=$!
}
await() { # TEXT TIMES: waits until so many lines of the output have the text
  for _ in $(seq 300); do
    [ "$(cat "$work"/{out,log} | grep -c "$1")" -lt "$2" ] || return 0
    sleep 0.05
  done
  fail "not seen $2 times: $1"
}
stop() { # SIGNAL: the unit must end with status 0
  kill -"$1" "$pid"
  wait "$pid" || fail "status $? after $1"
  pid=
}
post() { # BODY [OPTION...]
  curl -sS --max-time 10 -H 'Content-Type: text/xml' --data-binary "$1" "${@:2}" "http://127.0.0.1:$port/"
}
call() { # OPERATION FIELDS [HEADER [OPTION...]]
  post "<E:Envelope xmlns:E='http://schemas.xmlsoap.org/soap/envelope/'><E:Header>${3-}</E:Header>\
<E:Body><n:$1 xmlns:n='urn:soapServ'>$2</n:$1></E:Body></E:Envelope>" "${@:4}"
}
