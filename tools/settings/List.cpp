// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/List.h"

#include "tools/Terminal.h"
#include "tools/settings/Describe.h"

#include <fnmatch.h>

#include <algorithm>
#include <cctype>

namespace cabinaudio::tool {

namespace {

std::string lower(std::string text) {
    for (char& letter : text)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return text;
}

bool matches(const Named& named, const ListOptions& options) {
    if (options.readable && !named.setting->get) return false;
    if (options.settable && !named.setting->set) return false;
    const std::string text = lower(named.name + " " + named.setting->what);
    const auto fits = [&](const std::string& word) {
        if (isPattern(word)) return fnmatch(word.c_str(), named.name.c_str(), 0) == 0;
        return text.find(lower(word)) != std::string::npos;
    };
    return options.words.empty() || std::any_of(options.words.begin(), options.words.end(), fits);
}

/// All known settings, and table rows for settings whose names are unknown.
std::vector<Named> everything(const Directory& directory, bool namesOnly) {
    std::vector<Named> all = directory.all();
    if (namesOnly) return all;
    std::vector<Named> shown;
    for (const Setting& setting : settings()) {
        const std::size_t before = shown.size();
        for (const Named& named : all)
            if (named.setting == &setting) shown.push_back(named);
        const bool hasOthers = setting.name.find("<track>") != std::string::npos;
        if (shown.size() == before || hasOthers)
            shown.push_back({&setting, {}, setting.name, false});
    }
    return shown;
}

std::string padded(std::string text, std::size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

void print(const std::vector<Named>& all) {
    std::size_t nameWidth = 0;
    std::size_t rangeWidth = 0;
    for (const Named& named : all) {
        nameWidth = std::max(nameWidth, named.name.size());
        rangeWidth = std::max(rangeWidth, shortRangeText(named.setting->type).size());
    }
    for (const Named& named : all)
        say(padded(named.name, nameWidth) + "  " + accessLetters(*named.setting) + "  " +
            padded(shortRangeText(named.setting->type), rangeWidth) + "  " + named.setting->what);
}

void list(Session& session, const ListOptions& options) {
    std::vector<Named> all = everything(session.directoryOrFixed(), options.namesOnly);
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const Named& named) { return !matches(named, options); }),
              all.end());
    if (session.wantsJson()) {
        session.report("settings") = Json::array();
        for (const Named& named : all)
            session.report("settings").push_back(descriptionJson(named));
        return;
    }
    if (options.namesOnly)
        for (const Named& named : all)
            say(named.name);
    else
        print(all);
    if (all.empty() && !options.namesOnly)
        throw Failure("no setting has that in its name or description (try 'cabinaudio list')");
}

}  // namespace

ExitCode run(const ListOptions& options, const CommonOptions& common) {
    Session session(options, common);
    return session.run([&] { list(session, options); });
}

}  // namespace cabinaudio::tool
