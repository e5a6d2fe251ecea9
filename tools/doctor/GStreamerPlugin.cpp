// SPDX-License-Identifier: Apache-2.0
//
// The plug-in of GStreamer, found as GStreamer finds it.
#include "tools/ChildProcess.h"
#include "tools/doctor/PluginFile.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace cabinaudio::tool {

namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr char GSTREAMER_PACKAGE[] = "gstreamer1.0-cabinaudio";
constexpr char GSTREAMER_LIBRARY[] = "libgstreamer-1.0.so.0";
constexpr char PLUGIN[] = "libgstcabinaudio.so";
constexpr char ELEMENTS[] = "../cabinaudio/libcabinaudio-gstreamer.so";
constexpr int DEEPEST = 10;  // GStreamer looks so deep below each of its directories
constexpr std::chrono::milliseconds MOST_OF_GSTREAMER = 10s;

/// Writes the directory of GStreamer's library; nothing when it is not there.
void locateGStreamer(int answers) {
    silenceStandardError();
    void* const handle = dlopen(GSTREAMER_LIBRARY, RTLD_LAZY);
    if (handle == nullptr) return;
    const std::string directory = directoryOfLibrary(handle);
    answer(answers, directory.data(), directory.size());
}

/// The variable of this version of GStreamer, or that of all versions; null when neither is set.
const char* variable(const std::string& name) {
    const char* const ofVersion = std::getenv((name + "_1_0").c_str());
    return ofVersion != nullptr ? ofVersion : std::getenv(name.c_str());
}

void addDirectories(const char* list, std::vector<std::string>& directories) {
    std::istringstream words(list);
    for (std::string word; std::getline(words, word, ':');)
        if (!word.empty()) directories.push_back(word);
}

/// The user's directory of plug-ins; "" without one.
std::string userDirectory() {
    const char* const data = std::getenv("XDG_DATA_HOME");
    const char* const home = std::getenv("HOME");
    const std::string base = data != nullptr   ? data
                             : home != nullptr ? std::string(home) + "/.local/share"
                                               : "";
    return base.empty() ? "" : base + "/gstreamer-1.0/plugins";
}

/// In the order in which GStreamer looks; the first plug-in of a name counts.
std::vector<std::string> directoriesOf(const std::string& own) {
    std::vector<std::string> directories;
    if (const char* const more = variable("GST_PLUGIN_PATH")) addDirectories(more, directories);
    if (const char* const system = variable("GST_PLUGIN_SYSTEM_PATH")) {
        addDirectories(system, directories);
    } else {
        if (const std::string user = userDirectory(); !user.empty()) directories.push_back(user);
        directories.push_back(own);
    }
    return directories;
}

/// The plug-in in or below a directory; "" when it is not there.
std::string findBelow(const std::string& directory) {
    std::error_code error;
    fs::recursive_directory_iterator entry(directory, fs::directory_options::skip_permission_denied,
                                           error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        if (entry->path().filename() == PLUGIN) return entry->path();
        if (entry.depth() >= DEEPEST) entry.disable_recursion_pending();
    }
    return "";
}

std::string findIn(const std::vector<std::string>& directories) {
    for (const std::string& directory : directories)
        if (const std::string found = findBelow(directory); !found.empty()) return found;
    return "";
}

void judgeAbsent(const std::string& own, Check& check) {
    const std::string hidden = findBelow(own);
    if (hidden.empty()) {
        check.value = "not_installed";
        check.detail = std::string("not installed; package ") + GSTREAMER_PACKAGE;
        return;
    }
    check.warning = true;
    check.value = "not_found";
    check.detail = "installed in " + own + ", which GST_PLUGIN_SYSTEM_PATH leaves out";
    check.cure = "unset GST_PLUGIN_SYSTEM_PATH, or add " + own + " to GST_PLUGIN_PATH";
}

void judge(const std::string& plugin, Check& check) {
    const std::string directory = fs::path(plugin).parent_path();
    const bool hasKit = isThere(directory + "/" + KIT_LIBRARY);
    check.more["development_kit"] = hasKit ? "in_use" : "absent";
    std::vector<PluginFile> files = {lookAt(plugin), lookAt(directory + "/" + ELEMENTS)};
    if (hasKit) files.push_back(lookAt(directory + "/" + KIT_LIBRARY));
    for (const PluginFile& file : files)
        check.more["files"].push_back(file.toJson());
    if (findProblem(files, GSTREAMER_PACKAGE, check)) {
        // It does not try such a plug-in again while the file is the same.
        check.cure += "; then remove ~/.cache/gstreamer-1.0, where GStreamer has noted the failure";
        return;
    }
    check.value = "ready";
    check.detail = directory + ": " + reachText(hasKit);
}

}  // namespace

Check checkGStreamerPlugin() {
    Check check{"gstreamer_plugin", true};
    check.more = {{"library", nullptr}, {"directories", Json::array()}, {"files", Json::array()}};
    const ChildResult child = runInChild(MOST_OF_GSTREAMER, locateGStreamer);
    if (child.output.empty()) {
        check.value = child.end == ChildEnd::Finished ? "no_gstreamer" : "unknown";
        check.detail = child.end == ChildEnd::Finished
                           ? "there is no GStreamer for programs of " + ownKind()
                           : "GStreamer does not come up";
        return check;
    }
    const std::string own = child.output + "/gstreamer-1.0";
    const std::vector<std::string> directories = directoriesOf(own);
    check.more["library"] = child.output + "/" + GSTREAMER_LIBRARY;
    check.more["directories"] = directories;
    if (const std::string plugin = findIn(directories); plugin.empty())
        judgeAbsent(own, check);
    else
        judge(plugin, check);
    return check;
}

}  // namespace cabinaudio::tool
