#!/bin/bash
# install_test.sh BUILD EXAMPLES WITHOUT_REBOOT cmake|pkg-config: installs the library into an empty
# folder, builds the minimal host against it as a new user does, and calls it. For a unit's own machine
# the environment has CC, LDFLAGS, TOOLCHAIN, EMULATOR and LD_LIBRARY_PATH.
set -euo pipefail
build=$1 examples=$2 without_reboot=$3 how=$4
. "$(dirname "$0")/../support/unit.sh"

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
[ "$(${NM-nm} -D --defined-only "$host" | grep -cE ' (reboot|sync)$')" -eq 2 ] \
  || fail "the host does not define reboot() and sync()"

# shellcheck disable=SC2086
start "$without_reboot" ${EMULATOR-} "$host" "$port"
await Listening 1
point='<inputType>analog</inputType><inputName>UPTIME</inputName>'
[[ $(call coreDbReadData "$point<inputFormat/>") =~ '<return>'[0-9]+'</return>' ]] || fail "no reading"
[[ $(call coreDbKrunchData "$point<value>1</value>") == *'Not allowed'* ]] || fail "the gate let a write pass"
stop TERM
grep -q 'webServer: closing' "$work/log" || fail "the host did not close the service"
echo "minimal host, built with $how: read, refused, stopped"
