# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Packages that are unpacked below build/ and not installed. They stay until `./cabin clean`.

target_packages=build/armhf-packages

# GStreamer for the target. Its packages cannot be installed while a library that it needs has one
# version for this machine and another one for the target.
unpack_target() {
    command -v apt-get >/dev/null || {
        say "apt-get not found: armhf is built with the GStreamer that its compiler finds, or without"
        return 0
    }
    own_tree "$target_packages"
    lock_tree "$target_packages"
    if [ "$(cat "$target_packages/unpacked" 2>/dev/null)" != "$(names gstarm)" ]; then
        rm -rf "$target_packages/files" "$target_packages/debs"
        unpack_packages gstarm "$target_packages/debs" "$target_packages/files" \
            "$target_packages/build.log" download_target
        gather_dependencies "$target_packages/debs" "$target_packages/files/DEBIAN"
        drop_elements "$target_packages/files"
        rm -rf "$target_packages/debs"
        names gstarm >"$target_packages/unpacked"
    fi
    unlock_tree
}

# shellcheck disable=SC2046  # package names are words
download_target() { apt-get -q download $(names gstarm); }

# unpack_packages GROUP DEBS FILES LOG COMMAND: COMMAND downloads the packages of the group into the
# directory where it runs. Package lists that are too old for the mirror are updated once.
unpack_packages() {
    debs=$2 files=$3 unpack_log=$4 command=$5
    say "packages to unpack: $(names "$1")"
    mkdir -p "$debs" "$files"
    if ! in_directory "$debs" "$command" >>"$unpack_log" 2>&1; then
        may_be_root || die "needs root or sudo to update the package lists"
        say "updating the package lists"
        as_root apt-get -o DPkg::Lock::Timeout=600 update >>"$unpack_log" 2>&1 </dev/null || true
        logged "$unpack_log" in_directory "$debs" "$command"
    fi
    for package in "$debs"/*.deb; do
        dpkg-deb -x "$package" "$files"
    done
}

in_directory() { (cd "$1" && "$2"); }

# drop_elements FILES: keeps the elements of GStreamer that tests may need. Each start reads all of
# them, which takes seconds in the emulator, and warns of those whose libraries are not there.
drop_elements() {
    for element in "$1"/usr/lib/*/gstreamer-1.0/*.so; do
        case ${element##*/libgst} in
            app.so | audio*.so | autodetect.so | core*.so | encoding.so | flac.so | interleave.so) ;;
            lame.so | level.so | matroska.so | mpg123.so | ogg.so | opus.so | pbtypes.so) ;;
            playback.so | rawparse.so | typefindfunctions.so | videoconvertscale.so) ;;
            videotestsrc.so | volume.so | vorbis.so | wavenc.so | wavparse.so) ;;
            *) rm "$element" ;;
        esac
    done
}

# gather_dependencies DEBS DIRECTORY: which library is in which package, as dpkg-shlibdeps reads it
# beside unpacked files.
gather_dependencies() {
    mkdir -p "$2"
    for package in "$1"/*.deb; do
        for list in symbols shlibs; do
            dpkg-deb -I "$package" "$list" 2>/dev/null >>"$2/$list" || true
        done
    done
}
