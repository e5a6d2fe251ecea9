// SPDX-License-Identifier: Apache-2.0
//
// The doctor's findings on the plug-ins: copies of the built ones in directories of the test's own.
#include "tests/tools/ToolTest.h"

#include <dlfcn.h>
#include <elf.h>

#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace cabinaudio::test {

namespace {

namespace fs = std::filesystem;

constexpr char KIT_LIBRARY[] = "libcabinaudio-with-board.so";

/// Replaces every occurrence; the texts are of one length, so that offsets stay.
void replaceInFile(const fs::path& file, const std::string& from, const std::string& to) {
    ASSERT_EQ(from.size(), to.size());
    std::string bytes = contentsOf(file);
    std::size_t count = 0;
    for (std::size_t at = 0; (at = bytes.find(from, at)) != std::string::npos; ++count)
        bytes.replace(at, to.size(), to);
    ASSERT_GT(count, 0U) << from;
    std::ofstream(file, std::ios::binary) << bytes;
}

template <typename Header>
std::string headerOf(unsigned char fileClass, unsigned short machine) {
    Header header = {};
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = fileClass;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_ident[EI_VERSION] = EV_CURRENT;
    header.e_type = ET_DYN;
    header.e_machine = machine;
    return {reinterpret_cast<const char*>(&header), sizeof header};
}

/// A library of the other word size, and its kind.
struct OtherKind {
    static constexpr bool IS_64 = sizeof(void*) == 8;
    static constexpr const char* NAME = IS_64 ? "32-bit ARM" : "64-bit x86";

    static void writeTo(const fs::path& file) {
        std::ofstream(file, std::ios::binary)
            << (IS_64 ? headerOf<Elf32_Ehdr>(ELFCLASS32, EM_ARM)
                      : headerOf<Elf64_Ehdr>(ELFCLASS64, EM_X86_64));
    }
};

void copyTo(const fs::path& file, const fs::path& directory, const std::string& name = {}) {
    fs::create_directories(directory);
    fs::copy_file(file, directory / (name.empty() ? file.filename().string() : name),
                  fs::copy_options::overwrite_existing);
}

/// Where this machine has a library; "" if it has not.
std::string placeOf(const char* library) {
    void* const handle = dlopen(library, RTLD_LAZY);
    char directory[PATH_MAX] = "";
    if (handle == nullptr || dlinfo(handle, RTLD_DI_ORIGIN, directory) != 0) return "";
    return std::string(directory) + "/" + library;
}

/// A desktop with its own libraries: plug-ins that this machine has installed are not seen.
class PluginsOfTheDoctor : public ToolTest {
protected:
    /// The machine's library, in a directory of this test.
    void useLibrary(const char* name) {
        const std::string place = placeOf(name);
        if (place.empty()) GTEST_SKIP() << name << " is not installed";
        fs::create_directories(mLibraries);
        fs::create_symlink(fs::canonical(place), mLibraries / name);
        mVariables.emplace_back("LD_LIBRARY_PATH", mLibraries);
        mVariables.emplace_back("HOME", mDirectory.path() / "home");
    }
    void set(const std::string& name, const fs::path& value) {
        mVariables.emplace_back(name, value);
    }
    /// The finding of this name. The tool's exit status must be that of its checks.
    [[nodiscard]] json found(const std::string& name) const {
        const Outcome outcome = runTool({"doctor", "--json"}, {.environment = mVariables});
        const json checks = jsonOf(outcome);
        json result;
        bool isWell = true;
        for (const json& check : checks) {
            isWell = isWell && check["ok"].get<bool>();
            if (check["name"] == name) result = check;
        }
        EXPECT_EQ(outcome.exitCode, isWell ? 0 : 1);
        return result;
    }
    static void expectFinding(const json& check, const std::string& value,
                              const std::string& level) {
        EXPECT_EQ(check.value("value", ""), value) << check;
        EXPECT_EQ(check.value("level", ""), level) << check;
        EXPECT_EQ(check.at("cure").is_null(), level == "ok") << check;
    }
    static void expectText(const json& check, const char* key, const std::string& text) {
        EXPECT_THAT(check.at(key).get<std::string>(), HasSubstr(text));
    }
    /// Where the loader can be asked, it finds all libraries of all files.
    static void expectLoadable(const json& files, std::size_t count) {
        EXPECT_EQ(files.size(), count) << files;
        for (const json& file : files) {
            EXPECT_TRUE(file.at("fits").get<bool>()) << file;
            const json& missing = file.at("missing");
            EXPECT_TRUE(missing == json::array() || (toolIsEmulated() && missing.is_null()))
                << file;
        }
    }

