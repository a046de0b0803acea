#!/bin/bash
# secure_host_test.sh BUILD EXAMPLE PRIVATE_MNT: builds the secure host against an installed library, and tries
# its users, sessions and rights as clients do. For a unit's own machine the environment has TOOLCHAIN and
# EMULATOR.
set -euo pipefail
build=$1 example=$2 private_mnt=$3
. "$(dirname "$0")/../support/unit.sh"

{ cmake --install "$build" --prefix "$work/prefix"
  cmake -S "$example" -B "$work/host" -DCMAKE_TOOLCHAIN_FILE="${TOOLCHAIN-}" -DwebServer_ROOT="$work/prefix"
  cmake --build "$work/host"; } >"$work/build" 2>&1 || fail "cannot be built"
export XDG_STATE_HOME=$work LD_LIBRARY_PATH=$(dirname "$(find "$work/prefix" -name libwebServer.so)")
run() {
  # shellcheck disable=SC2086
  start "$private_mnt" ${EMULATOR:-env} "$work/host/secure_host" "$port" "$work/users" "$example/www"
  await Listening 1
}
limit='<inputType>setPoint</inputType><inputName>LIMIT</inputName>'
user() { echo "<userName>$1</userName>"; }

run
first=admin:$(sed -n 's/.*admin with the password //p' "$work/log")
[ "${#first}" -eq 30 ] && ! grep -q "${first#*:}" "$work/users" || fail "no first password, or it is not hashed"
stop TERM
# shellcheck disable=SC2016
perl -e 'print "eve 1 0 ", crypt("evening eve", q($6$salt$)), "\n"' >>"$work/users" # the user is a VIEWER
run
admin=$(login admin "${first#*:}") eve=$(login eve 'evening eve')
[[ ${#admin} -eq 45 && ${#eve} -eq 45 && $admin != "$eve" ]] || fail "no login, or no long id"
[[ $(curl -sS "http://127.0.0.1:$port/") == *'<h1>Secure host'* ]] || fail "no page"
expect <<END
100[|]GOOD;eve:evening eve;coreDbReadData;$limit<inputFormat>%g</inputFormat>
$wrong;eve:wrong;coreDbReadData;$limit<inputFormat/>
$wrong;${eve%?};getUserAuth;
250;$admin -H Origin:http://127.0.0.1:$port;getUserAuth;
$wrong;$admin -H Origin:http://127.0.0.1:80;getUserAuth;
Not allowed;$eve;coreDbKrunchData;$limit<value>7</value>
0;$first;coreDbKrunchData;$limit<value>7</value>
7[|]GOOD;$eve;coreDbReadData;$limit<inputFormat>%d</inputFormat>
admin eve ;$admin;getUsersList;
;$eve;getUsersList;
VIEWER ;$eve;getRolesListByUser;$(user eve)
1;$eve;setUserRoles;$(user eve)<rolesList>ADMIN</rolesList>
2;$admin;setUserLock;$(user adam)<lock>1</lock>
3;$admin;setUserRoles;$(user eve)<rolesList>OPERATOR,KING</rolesList>
4;$admin;setUserRoles;$(user admin)<rolesList>OPERATOR</rolesList>
0;$admin;setUserRoles;$(user eve)<rolesList>OPERATOR,VIEWER</rolesList>
200;$eve;getUserAuth;
3;$eve;setUserPassword;$(user eve)<passwd>short</passwd>
0;eve:evening eve;setUserPassword;$(user eve)<passwd>morning eve</passwd>
$wrong;$eve;getUserAuth;
0;$admin;setUserLock;$(user eve)<lock>1</lock>
$wrong;eve:morning eve;getUserAuth;
eve ;$admin;getLockedUsers;
0;$admin;setUserLock;$(user eve)<lock>0</lock>
END
{ printf "$wrong;%s;getUserAuth;\n" admin:{1..5} "$first" # five lock the password
  echo "250;$admin;getUserAuth;"; } | expect              # but no session
stop TERM
run # the file has kept the users; sessions and wrong passwords are forgotten
printf '%s;getUserAuth;\n' "$wrong;$admin" "250;$first" "200;eve:morning eve" | expect
stop TERM
echo "secure host: users, sessions and rights work"
