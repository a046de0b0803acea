#!/bin/bash
# check_symbols.sh LIBRARY GSOAP LISTS NM: compares what the library exports to hosts, imports from
# them and links with the lists in the repository, and finds its version record as firmware tools do.
set -euo pipefail
library=$1 gsoap=$2 lists=$3 nm=$4
export LC_ALL=C

defined=$("$nm" -D --defined-only "$library" | awk '$2 != "A" {print $NF}' | sort)
undefined=$("$nm" -D --undefined-only "$library" | awk '$1 == "U" {print $2}' | sort)
gsoapNeeds=$("$nm" -D --undefined-only "$gsoap" | awk '{print $2}' | sort)
gsoapGives=$("$nm" -D --defined-only "$gsoap" | awk '{print $NF}' | sort)

# The library also exports what the gSOAP library calls, with another version, and nothing else.
exports=$(comm -23 <(echo "$defined") <(sed 's/$/@@WEBSERVER_GSOAP/' <<<"$gsoapNeeds" | sort))
# Symbols with a version belong to the C and C++ libraries.
imports=$(comm -23 <(echo "$undefined" | grep -v '@') <(echo "$gsoapGives"))
links=$(readelf -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\.so.*\]/\1/p' | sed 's/-[0-9.]*$//' | sort)

diff -u <(sed 's/$/@@WEBSERVER_3/' "$lists/exports.txt" | sort) <(echo "$exports")
diff -u "$lists/imports.txt" <(echo "$imports")
diff -u <(printf '%s\n' libc libgsoapck++ libstdc++) <(echo "$links")

record='markBeginVer\0v03\0\.03\.03\0\w{3} [ \d]\d \d{4}\0\d\d:\d\d:\d\d\0markEndVer\0'
grep -qaP "$record" "$library"
grep -q markBeginVer <(readelf -p .data "$library") # not among the constants
echo "$(echo "$exports" | wc -l) exported, $(echo "$imports" | wc -l) imported, as listed"
