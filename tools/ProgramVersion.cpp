// SPDX-License-Identifier: Apache-2.0
#include "tools/ProgramVersion.h"

#include "devkit/text/BuiltWith.h"

#include <CLI/Version.hpp>
#include <FLAC/format.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

namespace cabinaudio::tool {

std::string programVersion() {
    using namespace text;
    return "cabinaudio " CABINAUDIO_VERSION +
           builtWith({
               {"libsndfile", versionIn(sf_version_string())},
               {"libFLAC", versionIn(FLAC__VERSION_STRING)},
               {"libogg", ""},
               {"libsbc", ""},
               {"libarchive", versionOfOptional("archive_version_string")},
               {"ncurses", versionOfOptional("curses_version")},
               {"cairo", versionOfOptional("cairo_version_string")},
               {"libsamplerate", versionOfOptional("src_get_version")},
               {"CLI11", CLI11_VERSION},
               {"nlohmann-json", dotted(NLOHMANN_JSON_VERSION_MAJOR, NLOHMANN_JSON_VERSION_MINOR,
                                        NLOHMANN_JSON_VERSION_PATCH)},
           });
}

}  // namespace cabinaudio::tool
