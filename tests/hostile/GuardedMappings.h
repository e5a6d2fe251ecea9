// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::test {

/// While it lives, every shared mapping of this program, whichever thread makes it, lies between
/// inaccessible pages: one before and, where addresses are plentiful, 4 GiB behind. They
/// stay reserved for the process's life when the mapping goes.
class EveryMappingGuarded {
public:
    EveryMappingGuarded();
    ~EveryMappingGuarded();
    EveryMappingGuarded(const EveryMappingGuarded&) = delete;
    EveryMappingGuarded& operator=(const EveryMappingGuarded&) = delete;

    /// Mappings that were guarded since.
    [[nodiscard]] static unsigned count();
};

}  // namespace cabinaudio::test
