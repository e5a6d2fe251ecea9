// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <alsa/asoundlib.h>

#include <chrono>
#include <functional>
#include <string>

namespace cabinaudio::alsa {

/// Keys that the definitions of PCMs and controls share.
struct ServerConfig {
    std::string instance;  // of the server; empty: that of the environment
    std::chrono::milliseconds wait{0};
    std::string fallback;  // PCM or control to open when no server answers

    /// Takes over one key. @return 0, -EINVAL, or -ENOENT for any other key
    int readKey(const std::string& key, const snd_config_t* entry);
};

/// Stores the value of an entry. @return 0 or -EINVAL
int readValue(const snd_config_t* entry, std::string& value);
/// @param most  the least is 0
int readValue(const snd_config_t* entry, long most, long& value);

/// Calls `read` for every key that is one of a plug-in.
/// @param read  returns as ServerConfig::readKey()
/// @return 0, or -EINVAL with a message
int readDefinition(snd_config_t* definition,
                   const std::function<int(const std::string&, const snd_config_t*)>& read);

}  // namespace cabinaudio::alsa