    const fs::path mLibraries = mDirectory.path() / "lib";

private:
    // None of the machine's own.
    Variables mVariables = {{"ALSA_PLUGIN_DIR", ""},        {"ALSA_CONFIG_DIR", ""},
                            {"GST_PLUGIN_PATH", ""},        {"GST_PLUGIN_PATH_1_0", ""},
                            {"GST_PLUGIN_SYSTEM_PATH", ""}, {"GST_PLUGIN_SYSTEM_PATH_1_0", ""},
                            {"XDG_CONFIG_HOME", ""},        {"XDG_DATA_HOME", ""}};
};

class AlsaPluginOfTheDoctor : public PluginsOfTheDoctor {
protected:
    void SetUp() override {
        useLibrary("libasound.so.2");
        fs::create_directories(mModules);
        define("");
        set("ALSA_CONFIG_PATH", file("definitions"));
    }

    void define(const std::string& text) const { std::ofstream(file("definitions")) << text; }
    /// As the package does.
    void install() const {
        copyTo(CABINAUDIO_TEST_PCM, mModules);
        copyTo(CABINAUDIO_TEST_CTL, mModules);
        define(definitionOf("50-cabinaudio.conf"));
    }
#ifdef CABINAUDIO_TEST_OPENER
    /// The same, and the package of the stand-in.
    void installWithKit() const {
        install();
        copyTo(CABINAUDIO_TEST_OPENER, mModules);
        copyTo(CABINAUDIO_TEST_PCM, mLibraries / "cabinaudio", KIT_LIBRARY);
        define(definitionOf("50-cabinaudio.conf") +
               definitionOf("devkit/51-cabinaudio-devkit.conf"));
    }
#endif
    static std::string definitionOf(const std::string& name) {
        return contentsOf(fs::path(CABINAUDIO_TEST_ALSA_SOURCE) / name);
    }
    [[nodiscard]] json found() const {
        return PluginsOfTheDoctor::found("alsa_plugin");
    }

    const fs::path mModules = mLibraries / "alsa-lib";
    const fs::path mPcm = mModules / "libasound_module_pcm_cabinaudio.so";
    const fs::path mCtl = mModules / "libasound_module_ctl_cabinaudio.so";
};

}  // namespace

TEST_F(AlsaPluginOfTheDoctor, NotInstalledNamesThePackage) {
    const json check = found();
    expectFinding(check, "not_installed", "ok");
    expectText(check, "detail", "package libasound2-plugin-cabinaudio");
    EXPECT_EQ(check["directories"], json::array({mModules.string()}));
}

TEST_F(AlsaPluginOfTheDoctor, IsReadyWhenModulesAndDefinitionsAreThere) {
    install();
    const json check = found();
    expectFinding(check, "ready", "ok");
    expectText(check, "detail", mModules);
    expectLoadable(check["files"], 2);
    EXPECT_EQ(check["library"], file("lib/libasound.so.2"));
    EXPECT_EQ(check["definitions"], json::array({"pcm.cabinaudio", "ctl.cabinaudio"}));
    EXPECT_EQ(check["development_kit"], "absent");
}

