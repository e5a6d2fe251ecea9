// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/ServerConfig.h"

#include <cerrno>

namespace cabinaudio::alsa {

namespace {

constexpr long LONGEST_WAIT_MS = 600'000;

bool isCommonKey(const std::string& key) {
    return key == "comment" || key == "type" || key == "hint";
}

}  // namespace

int ServerConfig::readKey(const std::string& key, const snd_config_t* entry) {
    if (key == "instance") return readValue(entry, instance);
    if (key == "fallback") return readValue(entry, fallback);
    if (key != "wait") return -ENOENT;
    long number = 0;
    const int error = readValue(entry, LONGEST_WAIT_MS, number);
    wait = std::chrono::milliseconds(number);
    return error;
}

int readValue(const snd_config_t* entry, std::string& value) {
    const char* text = nullptr;
    if (snd_config_get_string(entry, &text) < 0 || text == nullptr) return -EINVAL;
    value = text;
    return 0;
}

int readValue(const snd_config_t* entry, long most, long& value) {
    if (snd_config_get_integer(entry, &value) < 0) return -EINVAL;
    return value >= 0 && value <= most ? 0 : -EINVAL;
}

int readDefinition(snd_config_t* definition,
                   const std::function<int(const std::string&, const snd_config_t*)>& read) {
    snd_config_iterator_t place = nullptr;
    snd_config_iterator_t next = nullptr;
    snd_config_for_each(place, next, definition) {
        const snd_config_t* const entry = snd_config_iterator_entry(place);
        const char* key = nullptr;
        if (snd_config_get_id(entry, &key) < 0 || isCommonKey(key)) continue;
        const int error = read(key, entry);
        if (error == 0) continue;
        if (error == -ENOENT)
            SNDERR("Unknown field %s", key);
        else
            SNDERR("Invalid value for %s", key);
        return -EINVAL;
    }
    return 0;
}

}  // namespace cabinaudio::alsa
