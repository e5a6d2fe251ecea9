# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The text of `./cabin help`.

usage() {
    cat <<'END'
Usage: ./cabin COMMAND [ARGUMENT...]

  demo [FILE [FILE]]     play speech (or your sound files) through library and server, record
                         an input and a call at the same time, compare the output and the
                         recordings with the sources, and plot them: demo/heard.wav,
                         recorded.wav, call.opus, heard.png
  test [BUILD...]        build and run the tests: native (default), edit (the same with each source
                         compiled by itself: a rebuild after an edit is shorter), asan, tsan, armhf
                         (programs of the target in an emulator), armhf-time64 (rings, threads and
                         streams of the target with 64-bit times), armhf-vm (a kernel of the target
                         with two processors, in a virtual machine), all (but edit); failures are
                         listed at the end
       [--long]          include the long tests
       [--programs]      install the large programs that play and record through the plug-ins,
                         such as a browser, and the modules that drive it; fail if a test is
                         skipped because one is missing; otherwise the missing programs are
                         listed at the end
  bench [NAME...]        run the benchmarks (default: all of them, into bench/results.json and
                         docs/performance.md)
        --page NAME...   run some, and make the page with the stored results of the others
        --gate           compare counts without noise, such as instructions, with their limits
  fuzz [SECONDS|HOURSh]  send arbitrary messages, rings, files and sessions to library and server,
                         with equal time for each target (default: 70 s); print the findings
  race [ROUNDS]          destroy streams and settings while calls are under way, under the thread
                         sanitizer (default: 100000 rounds)
  coverage               run the tests with a library that counts executed lines, and compare with
                         the list of lines that cannot run
  mutate [ARGUMENT...]   remove locks, barriers and checks of the library, change its order,
                         constants and comparisons, one at a time, and check that a test fails;
                         --slice K/N runs a part of them, --sum FILE... adds up all parts
  faults                 let each system call and allocation of the library fail, at every
                         occurrence in every conversation; ten thousand life cycles of each class
  kill                   kill, restart and suspend servers at every point of a conversation with
                         every kind of client
  soak [HOURS [SEED]]    streams of all kinds with servers that are killed and suspended, every
                         byte compared (default: 3m; 90s and 2h are valid, too); then 10^9 bytes
                         through rings between programs of this machine and of the target, all pairs
  models                 check all states of the models of rings, replies and destructors, and that
                         faults in the same models are found
  build [BUILD]          build only: native (default), edit, asan, tsan, fuzz, armhf,
                         armhf-time64, armhf-vm, bench
  install [PREFIX]       install library, server, launcher, tool, plug-ins, guides and examples
                         (default: ~/.local)
  abi [--update]         compare the binary interface, native and armhf, with the recorded one;
                         --update records it again
  package [native|armhf] build Debian packages (default: native), in build/package/<name>
       [--test]          install, use and purge them in a separate Debian system; with both
                         names, the armhf packages beside the native ones
       [--built]         with --test: the packages of the last build, without building them
  docs                   generate the reference of the headers and the man pages as HTML in
                         build/docs/, and check that everything is documented
  format                 format the sources
  lint                   check format, sources, scripts, licence lines, layers and recipes
  deps [GROUP...]        list the Debian packages that the commands install, in groups: build
                         (compiling), test, plugins (tests of the plug-ins), programs (large ones
                         for these tests) and those of single builds and commands
  clean                  remove build/
  help                   print this text

Each build is in build/<name>; its output is in build/<name>/build.log.
END
}
