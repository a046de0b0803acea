#!/bin/bash
# unit.sh: sourced by the scripts that test a unit from outside. Makes the folder $work, which goes away at
# the end together with the programs that still run, and finds a free $port.
work=$(mktemp -d)
pid= pids= # the unit; others
trap 'kill -9 $pid $pids 2>/dev/null || true; wait; rm -rf "$work"' EXIT
next=$((20000 + $$ % 10000))
listens() { (exec 3<>"/dev/tcp/127.0.0.1/$1") 2>/dev/null; } # PORT
new_ports() { # NAME...: sets each to a free one
  for name; do
    while next=$((next + 1)); listens "$next"; do :; done
    declare -g "$name=$next"
  done
}
new_ports port

fail() { echo "FAILED: $*"; tail -n 50 "$work"/* 2>/dev/null || true; exit 1; }
retry() { # SECONDS COMMAND...: until it succeeds
  for _ in $(seq "$((10 * $1))"); do ! "${@:2}" || return 0; sleep 0.1; done
  return 1
}
start() { # COMMAND...: its output goes to $work/out and $work/log
  truncate -s 0 "$work"/{out,log} # otherwise await() could find the text of the last unit
  "$@" >"$work/out" 2>"$work/log" & pid=$!
}
printed() { [ "$(cat "$work"/{out,log} | grep -c "$1")" -ge "$2" ]; }
await() { retry 15 printed "$@" || fail "not seen $2 times: $1"; } # TEXT TIMES: waits for so many lines of output
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
field() { printf %s "$1" | base64 | sed 's/+/%2B/g; s|/|%2F|g; s/=/%3D/g'; }
login() { # USER PASSWORD: prints the session's cookie as an option of curl
  curl -sS -o /dev/null -c - "http://127.0.0.1:$port/" -H 'Accept: application/json' \
    -d "cgiMethod=$(field cgiLogin)&arg1=$(field "$1")&arg2=$(field "$2")" | awk '/SESSIONID/ { print "-b SESSIONID=" $7 }'
}
wrong='Authentication error'
expect() { # its input: RESULT;WHO;OPERATION;FIELDS, where WHO is user:password or options of curl
  local result who operation fields header options reply
  while IFS=';' read -r result who operation fields; do
    header='' options=()
    case $who in -*) read -ra options <<<"$who" ;; *) header="<Authentication>$who</Authentication>" ;; esac
    reply=$(call "$operation" "$fields" "$header" "${options[@]}" | sed -nE 's/.*<(return|faultstring)>([^<]*)<.*/\2/p')
    [[ $reply =~ ^(WebServer Error: )?($result)$ ]] || fail "$who $operation $fields: '$reply', not '$result'"
  done
}
