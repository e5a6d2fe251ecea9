# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The Debian packages that the commands need, and how they are installed.

# Packages that each command needs beyond a minimal Debian. Commands combine groups (see need()).
packages() {
    cat <<'END'
build   cmake                        configures the builds
build   ninja-build                  runs them
build   g++                          compiles
build   libc6-dev                    C library headers
build   android-liblog-dev           the log library
build   libsndfile1-dev              sound files: server, player, demo
build   libsamplerate0-dev           rate conversion in the server
build   libfftw3-dev                 spectra: server, checks
build   libcairo2-dev                pictures of checks
build   libopus-dev                  uplink in Opus: server
build   libsbc-dev                   uplink in mSBC: server, recorder
build   libavcodec-dev               uplink in AAC: server
build   libavformat-dev              its LOAS framing
build   libavutil-dev                both need it
build   libogg-dev                   container of recorded Opus
build   libflac-dev                  FLAC from pipes: player
build   libarchive-dev               reports of the tool
build   libcli11-dev                 command lines of server and tool
build   nlohmann-json3-dev           JSON of server and tool
build   libcpp-httplib-dev           page of the tool's view
build   libncurses-dev               screen of the tool's top
build   libasound2-dev               server output "alsa"
build   libpulse-dev                 server output "pulse"
build   libgstreamer-plugins-base1.0-dev GStreamer plug-in
build   pkgconf                      finds its libraries
build   pybind11-dev                 Python package
build   python3-dev                  its headers
test    libgtest-dev                 test framework
test    libgmock-dev                 matchers
test    libcap2-bin                  setcap: programs with file capabilities refuse a preload
test    alsa-utils                   recorded speech for the tests of calls
test    pulseaudio-utils             records what sound servers play
test    pipewire-bin                 a sound server to play to
test    libpipewire-0.3-modules      its interface of PulseAudio
test    libspa-0.2-modules           its null sink
test    wireplumber                  links streams to sinks
test    python3-jsonschema           checks what the programs print as JSON
test    python3                      pseudo terminals for the tests of the tool
test    python3-pytest               tests of the Python package
test    python3-pytest-xdist         several at a time
test    python3-numpy                arrays that it plays and records
test    python3-pip                  builds and installs its wheel
test    python3-setuptools           packs it
test    python3-wheel                its format
test    mypy                         types of the package
test    python3-pyte                 a terminal that is only calculated: screen of top
test    mandoc                       form of the man pages
test    tshark                       the dissector of captures
test    zsh                          completion
sound   pulseaudio                   a sound server to restart; see sound_server()
plugins alsa-utils                   players, recorders and mixers of ALSA
plugins gstreamer1.0-alsa            GStreamer's elements of ALSA
plugins gstreamer1.0-plugins-base    sources, converters, Ogg, Opus
plugins gstreamer1.0-plugins-base-apps gst-device-monitor-1.0, gst-play-1.0
plugins gstreamer1.0-plugins-good    WAV, FLAC, MP3, Matroska
plugins gstreamer1.0-libav           AAC in LOAS
plugins gstreamer1.0-tools           gst-launch-1.0, gst-inspect-1.0
programs chromium                    a browser
programs ffmpeg                      plays and records, tells what is in a file
programs libsox-fmt-alsa             sox plays and records
programs mpv                         pauses and seeks
programs nodejs                      drives the browser in the tests of the tool's page
programs sox
consume make                         the examples as their users build them
consume pkgconf
asan    clang                        compiler of the sanitizer builds
asan    libclang-rt-dev              its sanitizer run times
asan    llvm                         names in sanitizer reports
armhf   g++-arm-linux-gnueabihf      cross compiler
armhf   libstdc++6:armhf             C and C++ run time of the target
armhf   libgtest-dev:armhf           as above, for the target
armhf   libgmock-dev:armhf
armhf   android-liblog-dev:armhf
armhf   libsndfile1-dev:armhf
armhf   libsamplerate0-dev:armhf
armhf   libfftw3-dev:armhf
armhf   libasound2-dev:armhf
armhf   libopus-dev:armhf
armhf   libsbc-dev:armhf
armhf   libogg-dev:armhf
armhf   libflac-dev:armhf
armhf   libncursesw6:armhf           its libncurses-dev needs the C library's own headers
armhf   libtinfo6:armhf
armhf   qemu-user                    runs the target's programs here
gstarm  libgstreamer-plugins-base1.0-dev:armhf GStreamer plug-in: unpacked, not installed
gstarm  libgstreamer1.0-dev:armhf    what its pkg-config modules name
gstarm  libglib2.0-dev:armhf
gstarm  libdw-dev:armhf
gstarm  libelf-dev:armhf
gstarm  libffi-dev:armhf
gstarm  liblzma-dev:armhf
gstarm  liborc-0.4-dev:armhf
gstarm  libpcre2-dev:armhf
gstarm  libunwind-dev:armhf
gstarm  zlib1g-dev:armhf
gstarm  libpython3.11-dev:armhf      Python package
gstarm  python3.11-minimal:armhf     its tests
gstarm  libpython3.11-minimal:armhf
gstarm  libpython3.11-stdlib:armhf
gstarm  python3-numpy:armhf
gstarm  libblas3:armhf
gstarm  liblapack3:armhf
gstarm  libgfortran5:armhf
gstarm  libexpat1:armhf
gstarm  libssl3:armhf
gstarm  libgstreamer1.0-0:armhf      its tests: libraries and elements, and what these load
gstarm  libgstreamer-plugins-base1.0-0:armhf
gstarm  gstreamer1.0-plugins-base:armhf
gstarm  gstreamer1.0-plugins-good:armhf
gstarm  libglib2.0-0:armhf
gstarm  libblkid1:armhf
gstarm  libbz2-1.0:armhf
gstarm  libdw1:armhf
gstarm  libelf1:armhf
gstarm  libffi8:armhf
gstarm  liblzma5:armhf
gstarm  libmount1:armhf
gstarm  liborc-0.4-0:armhf
gstarm  libpcre2-8-0:armhf
gstarm  libselinux1:armhf
gstarm  libunwind8:armhf
gstarm  zlib1g:armhf
vm      qemu-system-arm              a machine of the target
vm      cpio                         its files
guest   linux-image-armmp:armhf      its kernel: unpacked, not installed
guest   busybox-static:armhf         its shell: unpacked, not installed
docs    doxygen                      reference of the headers
docs    mandoc                       man pages
demo    alsa-utils                   recorded speech to play
demo    gnuplot-nox                  the picture
bench   libbenchmark-dev             benchmark framework
bench   libjack-jackd2-dev           rings to compare with
bench   libspa-0.2-dev
bench   libboost-dev
bench   valgrind                     counts instructions
bench   python3                      gate and page
bench   gnuplot-nox                  plots
bench   libdbus-1-dev                requests to compare with
bench   libsystemd-dev
bench   dbus-daemon                  the bus that they go through
bench   libpipewire-0.3-dev          streams to compare with
bench   libsndio-dev
bench   pipewire-bin                 their servers
bench   libspa-0.2-modules
bench   alsa-utils                   aplay
bench   wireplumber                  links streams to sinks
alsapeers libasound2-plugins         ALSA plug-ins of other sound servers: unpacked, not installed
alsapeers pipewire-alsa
peers   pulseaudio                   servers to compare with, by hand: a desktop plays through them
peers   sndiod
peers   jackd2
abi     abigail-tools                abidw, abidiff: the binary interface
abi     dpkg-dev                     dpkg-gensymbols
package debhelper                    Debian packages
package dpkg-dev
package dh-python                    Python package
package lintian                      looks at them
package doxygen                      reference of the headers
chroot  mmdebstrap                   a Debian to try them in
pkgarm  libfftw3-dev:armhf           the server for the target
coverage gcovr                       counts lines and branches
models  spin                         goes through every state of the models
models  gcc                          compiles what it makes of them
models  libc6-dev
format  clang-format                 source layout
lint    clang-tidy                   source checks
lint    clang                        its headers
lint    cppcheck                     more of them
lint    universal-ctags              names in sources that are compiled together
lint    shellcheck                   script checks
lint    lua-check                    checks of the dissector
lint    reuse                        licence lines
lint    make                         the packages for other distributions
lint    python3-kconfiglib
END
}

