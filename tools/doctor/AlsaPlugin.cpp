// SPDX-License-Identifier: Apache-2.0
//
// The plug-in of ALSA, found as alsa-lib finds it.
#include "tools/ChildProcess.h"
#include "tools/doctor/PluginFile.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace cabinaudio::tool {

namespace {

using namespace std::chrono_literals;

constexpr char ALSA_PACKAGE[] = "libasound2-plugin-cabinaudio";
constexpr char ALSA_LIBRARY[] = "libasound.so.2";
constexpr char PCM_MODULE[] = "libasound_module_pcm_cabinaudio.so";
constexpr char CTL_MODULE[] = "libasound_module_ctl_cabinaudio.so";
constexpr char OPENER[] = "libasound_module_pcm_cabinaudio-devkit.so";
constexpr char DEFINITION[] = "50-cabinaudio.conf";
constexpr char KIT_DEFINITION[] = "51-cabinaudio-devkit.conf";
constexpr char DEFINITIONS[] = "/etc/alsa/conf.d/";

// alsa-lib reads all definitions of the machine and of the user.
constexpr std::chrono::milliseconds MOST_OF_ALSA = 10s;

/// alsa-lib of this machine, loaded. This program is not linked with it.
class AlsaLibrary {
public:
    struct Node;  // snd_config_t

    explicit AlsaLibrary(void* handle) : mHandle(handle) {}

    [[nodiscard]] std::string dataDirectory() const {
        auto* const get = find<const char*()>("snd_config_topdir");
        const char* const directory = get != nullptr ? get() : nullptr;
        return directory != nullptr ? directory : "";
    }
    /// Reads the definitions. @return their root, or null
    [[nodiscard]] Node* definitions() const {
        auto* const update = find<int()>("snd_config_update");
        if (update == nullptr || update() < 0) return nullptr;
        auto* const root = static_cast<Node**>(dlsym(mHandle, "snd_config"));
        return root != nullptr ? *root : nullptr;
    }
    /// The type of the definition that a name resolves to; null when it resolves to none.
    [[nodiscard]] Json typeOf(Node* root, const char* base, const char* name) const {
        auto* const resolve =
            find<int(Node*, const char*, const char*, Node**)>("snd_config_search_definition");
        Node* found = nullptr;
        if (resolve == nullptr || resolve(root, base, name, &found) < 0) return nullptr;
        return textAt(found, "type");
    }
    [[nodiscard]] Json textAt(Node* node, const char* key) const {
        auto* const search = find<int(Node*, const char*, Node**)>("snd_config_search");
        auto* const get = find<int(const Node*, const char**)>("snd_config_get_string");
        Node* found = nullptr;
        const char* text = nullptr;
        if (search == nullptr || get == nullptr || search(node, key, &found) < 0 ||
            get(found, &text) < 0)
            return nullptr;
        return text;
    }

private:
    template <typename Function>
    Function* find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(mHandle, name));
    }

    void* mHandle;
};

/// Writes the complaints of alsa-lib about definitions, then one line with all that it tells;
/// nothing when it is not there.
void askAlsa(int answers) {
    dup2(answers, STDERR_FILENO);
    void* const handle = dlopen(ALSA_LIBRARY, RTLD_NOW);
    if (handle == nullptr) return;
    const AlsaLibrary alsa(handle);
    const std::string directory = directoryOfLibrary(handle);
    Json facts = {{"library", directory + "/" + ALSA_LIBRARY},
                  {"directory", directory + "/alsa-lib"},
                  {"data", alsa.dataDirectory()}};
    if (AlsaLibrary::Node* const root = alsa.definitions(); root != nullptr) {
        facts["pcm"] = alsa.typeOf(root, "pcm", "cabinaudio");
        facts["ctl"] = alsa.typeOf(root, "ctl", "cabinaudio");
        facts["pcm_module"] = alsa.textAt(root, "pcm_type.cabinaudio.lib");
        facts["ctl_module"] = alsa.textAt(root, "ctl_type.cabinaudio.lib");
    }
    const std::string text = "\n" + facts.dump(-1, ' ', false, Json::error_handler_t::replace);
    answer(answers, text.data(), text.size());
}

