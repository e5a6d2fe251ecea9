// SPDX-License-Identifier: Apache-2.0
// placement HEARD REPORT ENVELOPES NAME...: writes envelopes for a picture: of these streams, each
// at its place in the mix, and of the mix.
#include "demo/Envelope.h"
#include "devkit/hear/Placed.h"
#include "devkit/hear/Recording.h"
#include "devkit/hear/Streams.h"

#include <cstdio>
#include <exception>
#include <list>

namespace {

using cabinaudio::hear::Sound;

constexpr int EXIT_USAGE = 2;
constexpr int FIRST_NAME = 4;

void write(int argc, char** argv) {
    using namespace cabinaudio::hear;
    const Recording recording = readRecording(argv[1], argv[2]);
    std::list<Sound> streams;
    std::vector<const Sound*> sounds;
    for (int i = FIRST_NAME; i < argc; ++i) {
        const StreamReport& stream = *entriesOf(recording, argv[i]).front();
        streams.push_back(placed(stream, stemOf(recording, stream), recording.heard));
        sounds.push_back(&streams.back());
    }
    sounds.push_back(&recording.heard);
    cabinaudio::demo::writeEnvelopes(argv[3], sounds);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc <= FIRST_NAME) {
        std::fprintf(stderr, "usage: cabinaudio-placement HEARD REPORT ENVELOPES NAME...\n");
        return EXIT_USAGE;
    }
    try {
        write(argc, argv);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cabinaudio-placement: %s\n", error.what());
        return 1;
    }
}
