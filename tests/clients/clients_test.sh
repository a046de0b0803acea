#!/bin/bash
# clients_test.sh SIM PRIVATE_MNT CLIENTS BUILD: builds the example clients (zeep, node, php, gsoap;
# one or several, as one argument) in the folder BUILD and has each call a fresh unit in both SOAP
# versions and with both ways to authenticate. Prints a table of what was called.
set -euo pipefail
sim=$1 private_mnt=$2 clients=$3 build=$4
root=$(cd "$(dirname "$0")/../.." && pwd)
examples=$root/examples/soap_clients
operations=$(sed -n 's/^int ns__\([A-Za-z]*\)(.*/\1/p' "$root/webServer/soap/soapServ.gsoap")
combinations="1.1_header 1.1_cookie 1.2_header 1.2_cookie"
. "$root/tests/support/unit.sh"
address=http://127.0.0.1:$port

prepare() { # CLIENT: installs or builds what it needs; the unit runs
  case $1 in
    node) npm ci --no-audit --no-fund --prefix "$build/node" ;;
    gsoap) cmake -S "$build/gsoap" -B "$build/gsoap/build" -DUNIT="$address" \
             && cmake --build "$build/gsoap/build" ;;
  esac >"$work/prepare.log" 2>&1 || fail "$1 cannot be built"
}
run() { # CLIENT VERSION AUTHENTICATION
  case $1 in
    zeep) /usr/bin/python3 "$build/zeep/client.py" "$address" "${@:2}" ;;
    node) node "$build/node/client.js" "$address" "${@:2}" ;;
    php) php "$build/php/client.php" "$address" "${@:2}" ;;
    gsoap) "$build/gsoap/build/client_$2" "$address" "${@:2}" ;;
  esac
}

mkdir -p "$build"
cp "$examples/calls.json" "$build"
export no_proxy=127.0.0.1
for client in $clients; do
  mkdir -p "$build/$client"
  cp "$examples/$client"/*.* "$build/$client"
  for combination in $combinations; do
    rm -rf "$work/state"
    start "$private_mnt" "$sim" --strict off --port "$port" --state "$work/state"
    await 'Unit ready' 1
    [ "$combination" != 1.1_header ] || prepare "$client"
    output=$work/$client.$combination
    run "$client" "${combination%_*}" "${combination#*_}" >"$output" 2>"$work/client.log" \
      || fail "$client $combination: $(tail -n 3 "$output")"
    tail -n 1 "$output"
    for operation in $operations; do
      grep -q "^$operation " "$output" || fail "$client $combination does not call $operation"
    done
    await 'Unit ready' 2 # the client's last call has restarted the unit, whose process stays the same
    stop INT
  done
done

cells() { # FIRST COMMAND...: prints a row of the table, with what the command prints for each client
  printf '| %s |' "$1"
  for client in $clients; do printf ' %s |' "$("${@:2}")"; done
  echo
}
name() { echo "$client"; }
times() { cat "$work/$client".* | grep -c "^$operation "; }
counts() { tail -n 1 "$work/$client.$combination" | sed 's/.*: //'; }
cells "" name
cells --- echo ---
for operation in $operations; do cells "\`$operation\`" times; done
for combination in $combinations; do cells "SOAP ${combination/_/, }" counts; done
