#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# settings.sh BUILD [--json FILE]: size that the settings add to the library of this build, in bytes
# of text: code, constants, unwind tables, and for the library its dynamic symbols with their names.
#
# A piece contained in several objects counts several times in their sum, but once in the library.
# The library's growth is found by linking all of its objects twice, with and without the settings.
# The exit status is 1 when the growth is more than LIMIT (61440) bytes.
set -eu

build=${1:?usage: settings.sh BUILD [--json FILE]}
json=${3:-}
limit=${LIMIT:-61440}
root=$(dirname -- "$(readlink -f -- "$0")")/../..
compiler=$(sed -n 's/^set(CMAKE_CXX_COMPILER "\(.*\)")$/\1/p' \
    "$build"/CMakeFiles/*/CMakeCXXCompiler.cmake)
settings='ClientVolumeSetting ClientSourceSetting ClientAppSetting ClientMixerSetting ClientRecordControl EffectBlock Setting'
client=$build/client/CMakeFiles/cabinaudio-client.dir
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

text() { size "$1" | awk 'NR == 2 { print $1 }'; }

# The size excludes other libraries: their symbols may stay undefined.
link_library() {
    library=$1
    shift
    "$compiler" -shared -Wl,-z,relro "-Wl,--version-script=$root/cmake/cabinaudio.map" \
        -o "$library" "$@"
}

set --
for layer in foundation link shm diag client; do
    set -- "$@" "$build/$layer/CMakeFiles/cabinaudio-$layer.dir"/*.o
done
link_library "$scratch/with.so" "$@"
for object; do
    shift
    name=$(basename "$object" .cpp.o)
    case " $settings " in *" $name "*) ;; *) set -- "$@" "$object" ;; esac
done
link_library "$scratch/without.so" "$@"

printf 'Text of the settings, %s\n' "$("$compiler" -dumpmachine)"
sum=0
for name in $settings; do
    bytes=$(text "$client/$name.cpp.o")
    sum=$((sum + bytes))
    printf '  %-26s %6d\n' "$name" "$bytes"
done
added=$(($(text "$scratch/with.so") - $(text "$scratch/without.so")))
printf '  %-26s %6d\n' 'sum of the objects' "$sum"
verdict=reached
[ "$added" -le "$limit" ] || verdict=MISSED
printf '  %-26s %6d  (goal: at most %d, %s)\n' 'added to the library' "$added" "$limit" "$verdict"
if [ -n "$json" ]; then
    printf '{"title": "Text of the settings, armhf", "figures": [{"name": "%s", "value": %d, "atMost": %d}]}\n' \
        'text that the settings add, bytes' "$added" "$limit" >"$json"
fi
[ "$verdict" = reached ]
