#!/bin/bash
# docs_test.sh SIM FOLDER: checks that the documentation is made without a warning, and that it lists the
# operations, exports and imports that exist.
set -euo pipefail
sim=$1 folder=$2
cd "$(dirname "$0")/../.."

scripts/docs "$sim" "$folder"
grep -q 'coredb' "$folder/sim.1"

# Name, fields, result and level, from the service description and from the guide.
perl -0ne '
  while (/documentation: (\w+) .*?(?:Level (\d+)|No level)\.\nint ns__\1\((.*?)\);/gs) {
    my ($name, $level, $fields) = ($1, $2 // "none", $3);
    $fields =~ s/\s+/ /g;
    $fields =~ s/,? ?(char \*|int )\*return_$//;
    my $result = $1 eq "int " ? "int" : "string";
    $fields =~ s/char \*(\w+)/`$1` string/g;
    $fields =~ s/int \*(\w+)/`$1` int/g;
    printf "| `%s` | %s | %s | %s |\n", $name, $fields || "none", $result, $level;
  }' webServer/soap/soapServ.gsoap | sort >"$folder/described"
[ "$(wc -l <"$folder/described")" -eq 22 ]
grep -E '^\| `[A-Za-z]+` \|' docs/operations.md | sort | diff -u "$folder/described" -

for page in *.md docs/*.md examples/*/*.md; do
  for link in $(grep -oE '\]\([^)#]+' "$page" | grep -v '://' | cut -c3-); do
    [ -e "$(dirname "$page")/$link" ] || { echo "$page: $link is not there"; exit 1; }
  done
done

for name in $(cat tests/abi/exports.txt tests/abi/imports.txt); do
  grep -qE "\`$name(\(\))?\`" docs/host_interface.md || { echo "$name is not in docs/host_interface.md"; exit 1; }
done

# Each correction of gSOAP names a file that is there and a test that is there, or the build.
ctest --test-dir "$folder/.." -N | sed -n 's/^ *Test *#[0-9]*: \([^ ]*\).*/\1/p' >"$folder/tests"
sed '/^## What we leave/,$d' docs/gsoap.md | grep '^| ' | grep -v -e '^| What gSOAP' -e '^| ---' >"$folder/corrections"
while IFS='|' read -r _ _ what test _; do
  file=$(sed -E 's/.*: `([^`]+)` $/\1/' <<<"$what")
  [ -e "webServer/$file" ] || [ -e "$file" ] || { echo "docs/gsoap.md: no file in: $what"; exit 1; }
  names=$(grep -oE '`[^`]+`' <<<"$test" | tr -d '`') || [ "$test" = ' the build ' ] \
    || { echo "docs/gsoap.md: no test for: $what"; exit 1; }
  for name in $names; do
    grep -qxF "$name" "$folder/tests" || { echo "docs/gsoap.md: $name is not there"; exit 1; }
  done
done <"$folder/corrections"
