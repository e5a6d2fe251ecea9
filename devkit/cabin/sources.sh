# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Commands for the sources: formatting, checks, reference documentation.

cmd_docs() {
    [ $# -eq 0 ] || bad_usage "too many arguments of docs"
    need docs
    own_tree build/docs
    rm -rf build/docs/html build/docs/man
    mkdir -p build/docs/man
    version=$(sed -n 's/^project(cabinaudio VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
    CABINAUDIO_VERSION=$version CABINAUDIO_DOCS=build/docs doxygen docs/Doxyfile ||
        die "the headers' documentation is not complete"
    for page in man/*.[0-9]; do
        mandoc -T lint -W warning "$page" || die "$page is not in order"
        mandoc -T html -O man=%N.%S.html "$page" >"build/docs/man/${page##*/}.html"
    done
    say "made build/docs/html/index.html and build/docs/man/"
}

cmd_format() {
    need format
    sources | xargs clang-format -i
}

cmd_lint() {
    need format lint
    build native
    configure edit
    devkit/lint.sh build/native build/edit "$(jobs)"
}

sources() {
    find foundation wire link shm diag client include devkit tools tests bench demo examples \
        \( -name '*.h' -o -name '*.cpp' \) 2>/dev/null
}