# need GROUP...: installs the missing packages of these groups.
need() {
    if ! command -v dpkg-query >/dev/null; then
        say "not a Debian system; make sure that the like of these is installed: $(names "$@")"
        return 0
    fi
    # shellcheck disable=SC2046  # package names are words
    set -- $(missing_packages "$@")
    [ $# -eq 0 ] || install_packages "$@"
}

# sound_server: the group of the sound server that tests start, unless this is a desktop that plays
# through another one: both would run from the next login on. Its tests are skipped then.
sound_server() {
    command -v dpkg-query >/dev/null || return 0
    [ "$(dpkg-query -W -f '${db:Status-Status}' pipewire-pulse 2>/dev/null)" = installed ] ||
        echo sound
}

install_packages() {
    say "packages to install: $*"
    command -v apt-get >/dev/null || die "apt-get not found; install them by other means"
    may_be_root || die "needs root or sudo for that; as root: $(install_hint "$@")"
    case " $* " in *:armhf*) add_armhf ;; esac
    log=$(mktemp)
    # Tried first without an update: the package lists may be recent enough, and a broken index must
    # not prevent the installation.
    if ! apt_install "$log" "$@"; then
        say "updating the package lists"
        as_root apt-get -o DPkg::Lock::Timeout=600 update >>"$log" 2>&1 </dev/null || true
        apt_install "$log" "$@" || {
            tail -n 30 "$log" >&2
            die "the packages could not be installed; try: $(install_hint "$@")"
        }
    fi
    rm -f "$log"
}

