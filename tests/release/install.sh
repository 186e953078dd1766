#!/usr/bin/env bash
# scripts/install and scripts/uninstall on the built programs (nothing is rebuilt), into a
# temporary HOME and then a temporary prefix:
#  - every part lands where hosts and users look (VST3, LV2, command line and Standalone through
#    bin/, the dialogue network beside them, manual, man page, presets, the pod library);
#  - the installed command line runs and finds the installed manual;
#  - installing again replaces the first install; uninstall removes exactly what was installed,
#    leaving the user's own files in the same folders, and no folder it made.
# Usage: install.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source=$1 build=$2
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
export KESTRO_AUDIO_DIR=$tmp/kestro  # the programs' own logs and settings stay out of the way

fail() { echo "FAIL: $*" >&2; exit 1; }
check_installed() {  # check_installed BASE VST3 LV2
    local base=$1
    for f in "$2/Orrin Upmix.vst3/Contents/x86_64-linux/Orrin Upmix.so" "$3/Orrin Upmix.lv2/manifest.ttl" \
             "$base/bin/orrin-upmix" "$base/bin/orrin-upmix-standalone" "$base/lib/orrin-upmix/dialog.net" \
             "$base/lib/kestro-audio/libKaPod.so.1" "$base/share/man/man1/orrin-upmix.1" \
             "$base/share/orrin-upmix/resources/manual/index.html" "$base/share/orrin-upmix/presets/Film Dialogue 5.1.nap"; do
        [ -e "$f" ] || fail "not installed: $f"
    done
    [ -x "$base/bin/orrin-upmix-standalone" ] || fail "the Standalone is not executable"
    "$base/bin/orrin-upmix" --version | grep -q '^orrin-upmix ' || fail "the installed command line does not run"
    [ "$("$base/bin/orrin-upmix" --manual)" = "$base/share/orrin-upmix/resources/manual/index.html" ] \
        || fail "the installed command line does not find the installed manual"
}
snapshot() { (cd "$1" && find . | sort); }

# For one user, beside a file and a plug-in of the user's own.
home=$tmp/home
mkdir -p "$home/.vst3/Other.vst3" "$home/.local/bin"
touch "$home/.vst3/Other.vst3/x" "$home/.local/bin/mine"
before=$(snapshot "$home")
HOME=$home bash "$source/scripts/install" --build "$build" > /dev/null
check_installed "$home/.local" "$home/.vst3" "$home/.lv2"
HOME=$home bash "$source/scripts/install" --build "$build" > /dev/null  # again, over the first
HOME=$home bash "$source/scripts/uninstall" > /dev/null
[ "$(snapshot "$home")" = "$before" ] || fail "uninstall left or removed: $(diff <(echo "$before") <(snapshot "$home"))"

# Under a prefix, for everyone.
prefix=$tmp/prefix
HOME=$home bash "$source/scripts/install" --build "$build" --prefix "$prefix" > /dev/null
check_installed "$prefix" "$prefix/lib/vst3" "$prefix/lib/lv2"
[ ! -e "$home/.local/share/orrin-upmix" ] || fail "a prefix install wrote to HOME"
HOME=$home bash "$source/scripts/uninstall" --prefix "$prefix" > /dev/null
[ ! -e "$prefix" ] || fail "uninstall left: $(find "$prefix")"
echo "install and uninstall: ok"
