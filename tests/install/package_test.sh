#!/bin/bash
# package_test.sh BUILD: makes the Debian packages, installs them into a fresh root of this release, uses them as
# their users do, and removes them. In the fresh root the script calls itself.
set -euo pipefail

if [ "${1-}" != inside ]; then
  scripts/package "$1/package"
  # shellcheck source=/dev/null
  exec scripts/fresh_root "$(. /etc/os-release && echo "$VERSION_CODENAME")" \
    gcc,libc6-dev,pkgconf,curl,systemd-standalone-sysusers "tests/install/package_test.sh inside" "$1/package"
fi

. tests/support/unit.sh
apt-get install -qq --no-install-recommends ./build/package/*.deb >"$work/log" 2>&1 || fail "not installed"

# The -dev package builds a host, which answers.
# shellcheck disable=SC2046
cc -o "$work/host" examples/minimal_host/minimal_host.c $(pkg-config --cflags --libs webServer)
start scripts/without_reboot "$work/host" "$port"
await Listening 1
[[ $(call coreDbReadData '<inputType>analog</inputType><inputName>UPTIME</inputName><inputFormat/>') == *'<return>'* ]] || fail "no reading"
stop TERM

# The service is off. Its command line starts a unit as its user, where /mnt is the folder that BindPaths= names, and
# not where /mnt is the machine's own.
service=/usr/lib/systemd/system/webserver-sim.service
setting() { sed -n "s/^$1=//p" "$service" "/lib/systemd/system/webserver-sim.service" 2>/dev/null | head -n 1; }
[ -z "$(find /etc/systemd -name 'webserver-sim*')" ] || fail "the service is on"
command=$(setting ExecStart | sed 's/ \$WEBSERVER_SIM_OPTIONS$//')
paths=$(setting BindPaths)
as_service=(env "SERVER_PORT=$port" setpriv --reuid="$(setting User)" --regid="$(setting Group)" --clear-groups
  --bounding-set=-all --inh-caps=-all --no-new-privs --)
! "${as_service[@]}" "$command" >"$work/log" 2>&1 || fail "a unit uses the machine's own /mnt"
grep -q "/mnt is not a unit's own" "$work/log" || fail "no reason for the refusal"
install -d -o "$(setting User)" "${paths%:*}"
mount --bind "${paths%:*}" "${paths#*:}"
"${as_service[@]}" sh -c "$(setting ExecStartPre)"
start "${as_service[@]}" "$command"
await 'Unit ready' 1
[[ $(call getRTU '' '<Authentication>viewer:viewer</Authentication>') == *getRTUResponse* ]] || fail "the unit does not answer"
curl -sS "http://127.0.0.1:$port/index.htm" | grep -q '<title>' || fail "no page"
stop TERM
umount /mnt

apt-get purge -qq libwebserver3 libwebserver-dev webserver-sim >"$work/log" 2>&1 || fail "not removed"
left=$(find /usr /etc \( -iname '*webserver*' -o -name libwebServer* \) -not -path '/usr/share/doc/*')
[ -z "$left" ] || fail "left behind: $left"
echo "packages: installed, used, removed"
