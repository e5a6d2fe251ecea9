// SPDX-License-Identifier: Apache-2.0
//
// The diagnostics file: anything may be in it. What was read of it survives being written back.
#include <cabinaudio/diag/AudioConfig.h>

#include "tests/fuzz/Demand.h"
#include "tests/support/ConfigDirectory.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

/// Has each text an end in its field?
template <typename Item>
void look(const Item* item) {
    using cabinaudio::fuzz::demand;
    if (item == nullptr) return;
    demand(strnlen(item->tag, sizeof item->tag) < sizeof item->tag, "a tag has an end");
    demand(strnlen(item->usage, sizeof item->usage) < sizeof item->usage, "a usage has an end");
    demand(strnlen(item->outPath, sizeof item->outPath) < sizeof item->outPath,
           "a path has an end");
}

/// Reads the file and writes it back. @return what is in it then
std::string roundOf(const cabinaudio::test::ConfigDirectory& directory) {
    {
        AudioConfig config(false);
        look(config.getDumpItem("main", "client"));
        look(config.getTraceItem("main", "client"));
        look(config.getDumpItem("", ""));
        look(config.getTraceItem("", ""));
    }
    return directory.text();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const cabinaudio::test::ConfigDirectory directory;
    directory.write(std::string(reinterpret_cast<const char*>(data), size));
    const std::string once = roundOf(directory);
    cabinaudio::fuzz::demand(roundOf(directory) == once, "what was read is what is written");
    return 0;
}