/// All that this program knows of the plug-in.
struct AlsaPlugin {
    AlsaPlugin(const Json& facts, const std::string& complaints)
        : library(textAt(facts, "library")),
          ownDirectory(textAt(facts, "directory")),
          dataDirectory(textAt(facts, "data")),
          pcmIsDefined(!textAt(facts, "pcm").empty()),
          ctlIsDefined(!textAt(facts, "ctl").empty()),
          pcmModule(textAt(facts, "pcm_module")),
          ctlModule(textAt(facts, "ctl_module")),
          complaint(complaints.substr(0, complaints.find('\n'))) {
        const char* const other = std::getenv("ALSA_PLUGIN_DIR");
        directory = other != nullptr ? other : ownDirectory;
        // A module that is named with its directory has the others beside it.
        if (const std::size_t end = pcmModule.rfind('/'); end != std::string::npos)
            directory = pcmModule.substr(0, end);
    }

    /// Where alsa-lib loads a module from, if a definition has its name.
    [[nodiscard]] std::string placeOf(const std::string& module) const {
        return module.find('/') != std::string::npos ? module : directory + "/" + module;
    }
    [[nodiscard]] std::string kitLibrary() const { return directory + "/" + KIT_LIBRARY; }
    [[nodiscard]] bool usesOpener() const {
        return pcmModule.substr(pcmModule.rfind('/') + 1) == OPENER;
    }
    [[nodiscard]] bool isInstalled() const {
        return isThere(placeOf(PCM_MODULE)) || isThere(placeOf(CTL_MODULE)) || !pcmModule.empty() ||
               pcmIsDefined;
    }
    [[nodiscard]] Json definitions() const {
        Json names = Json::array();
        if (pcmIsDefined) names.push_back("pcm.cabinaudio");
        if (ctlIsDefined) names.push_back("ctl.cabinaudio");
        return names;
    }
    /// The modules in the order in which they are loaded.
    [[nodiscard]] std::vector<PluginFile> files() const {
        std::vector<PluginFile> all;
        for (const auto& [named, usual] :
             {std::pair(pcmModule, PCM_MODULE), std::pair(ctlModule, CTL_MODULE)}) {
            if (!named.empty() && (all.empty() || named != pcmModule))
                all.push_back(lookAt(placeOf(named)));
            // The opener loads the module beside it.
            if (named.empty() || usesOpener()) all.push_back(lookAt(placeOf(usual)));
        }
        if (usesOpener() && isThere(kitLibrary())) all.push_back(lookAt(kitLibrary()));
        return all;
    }

    std::string library;
    std::string ownDirectory;  // alsa-lib's
    std::string dataDirectory;
    std::string directory;  // of modules
    bool pcmIsDefined;
    bool ctlIsDefined;
    std::string pcmModule;  // another than the usual one
    std::string ctlModule;
    std::string complaint;  // alsa-lib's first
};

/// The command that makes a definition known which is installed, or the package that has it.
std::string cureOfDefinition(const AlsaPlugin& plugin, const char* name, const char* package) {
    const std::string file = plugin.dataDirectory + "/alsa.conf.d/" + name;
    if (isThere(file)) return "ln -s " + file + " " + DEFINITIONS;
    return std::string("install ") + package + ", which has " + name;
}

void warn(const char* value, const std::string& detail, const std::string& cure, Check& check) {
    check.warning = true;
    check.value = value;
    check.detail = detail;
    check.cure = cure;
}

const char* kitState(const AlsaPlugin& plugin) {
    if (plugin.usesOpener()) return "in_use";
    return isThere(plugin.placeOf(OPENER)) ? "not_in_use" : "absent";
}

