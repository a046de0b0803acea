#!/bin/bash
# gateway_test.sh SIM PRIVATE_MNT EXAMPLE: reaches a unit with open doors through the example's nginx and stunnel.
set -euo pipefail
sim=$1 private_mnt=$2 example=$3
. "$(dirname "$0")/../support/unit.sh"
start "$private_mnt" "$sim" --port "$port" --state "$work/state" --strict off
await 'Unit ready' 1
unit=$port
run() { # PORT COMMAND...: waits until it listens
  "${@:2}" >>"$work/gateway" 2>&1 & pids+=" $!"
  retry 10 listens "$1" || fail "$2 does not listen"
}
get() { curl -sk --path-as-is --max-time 20 "$@"; }
codes() { for _ in $(seq "$1"); do get -o /dev/null -w '%{http_code}\n' "${@:2}" || true; done; }
says() { local all; all=$(cat); grep -qF -- "$1" <<<"$all" || fail "no $1 in: $all"; }
login="cgiMethod=Y2dpTG9naW4%3D&arg1=YWRtaW4%3D&arg2=YWRtaW4%3D" points=/cfgFiles/points.xml
mkdir "$work/tls"
for name in unit station1 station2; do
  openssl req -x509 -newkey rsa:2048 -nodes -days 1 -subj "/CN=$name" -keyout "$work/tls/$name.key" \
    -out "$work/tls/$name.crt" 2>/dev/null
  cat "$work/tls/$name".{key,crt} >"$work/tls/$name.pem"
done

# nginx, with limits that a test can reach
new_ports tls
sed "s:/etc/nginx/:$work/tls/:; s/443 ssl/$tls ssl/; s/33080/$unit/; s/rate=50/rate=1/; s/connections 20/connections 3/" \
  "$example/nginx.conf" >"$work/site.conf"
printf '%s\n' "daemon off; master_process off; pid $work/pid; error_log stderr; events {} http { access_log off;" \
  "$(printf "%s_temp_path $work/temp;\n" client_body proxy fastcgi uwsgi scgi) include $work/site.conf; }" >"$work/nginx.conf"
run "$tls" /usr/sbin/nginx -e stderr -c "$work/nginx.conf"
at=https://127.0.0.1:$tls door='/cfgFiles/../../nvRam/counters.xml?x.png'
get "http://127.0.0.1:$unit$door" | says '<counters' # the unit's door is open
get "$at$door" | says '400 Bad Request'
get -D - -c "$work/jar" -d "$login" "$at/" | says '; Secure; SameSite=Strict'
get -b "$work/jar" -H "Origin: $at" -d 'fileName=a.xml&xmlString=<a/>' "$at/cgi/upconfig" || fail "Host is not passed on"
get -b "$work/jar" "$at/cfgFiles/a.xml" | says '<a/>'
get -H 'Content-Type: text/xml' --data-binary "@$example/../../sim/requests/getRTU.xml" "$at/" | says '<return>512Q'
get "$at/index.htm?u=nv" | says 'log in'
# The last two are refused by the unit.
for target in /lan/../icon.svg "/icon.svg?x.png" '/?x' "/index.htm$(printf %200s | tr ' ' x)" /missing.png $points; do
  codes 1 "$at$target" | says 000
done
get --interface 127.0.0.2 -b "$work/jar" "$at$points" | says 'u=wa' # the session is that of 127.0.0.1
codes 40 -d cgiMethod=x "$at/" | says 429
codes 150 --interface 127.0.0.3 "$at/" | says 429
for _ in 1 2 3; do get --interface 127.0.0.4 --limit-rate 1k --data-binary @"$SHELL" "$at/" & pids+=" $!"; done
codes 90 --interface 127.0.0.4 "$at/" | says 429

# stunnel: each station has its own certificate, and its own address at the unit.
new_ports first second here there
tunnel() { # PORT FILE EDITS
  sed "s:/etc/stunnel/:$work/tls/:; 1i foreground = yes
       $3" "$example/$2" >"$work/$2"
  run "$1" stunnel "$work/$2"
}
tunnel "$second" stunnel_unit.conf "s/33443/$first/; s/33444/$second/; s/33080/$unit/"
tunnel "$here" stunnel_station.conf "s/unit.example:33443/127.0.0.1:$first/; s/33080/$here/"
tunnel "$there" stunnel_station.conf "s/station1/station2/; s/unit.example:33443/127.0.0.1:$second/; s/33080/$there/"
get -c "$work/jar" -d "$login" "http://127.0.0.1:$here/" | says '<html'
get -b "$work/jar" "http://127.0.0.1:$here$points" | says '<points'
get -b "$work/jar" "http://127.0.0.1:$there$points" | says 'u=wa'
for name in unit station2; do # not the certificate of this port's station
  codes 1 --cert "$work/tls/$name.pem" "https://127.0.0.1:$first/" | says 000
done
codes 1 --cert "$work/tls/station1.pem" "https://127.0.0.1:$first/" | says 200
echo "gateway: nginx and stunnel pass on what they should, and nothing else"