TEST_F(AlsaPluginOfTheDoctor, IsFoundInTheDirectoryOfTheVariable) {
    install();
    fs::rename(mModules, mDirectory.path() / "elsewhere");
    set("ALSA_PLUGIN_DIR", file("elsewhere"));
    const json check = found();
    expectFinding(check, "ready", "ok");
    EXPECT_EQ(check["directories"], json::array({file("elsewhere")}));
}

TEST_F(AlsaPluginOfTheDoctor, WarnsWhenTheVariableNamesAnotherDirectory) {
    install();
    set("ALSA_PLUGIN_DIR", file("elsewhere"));
    const json check = found();
    expectFinding(check, "not_found", "warning");
    expectText(check, "detail", mModules);
    expectText(check, "cure", "unset ALSA_PLUGIN_DIR");
}

TEST_F(AlsaPluginOfTheDoctor, WarnsWhenNothingIsDefined) {
    install();
    define("");
    const json check = found();
    expectFinding(check, "not_defined", "warning");
    expectText(check, "detail", "pcm.cabinaudio is not defined");
    expectText(check, "cure", "50-cabinaudio.conf");
    EXPECT_EQ(check["definitions"], json::array());
}

TEST_F(AlsaPluginOfTheDoctor, TellsWhyADefinitionCannotBeRead) {
    install();
    define(definitionOf("50-cabinaudio.conf") + "pcm.broken {");
    const json check = found();
    expectFinding(check, "not_defined", "warning");
    expectText(check, "detail", "pcm.cabinaudio cannot be read: ALSA lib conf.c");
}

TEST_F(AlsaPluginOfTheDoctor, FailsWhenADefinitionHasNoModule) {
    install();
    fs::remove(mPcm);
    fs::remove(mCtl);
    const json check = found();
    expectFinding(check, "incomplete", "failed");
    expectText(check, "detail", mPcm);
    expectText(check, "cure", "install libasound2-plugin-cabinaudio");
}

TEST_F(AlsaPluginOfTheDoctor, FailsForTheOtherWordSize) {
    install();
    OtherKind::writeTo(mCtl);
    const json check = found();
    expectFinding(check, "wrong_word_size", "failed");
    expectText(check, "detail", std::string(mCtl) + " is for " + OtherKind::NAME);
    EXPECT_EQ(check["files"][1]["kind"], OtherKind::NAME);
    EXPECT_FALSE(check["files"][1]["fits"].get<bool>());
    EXPECT_TRUE(check["files"][1]["missing"].is_null());
}

TEST_F(AlsaPluginOfTheDoctor, FailsForAFileThatIsNoLibrary) {
    install();
    std::ofstream(mPcm, std::ios::trunc) << contentsOf(CABINAUDIO_TEST_PCM).substr(0, 40);
    expectFinding(found(), "damaged", "failed");
}

TEST_F(AlsaPluginOfTheDoctor, FailsForAModuleWithoutALibrary) {
    if (toolIsEmulated()) GTEST_SKIP() << "the emulator does not start the dynamic loader";
    install();
    replaceInFile(mPcm, "libcabinaudio.so.2", "libcabinaudio.so.9");
    const json check = found();
    expectFinding(check, "not_loadable", "failed");
    expectText(check, "detail", std::string(mPcm) + " lacks libcabinaudio.so.9");
    EXPECT_EQ(check["files"][0]["missing"], json::array({"libcabinaudio.so.9"}));
    EXPECT_EQ(check["files"][1]["missing"], json::array());
}

TEST_F(AlsaPluginOfTheDoctor, IsNoMatterWithoutAlsa) {
    fs::remove(mLibraries / "libasound.so.2");
    std::ofstream(mLibraries / "libasound.so.2") << "nothing";
    const json check = found();
    expectFinding(check, "no_alsa", "ok");
    EXPECT_TRUE(check["library"].is_null());
}

#ifdef CABINAUDIO_TEST_OPENER

TEST_F(AlsaPluginOfTheDoctor, NeedsNoLauncherWithTheDevelopmentKit) {
    installWithKit();
    const json check = found();
    expectFinding(check, "ready", "ok");
    expectText(check, "detail", "programs need no launcher");
    EXPECT_EQ(check["development_kit"], "in_use");
    expectLoadable(check["files"], 4);
}

