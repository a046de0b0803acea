#!/bin/bash
# install_test.sh BUILD REPOSITORY cmake|pkg-config|static|subproject: installs the library into an empty folder,
# or lets another project build it, builds the minimal host against it as a new user does, and calls it. For a
# unit's own machine the environment has CC, CXX, NM and EMULATOR.
set -euo pipefail
build=$1 repository=$2 how=$3
. "$(dirname "$0")/../support/unit.sh"

cmake --install "$build" --prefix "$work/prefix" >/dev/null
library=$(dirname "$(find "$work/prefix" -name libwebServer.so)")
export PKG_CONFIG_PATH=$library/pkgconfig LD_LIBRARY_PATH=$library
source=$repository/examples/minimal_host host=$work/host/minimal_host exported=-D static=
case $how in
  cmake)
    cmake -S "$source" -B "$work/host" -DCMAKE_SYSTEM_NAME=Linux -DwebServer_ROOT="$work/prefix" >/dev/null
    cmake --build "$work/host" >/dev/null ;;
  pkg-config | static)
    [ "$how" = pkg-config ] || exported= static=-static
    mkdir "$work/host"
    # shellcheck disable=SC2046
    "${CC-cc}" $static -o "$host" "$source/minimal_host.c" $(pkg-config ${static:+--static} --cflags --libs webServer) \
      2>"$work/log" || fail "not linked" ;;
  subproject) # by another generator, without warnings as errors, and without what only the reference unit needs
    mkdir "$work/firmware"
    printf '%s\n' 'cmake_minimum_required(VERSION 3.22)' 'project(firmware LANGUAGES C CXX)' \
      "add_subdirectory($repository webServer)" "add_executable(minimal_host $source/minimal_host.c)" \
      'target_link_libraries(minimal_host webServer::webServer)' >"$work/firmware/CMakeLists.txt"
    cmake -G "Unix Makefiles" -S "$work/firmware" -B "$work/host" -DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON >/dev/null
    cmake --build "$work/host" -j 2 >/dev/null
    unset LD_LIBRARY_PATH ;;
esac

# A failed bind calls reboot() and sync(): the host must replace the system's.
# shellcheck disable=SC2086
[ "$(${NM-nm} $exported --defined-only "$host" | grep -cE ' (reboot|sync)$')" -eq 2 ] \
  || fail "the host does not define reboot() and sync()"

# shellcheck disable=SC2086
start "$repository/scripts/without_reboot" ${EMULATOR-} "$host" "$port"
await Listening 1
point='<inputType>analog</inputType><inputName>UPTIME</inputName>'
[[ $(call coreDbReadData "$point<inputFormat/>") =~ '<return>'[0-9]+'</return>' ]] || fail "no reading"
[[ $(call coreDbKrunchData "$point<value>1</value>") == *'Not allowed'* ]] || fail "the gate let a write pass"
stop TERM
grep -q 'webServer: closing' "$work/log" || fail "the host did not close the service"
echo "minimal host, built with $how: read, refused, stopped"
