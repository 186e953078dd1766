#!/usr/bin/env bash
# The man page and --help name the same options: every option --help prints is in the man page,
# and every option the man page gives is in --help. Usage: man-page.sh ORRIN_UPMIX docs/orrin-upmix.1
set -euo pipefail
help_options=$("$1" --help | grep -oE -- '--[a-z][a-z-]*' | sort -u)
# troff writes a hyphen as \- ; options are the bold or plain words that start with two of them.
man_options=$(sed 's/\\-/-/g' "$2" | grep -oE -- '--[a-z][a-z-]*' | sort -u)
missing=$(comm -23 <(echo "$help_options") <(echo "$man_options"))
extra=$(comm -13 <(echo "$help_options") <(echo "$man_options"))
[ -z "$missing" ] || { echo "options in --help but not in the man page: $missing" >&2; exit 1; }
[ -z "$extra" ] || { echo "options in the man page but not in --help: $extra" >&2; exit 1; }
# The page itself is well formed: man renders it without a warning.
if command -v man >/dev/null; then
    warnings=$(MANWIDTH=80 man --warnings -l "$2" 2>&1 >/dev/null || true)
    [ -z "$warnings" ] || { echo "man page warnings: $warnings" >&2; exit 1; }
fi