TEST_F(AlsaPluginOfTheDoctor, IsReadyBesideAnOpenerThatIsNamedByItsPath) {
    installWithKit();
    const fs::path tree = mDirectory.path() / "tree";
    fs::create_directories(tree / "lib");
    fs::rename(mModules, tree / "lib/alsa-lib");
    fs::rename(mLibraries / "cabinaudio", tree / "lib/cabinaudio");
    const std::string opener =
        (tree / "lib/alsa-lib/libasound_module_pcm_cabinaudio-devkit.so").string();
    define(definitionOf("50-cabinaudio.conf") + "pcm_type.cabinaudio.lib \"" + opener +
           "\"\nctl_type.cabinaudio.lib \"" + opener + "\"\n");
    const json check = found();
    expectFinding(check, "ready", "ok");
    EXPECT_EQ(check["development_kit"], "in_use");
    expectLoadable(check["files"], 4);
}

TEST_F(AlsaPluginOfTheDoctor, WarnsWhenTheDevelopmentKitIsNotDefined) {
    installWithKit();
    define(definitionOf("50-cabinaudio.conf"));
    const json check = found();
    expectFinding(check, "kit_not_in_use", "warning");
    expectText(check, "cure", "51-cabinaudio-devkit.conf");
    EXPECT_EQ(check["development_kit"], "not_in_use");
}

TEST_F(AlsaPluginOfTheDoctor, WarnsWhenTheDevelopmentKitHasNoStandIn) {
    installWithKit();
    fs::remove(mLibraries / "cabinaudio" / KIT_LIBRARY);
    const json check = found();
    expectFinding(check, "kit_incomplete", "warning");
    expectText(check, "cure", "libcabinaudio-board");
}

TEST_F(AlsaPluginOfTheDoctor, FailsWhenTheDefinedOpenerIsMissing) {
    installWithKit();
    fs::remove(mModules / "libasound_module_pcm_cabinaudio-devkit.so");
    const json check = found();
    expectFinding(check, "incomplete", "failed");
    expectText(check, "cure", "51-cabinaudio-devkit.conf");
}

#endif

#ifdef CABINAUDIO_TEST_GSTREAMER

namespace {

class GStreamerPluginOfTheDoctor : public PluginsOfTheDoctor {
protected:
    void SetUp() override { useLibrary("libgstreamer-1.0.so.0"); }

    /// The plug-in in a directory "gstreamer-1.0" below this one, and its elements beside that.
    static fs::path installIn(const fs::path& place) {
        copyTo(CABINAUDIO_TEST_GSTREAMER, place / "gstreamer-1.0");
        copyTo(CABINAUDIO_TEST_ELEMENTS, place / "cabinaudio");
        return place / "gstreamer-1.0";
    }
    [[nodiscard]] json found() const { return PluginsOfTheDoctor::found("gstreamer_plugin"); }

    const fs::path mElements = mLibraries / "cabinaudio" / "libcabinaudio-gstreamer.so";
};

/// A variable that names a place where GStreamer looks.
struct Place {
    const char* variable;
    const char* value;      // below the test's directory
    const char* directory;  // where the plug-in is then, with the elements beside
};

void PrintTo(const Place& place, std::ostream* out) {
    *out << place.variable;
}

class GStreamerPluginPlaces : public GStreamerPluginOfTheDoctor,
                              public testing::WithParamInterface<Place> {};

}  // namespace

TEST_F(GStreamerPluginOfTheDoctor, NotInstalledNamesThePackage) {
    const json check = found();
    expectFinding(check, "not_installed", "ok");
    expectText(check, "detail", "package gstreamer1.0-cabinaudio");
    EXPECT_EQ(check["directories"], json::array({file("home/.local/share/gstreamer-1.0/plugins"),
                                                 file("lib/gstreamer-1.0")}));
}

