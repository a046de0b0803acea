#!/bin/bash
# install_test.sh BUILD EXAMPLES WITHOUT_REBOOT cmake|pkg-config: installs the library into an empty
# folder, builds the minimal host against it as a new user does, and calls it. For a unit's own machine
# the environment has CC, LDFLAGS, TOOLCHAIN, EMULATOR and LD_LIBRARY_PATH.
set -euo pipefail
build=$1 examples=$2 without_reboot=$3 how=$4
work=$(mktemp -d)
pid=
trap '[ -z "$pid" ] || kill "$pid" 2>/dev/null; rm -rf "$work"' EXIT
fail() { echo "FAILED: $*"; cat "$work"/log; exit 1; }

cmake --install "$build" --prefix "$work/prefix" >/dev/null
host=$work/host/minimal_host
case $how in
  cmake)
    cmake -S "$examples/minimal_host" -B "$work/host" -DCMAKE_TOOLCHAIN_FILE="${TOOLCHAIN-}" \
      -DwebServer_ROOT="$work/prefix" >/dev/null
    cmake --build "$work/host" >/dev/null ;;
  pkg-config)
    mkdir "$work/host"
    export PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name webServer.pc)")
    # shellcheck disable=SC2046
    "${CC-cc}" -o "$host" "$examples/minimal_host/minimal_host.c" \
      $(pkg-config --cflags --libs webServer) ${LDFLAGS-} ;;
esac
export LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name libwebServer.so)"):${LD_LIBRARY_PATH-}

# A failed bind calls reboot() and sync(): the host must replace the system's.
[ "$(${NM-nm} -D --defined-only "$host" | grep -cE ' (reboot|sync)$')" -eq 2 ] || fail "the host does not define reboot() and sync()"

port=$((20000 + $$ % 9000))
# shellcheck disable=SC2086
"$without_reboot" ${EMULATOR-} "$host" "$port" >"$work/log" 2>&1 & pid=$!
for _ in $(seq 100); do
  grep -q 'Listening' "$work/log" && break
  sleep 0.05
done
call() { # OPERATION FIELDS
  curl -sS --max-time 10 -H 'Content-Type: text/xml' "http://127.0.0.1:$port/" -d "<E:Envelope xmlns:E='http://schemas.xmlsoap.org/soap/envelope/'><E:Body><n:$1 xmlns:n='urn:soapServ'>$2</n:$1></E:Body></E:Envelope>"
}
point='<inputType>analog</inputType><inputName>UPTIME</inputName>'
[[ $(call coreDbReadData "$point<inputFormat/>") =~ '<return>'[0-9]+'</return>' ]] || fail "no reading"
[[ $(call coreDbKrunchData "$point<value>1</value>") == *'Not allowed'* ]] || fail "the gate let a write pass"
kill -TERM "$pid"
wait "$pid" || fail "the host ended with status $?"
grep -q 'webServer: closing' "$work/log" || fail "the host did not close the service"
pid=
echo "minimal host, built with $how: read, refused, stopped"
