// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Cut.h"

#include "tools/Failure.h"

#include <sndfile.h>

#include <memory>

namespace cabinaudio::tool::scenario {

namespace {

struct Close {
    void operator()(SNDFILE* sound) const { sf_close(sound); }
};

}  // namespace

void cutSound(const std::string& file, std::uint64_t frames) {
    SF_INFO info = {};
    const std::unique_ptr<SNDFILE, Close> sound(sf_open(file.c_str(), SFM_RDWR, &info));
    if (!sound) throw Failure("cannot open " + file + ": " + sf_strerror(nullptr));
    auto length = static_cast<sf_count_t>(frames);
    if (info.frames <= length) return;
    if (sf_command(sound.get(), SFC_FILE_TRUNCATE, &length, sizeof length) != 0)
        throw Failure("cannot shorten " + file + ": " + sf_strerror(sound.get()));
}

}  // namespace cabinaudio::tool::scenario
