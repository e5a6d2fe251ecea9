// SPDX-License-Identifier: Apache-2.0
// ring-peer read|write TYPE NAME SIZE CREATOR BYTES SEED: the other side of a stream. Prints the
// checksum of the bytes; fails when one was wrong or the other side did not come.
#include "tests/shm/Stream.h"

#include <android/log.h>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string_view>

int main(int argc, char** argv) {
    using namespace cabinaudio::test;
    if (argc != 8) return 2;
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    const auto number = [&](int index) { return std::strtoull(argv[index], nullptr, 10); };
    const StreamPlan plan = {.type = static_cast<shm_type_t>(number(2)),
                             .name = argv[3],
                             .size = static_cast<unsigned>(number(4)),
                             .creator = number(5) != 0,
                             .bytes = number(6),
                             .seed = static_cast<unsigned>(number(7))};
    StreamEnd end(plan, std::string_view(argv[1]) == "read" ? StreamEnd::READS : StreamEnd::WRITES);
    const auto checksum = end.run();
    if (!checksum) return 1;
    std::printf("%016" PRIx64 "\n", *checksum);
    return 0;
}
