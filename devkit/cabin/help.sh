# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The text of `./cabin help`.

usage() {
    cat <<'END'
Usage: ./cabin COMMAND [ARGUMENT...]

  demo [FILE [FILE]]     play speech (or your sound files) through library and server, record
                         an input and a call at the same time, compare what was heard and
                         recorded, draw it: demo/heard.wav, recorded.wav, call.opus, heard.png
  test [BUILD...]        build and run the tests: native (default), asan, tsan, armhf (programs of
                         the target in an emulator), armhf-time64 (of these: rings, threads and
                         streams with 64-bit times), armhf-vm (a kernel of the target with two
                         processors, in a virtual machine), all; failures are named at the end
       [--long]          the long ones too
  bench [NAME...]        run the benchmarks (default: all of them, into bench/results.json and
                         docs/performance.md)
        --gate           count what has no noise, such as instructions, against limits
  fuzz [SECONDS|HOURSh]  arbitrary messages, rings, files and sessions for library and server, equal
                         shares for each target (default: 70 s); says what was found
  race [ROUNDS]          destroy streams and settings in the midst of their work, under the thread
                         sanitizer (default: 100000 rounds)
  coverage               run the tests with a library that counts which lines run, and compare with
                         what is to run
  mutate [ARGUMENT...]   take the library's locks, barriers and checks away, change its order,
                         constants and comparisons, one at a time, and look whether a test fails;
                         with --slice K/N a part of it, with --sum FILE... the result of all parts
  faults                 each call of the library that can fail fails, at every occurrence, in every
                         conversation; ten thousand life cycles of each class
  kill                   servers that are killed, started again and stand still, at every point of a
                         conversation with every kind of client
  soak [HOURS [SEED]]    streams of all kinds against servers that are killed and stand still, every
                         byte compared (default: 3m; 90s and 2h are times, too); then 10^9 bytes
                         through rings between programs of this machine and of the target, all pairs
  models                 go through every state of the models of rings, replies and destructors, and
                         of the same models with faults, which must be found
  build [BUILD]          build only: native (default), asan, tsan, fuzz, armhf, armhf-time64,
                         armhf-vm, bench
  install [PREFIX]       install library, server, launcher and tool (default: ~/.local)
  abi [--update]         compare the binary interface, native and armhf, with the recorded one;
                         --update records it anew
  package [native|armhf] make Debian packages (default: native), into build/package/<name>
       [--test]          install, use and purge them in a Debian of their own; with both
                         names the armhf ones beside the native ones
  docs                   make the reference of the headers and the man pages as HTML, and check that
                         nothing is without documentation: build/docs/
  format                 lay out the sources
  lint                   check layout, sources, scripts, licence lines, layers and recipes
  deps [GROUP...]        list the Debian packages that the commands install
  clean                  remove build/
  help                   this text

Builds live in build/<name>, with their output in build/<name>/build.log.
END
}
