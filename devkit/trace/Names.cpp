// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Names.h"

#include "devkit/text/Format.h"

#include <array>
#include <cstring>
#include <span>

namespace cabinaudio::trace {
namespace {

// In the order of their bits.
constexpr std::array LOUDSPEAKERS = {"LF", "RF", "LS", "RS", "CF", "L1"};
constexpr std::array PATHS = {"main", "alternative", "second", "auxiliary"};

static_assert(ALL_LOUDSPEAKERS == (1U << LOUDSPEAKERS.size()) - 1);
static_assert(ALL_PATHS == (1U << PATHS.size()) - 1);

std::string namesOf(std::uint32_t mask, std::span<const char* const> names) {
    if (mask >> names.size() != 0) return text::format("0x%x", mask);
    std::string list;
    for (std::size_t bit = 0; bit < names.size(); ++bit) {
        if ((mask >> bit & 1) == 0) continue;
        if (!list.empty()) list += '+';
        list += names[bit];
    }
    return list.empty() ? "none" : list;
}

}  // namespace

std::string textOf(const wire::Name& name) {
    return {name.text, strnlen(name.text, sizeof name.text)};
}

std::string loudspeakerNames(std::uint32_t mask) {
    return namesOf(mask, LOUDSPEAKERS);
}

std::string pathNames(std::uint32_t mask) {
    return namesOf(mask, PATHS);
}

}  // namespace cabinaudio::trace
