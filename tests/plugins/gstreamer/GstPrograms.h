// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/plugins/gstreamer/SinkFixture.h"
#include "tests/support/Process.h"

#include <chrono>
#include <string>

namespace cabinaudio::test {

/// GStreamer's own programs, with the plug-in and the board's stand-in.
class GstPrograms : public SinkFixture {
protected:
    [[nodiscard]] Outcome run(Words words, const Variables& more = {}) const {
        words.insert(words.begin(), {"/usr/bin/env"});
        Start start;
        start.words = std::move(words);
        start.variables = {{"GST_PLUGIN_PATH", CABINAUDIO_TEST_GSTREAMER},
                           {"GST_REGISTRY", mDirectory.file("registry")},
                           {"HOME", mDirectory.path()},
                           {"LD_PRELOAD", CABINAUDIO_TEST_STAND_IN}};
        start.variables.insert(start.variables.end(), more.begin(), more.end());
        start.input = "/dev/null";
        return Process(start).finish(std::chrono::seconds(60));
    }
    [[nodiscard]] Outcome launch(const std::string& pipeline, const Variables& more = {}) const {
        return run({"sh", "-c", "exec gst-launch-1.0 -q " + pipeline}, more);
    }
    /// The only stream that the server has taken, after its end.
    [[nodiscard]] Wav onlyStream() const {
        const auto& streams = mServer.report().at("streams");
        if (streams.size() != 1) throw std::runtime_error(mServer.report().dump());
        return taken(streams.at(0).at("name"), streams.at(0).at("tag"));
    }
};

}  // namespace cabinaudio::test
