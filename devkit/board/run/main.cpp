// SPDX-License-Identifier: Apache-2.0
// cabinaudio-run: starts a program with the board stand-in preloaded.
#include "devkit/board/run/Launch.h"
#include "devkit/board/run/Options.h"
#include "devkit/board/run/Refusal.h"
#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>

namespace {

using namespace cabinaudio::run;
namespace text = cabinaudio::text;

/// If the caller has closed stdin, stdout or stderr, our descriptors must not get these numbers.
/// The program finds them closed again.
void occupyClosedStreams() {
    int descriptor;
    do {
        descriptor = open("/dev/null", O_RDWR | O_CLOEXEC);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    close(descriptor);
}

int run(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    switch (options.task) {
        case Options::Task::Help:
            printHelp();
            break;
        case Options::Task::Version:
            printVersion();
            break;
        case Options::Task::Clean:
            clean(options);
            break;
        case Options::Task::RunProgram:
            launch(options);
    }
    if (const std::string fault = text::outputFault(); !fault.empty())
        throw Refusal(fault, REFUSED);
    return DONE;
}

int refuse(const char* why, int exitCode) {
    std::fprintf(stderr, "cabinaudio-run: %s\n", cabinaudio::text::printable(why).c_str());
    return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
    occupyClosedStreams();
    try {
        return run(argc, argv);
    } catch (const Refusal& refusal) {
        return refuse(refusal.what(), refusal.exitCode());
    } catch (const std::exception& failure) {
        return refuse(failure.what(), REFUSED);
    }
}
