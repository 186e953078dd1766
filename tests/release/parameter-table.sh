#!/usr/bin/env bash
# The manual's committed parameter table is what param-table writes from the parameter
# definitions today. Usage: parameter-table.sh PARAM_TABLE_TOOL docs/manual/parameters.md
set -euo pipefail
if ! diff -u "$2" <("$1"); then
    echo "docs/manual/parameters.md is out of date: build/tools/param-table/param-table > docs/manual/parameters.md" >&2
    exit 1
fi
