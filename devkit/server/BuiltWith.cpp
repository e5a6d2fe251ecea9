// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/BuiltWith.h"

#include "devkit/text/BuiltWith.h"

#include <CLI/Version.hpp>
#include <dlfcn.h>
#include <fftw3.h>
#include <nlohmann/json.hpp>
#include <opus/opus.h>
#include <samplerate.h>
#include <sndfile.h>

namespace cabinaudio::server {
namespace {

std::string avcodecVersion() {
    using Version = unsigned();
    auto* const version = reinterpret_cast<Version*>(dlsym(RTLD_DEFAULT, "avcodec_version"));
    if (version == nullptr) return "left out";
    const unsigned number = version();
    return text::dotted(number >> 16, number >> 8 & 255, number & 255);
}

}  // namespace

std::string versionText() {
    using text::versionIn;
    return "cabinaudio-server " +
           text::dotted(CABINAUDIO_VERSION_MAJOR, CABINAUDIO_VERSION_MINOR,
                        CABINAUDIO_VERSION_PATCH) +
           text::builtWith({{"libsndfile", versionIn(sf_version_string())},
                            {"libsamplerate", versionIn(src_get_version())},
                            {"fftw", versionIn(fftwf_version)},
                            {"libopus", versionIn(opus_get_version_string())},
                            {"libsbc", ""},
                            {"ALSA", text::versionOfOptional("snd_asoundlib_version")},
                            {"PulseAudio", text::versionOfOptional("pa_get_library_version")},
                            {"libavcodec", avcodecVersion()},
                            {"CLI11", CLI11_VERSION},
                            {"nlohmann-json",
                             text::dotted(NLOHMANN_JSON_VERSION_MAJOR, NLOHMANN_JSON_VERSION_MINOR,
                                          NLOHMANN_JSON_VERSION_PATCH)}});
}

}  // namespace cabinaudio::server