apt_install() {
    apt_log=$1
    shift
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -y --no-install-recommends \
        -o DPkg::Lock::Timeout=600 install "$@" >>"$apt_log" 2>&1 </dev/null
}

add_armhf() {
    [ "$(dpkg --print-architecture)" != armhf ] || return 0
    if ! dpkg --print-foreign-architectures | grep -qx armhf; then
        say "adding the foreign architecture armhf to this machine's package manager"
        as_root dpkg --add-architecture armhf
    fi
}

install_hint() {
    case " $* " in *:armhf*) printf 'dpkg --add-architecture armhf; ' ;; esac
    printf '%s\n' "apt-get update; apt-get install --no-install-recommends $*"
}

# names GROUP...: the package names of these groups on one line.
names() {
    packages | awk -v groups=" $* " 'index(groups, " " $1 " ") && !seen[$2]++ {
        printf "%s%s", sep, $2; sep = " " } END { print "" }'
}

# A name without an architecture means this machine's; packages of architecture "all" fit both.
missing_packages() {
    native=$(dpkg --print-architecture)
    installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}:${Architecture}\n' |
        sed -n 's/^installed //p')
    for name in $(names "$@"); do
        case $name in *:*) wanted=$name ;; *) wanted=$name:$native ;; esac
        printf '%s\n' "$installed" | grep -qxF -e "$wanted" -e "${name%:*}:all" ||
            printf '%s ' "$name"
    done
}

may_be_root() {
    [ "$(id -u)" -eq 0 ] && return 0
    command -v sudo >/dev/null && { [ -t 0 ] || sudo -n true 2>/dev/null; }
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

cmd_deps() {
    for group; do
        packages | grep -q "^$group " || bad_usage "unknown group '$group'"
    done
    packages | awk -v groups=" $* " 'NF && (groups == "  " || index(groups, " " $1 " "))'
}