/// A missing opener: its package was removed, and the definition is still there.
bool findLostOpener(const AlsaPlugin& plugin, Check& check) {
    if (!plugin.usesOpener() || isThere(plugin.placeOf(plugin.pcmModule))) return false;
    check.ok = false;
    check.value = "incomplete";
    check.detail =
        "the definitions name " + plugin.placeOf(plugin.pcmModule) + ", which is missing";
    check.cure =
        std::string("install ") + KIT_PACKAGE + ", or remove " + DEFINITIONS + KIT_DEFINITION;
    return true;
}

void warnOfDefinition(const AlsaPlugin& plugin, Check& check) {
    const std::string name = plugin.pcmIsDefined ? "ctl.cabinaudio" : "pcm.cabinaudio";
    if (plugin.complaint.empty())
        warn("not_defined", name + " is not defined: only definitions of your own have the plug-in",
             cureOfDefinition(plugin, DEFINITION, ALSA_PACKAGE), check);
    else
        warn("not_defined", name + " cannot be read: " + plugin.complaint,
             "mend the definitions of ALSA", check);
}

bool findWarning(const AlsaPlugin& plugin, Check& check) {
    const std::string kit = kitState(plugin);
    if (!plugin.pcmIsDefined || !plugin.ctlIsDefined)
        warnOfDefinition(plugin, check);
    else if (kit == "not_in_use")
        warn("kit_not_in_use",
             std::string("the development kit's module is there, its definition is not: ") +
                 reachText(false),
             cureOfDefinition(plugin, KIT_DEFINITION, KIT_PACKAGE), check);
    else if (kit == "in_use" && !isThere(plugin.kitLibrary()))
        warn("kit_incomplete", plugin.kitLibrary() + " is missing: " + reachText(false),
             std::string("install ") + KIT_PACKAGE + " anew", check);
    return check.warning;
}

/// Modules where alsa-lib does not look.
bool findHidden(const AlsaPlugin& plugin, Check& check) {
    if (isThere(plugin.placeOf(PCM_MODULE)) || !plugin.pcmModule.empty() ||
        !isThere(plugin.ownDirectory + "/" + PCM_MODULE))
        return false;
    warn("not_found",
         "installed in " + plugin.ownDirectory + ", and ALSA_PLUGIN_DIR is " + plugin.directory,
         "unset ALSA_PLUGIN_DIR, or link the modules there", check);
    return true;
}

void judge(const AlsaPlugin& plugin, Check& check) {
    if (findHidden(plugin, check)) return;
    if (!plugin.isInstalled()) {
        check.value = "not_installed";
        check.detail = std::string("not installed; package ") + ALSA_PACKAGE;
        return;
    }
    const std::vector<PluginFile> files = plugin.files();
    for (const PluginFile& file : files)
        check.more["files"].push_back(file.toJson());
    if (findLostOpener(plugin, check) || findProblem(files, ALSA_PACKAGE, check) ||
        findWarning(plugin, check))
        return;
    check.value = "ready";
    check.detail = plugin.directory + ": " + reachText(plugin.usesOpener());
}

}  // namespace

Check checkAlsaPlugin() {
    const ChildResult child = runInChild(MOST_OF_ALSA, askAlsa);
    const std::size_t begin = std::min(child.output.rfind("\n{"), child.output.size());
    const Json facts = Json::parse(child.output.substr(begin), nullptr, false);
    Check check{"alsa_plugin", true};
    check.more = {{"library", nullptr}, {"directories", Json::array()}, {"files", Json::array()}};
    if (!facts.is_object()) {
        check.value = child.end == ChildEnd::Finished ? "no_alsa" : "unknown";
        check.detail = child.end == ChildEnd::Finished
                           ? "there is no alsa-lib for programs of " + ownKind()
                           : "alsa-lib does not come up";
        return check;
    }
    const AlsaPlugin plugin(facts, child.output.substr(0, begin));
    check.more["library"] = plugin.library;
    check.more["directories"].push_back(plugin.directory);
    check.more["definitions"] = plugin.definitions();
    check.more["development_kit"] = kitState(plugin);
    judge(plugin, check);
    return check;
}

}  // namespace cabinaudio::tool
