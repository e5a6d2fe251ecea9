// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <fstream>
#include <system_error>

namespace cabinaudio::pipewire {

/// Only the policy that links streams to the sink: no devices, no D-Bus.
inline constexpr char SESSION_CONFIGURATION[] = R"(
context.properties = { wireplumber.script-engine = lua-scripting }
context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.*       = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-metadata }
    { name = libpipewire-module-session-manager }
]
wireplumber.components = [
    { name = libwireplumber-module-lua-scripting, type = module }
    { name = main.lua, type = config/lua }
    { name = policy.lua, type = config/lua }
]
)";

inline constexpr char SESSION_MODULES[] = R"(
load_module("metadata")
load_module("default-nodes", { ["use-persistent-storage"] = false })
)";

/// Writes the configuration of a session manager for a private server. Without an installed one it
/// lacks the scripts, and there is nothing to start either.
/// @param directory  for WIREPLUMBER_CONFIG_DIR; made here
inline void writeSession(const std::filesystem::path& directory) {
    namespace fs = std::filesystem;
    const fs::path scripts = "/usr/share/wireplumber";
    fs::create_directories(directory / "main.lua.d");
    std::ofstream(directory / "wireplumber.conf") << SESSION_CONFIGURATION;
    std::ofstream(directory / "main.lua.d/10-modules.lua") << SESSION_MODULES;
    std::error_code missing;
    fs::copy(scripts / "main.lua.d/00-functions.lua", directory / "main.lua.d", missing);
    fs::copy(scripts / "policy.lua.d", directory / "policy.lua.d", missing);
}

}  // namespace cabinaudio::pipewire
