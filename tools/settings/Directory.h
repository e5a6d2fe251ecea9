// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/settings/Setting.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::tool {

/// One setting: a row of the table and what stands for its placeholders.
struct Named {
    const Setting* setting = nullptr;
    Names names = {};
    std::string name = {};  // as it is written, escaped
    bool isByName = false;  // somebody wrote all of the name, and no pattern
};

/// The names that only a server knows.
struct LiveNames {
    Texts types = {};
    std::vector<std::pair<std::string, std::string>> tracks = {};  // tag and name
};

/// Finds settings by name. Placeholders of the table's names stand for
///
///     <loudspeaker>   LF, RF, LS, RS, CF, L1
///     <path>          main, second, alternative, auxiliary
///     <output>        main, alternative, auxiliary
///     <input>         0, 1
///     <type>          a stream type of the server
///     <tag> <track>   a stream, which need not play (yet)
///     <number> <effect>   anything; the server does not tell which ones there are
class Directory {
public:
    /// @param live  none: there is no server to ask
    explicit Directory(std::optional<LiveNames> live) : mLive(std::move(live)) {}

    /// All settings whose names are known, in the table's order.
    [[nodiscard]] std::vector<Named> all() const;

    /// The setting of this name; nothing when there is none.
    [[nodiscard]] std::optional<Named> find(const std::string& name) const;

    /// The setting of this name, or those that match the pattern ('*', '?', '[...]').
    /// @throws Failure with ExitCode::Usage when there are none, with the nearest names
    [[nodiscard]] std::vector<Named> select(const std::string& nameOrPattern) const;

    /// The same for several; all when there are none.
    [[nodiscard]] std::vector<Named> select(const std::vector<std::string>& namesOrPatterns) const;

    /// @throws Failure about a setting that does not exist
    [[noreturn]] void refuse(const std::string& name) const;

private:
    void expand(const Setting& setting, std::vector<Named>& into) const;
    [[nodiscard]] bool accepts(const std::string& placeholder, const std::string& text) const;
    [[nodiscard]] bool match(const std::string& pattern, const std::string& name,
                             Names& names) const;

    std::optional<LiveNames> mLive;
};

[[nodiscard]] bool isPattern(const std::string& text);

}  // namespace cabinaudio::tool
