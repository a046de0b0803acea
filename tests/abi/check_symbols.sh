#!/bin/bash
# check_symbols.sh LIBRARY GSOAP LISTS NM: compares what the library exports to hosts, imports from
# them and links with the lists in the repository.
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
echo "$(echo "$exports" | wc -l) exported, $(echo "$imports" | wc -l) imported, as listed"