TEST_F(GStreamerPluginOfTheDoctor, IsReadyBesideTheLibrary) {
    installIn(mLibraries);
    const json check = found();
    expectFinding(check, "ready", "ok");
    expectLoadable(check["files"], 2);
    EXPECT_EQ(check["library"], file("lib/libgstreamer-1.0.so.0"));
    EXPECT_EQ(check["development_kit"], "absent");
}

TEST_P(GStreamerPluginPlaces, IsReadyWhereItIsFound) {
    const auto [variable, value, directory] = GetParam();
    fs::create_directories(file(directory));
    fs::rename(installIn(mDirectory.path() / "made") / "libgstcabinaudio.so",
               fs::path(file(directory)) / "libgstcabinaudio.so");
    fs::rename(file("made/cabinaudio"), fs::path(file(directory)).parent_path() / "cabinaudio");
    set(variable, file(value));
    const json check = found();
    expectFinding(check, "ready", "ok");
    expectText(check, "detail", file(directory));
}

INSTANTIATE_TEST_SUITE_P(
    , GStreamerPluginPlaces,
    testing::Values(Place{"GST_PLUGIN_PATH", "mine", "mine"},
                    Place{"GST_PLUGIN_PATH", "mine", "mine/deep/below"},
                    Place{"GST_PLUGIN_PATH_1_0", "mine", "mine"},
                    Place{"GST_PLUGIN_SYSTEM_PATH", "system", "system"},
                    Place{"GST_PLUGIN_SYSTEM_PATH_1_0", "system", "system"},
                    Place{"XDG_DATA_HOME", "data", "data/gstreamer-1.0/plugins"},
                    Place{"HOME", "me", "me/.local/share/gstreamer-1.0/plugins"}));

TEST_F(GStreamerPluginOfTheDoctor, IsTheFirstInTheOrderOfTheDirectories) {
    installIn(mLibraries);
    fs::create_directories(file("first"));
    OtherKind::writeTo(file("first") + "/libgstcabinaudio.so");
    set("GST_PLUGIN_PATH", file("nowhere") + ":" + file("first"));
    const json check = found();
    expectFinding(check, "wrong_word_size", "failed");
    expectText(check, "detail", file("first"));
}

TEST_F(GStreamerPluginOfTheDoctor, WarnsWhenAVariableLeavesItsDirectoryOut) {
    installIn(mLibraries);
    set("GST_PLUGIN_SYSTEM_PATH", file("nowhere"));
    const json check = found();
    expectFinding(check, "not_found", "warning");
    expectText(check, "detail", mLibraries / "gstreamer-1.0");
}

TEST_F(GStreamerPluginOfTheDoctor, FailsWithoutItsElements) {
    installIn(mLibraries);
    fs::remove(mElements);
    const json check = found();
    expectFinding(check, "incomplete", "failed");
    expectText(check, "detail", "libcabinaudio-gstreamer.so is missing");
    expectText(check, "cure", "install gstreamer1.0-cabinaudio anew; then remove");
}

TEST_F(GStreamerPluginOfTheDoctor, FailsForElementsWithoutALibrary) {
    if (toolIsEmulated()) GTEST_SKIP() << "the emulator does not start the dynamic loader";
    installIn(mLibraries);
    replaceInFile(mElements, "libgstreamer-1.0.so.0", "libgstreamer-1.0.so.9");
    const json check = found();
    expectFinding(check, "not_loadable", "failed");
    expectText(check, "detail", "lacks libgstreamer-1.0.so.9");
}

TEST_F(GStreamerPluginOfTheDoctor, NeedsNoLauncherWithTheDevelopmentKit) {
    installIn(mLibraries);
    copyTo(CABINAUDIO_TEST_ELEMENTS, mLibraries / "cabinaudio", KIT_LIBRARY);
    const json check = found();
    expectFinding(check, "ready", "ok");
    expectText(check, "detail", "programs need no launcher");
    EXPECT_EQ(check["development_kit"], "in_use");
}

#endif

}  // namespace cabinaudio::test
