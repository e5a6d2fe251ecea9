// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/interpose/Blocks.h"

namespace cabinaudio::test {

/// Failures of the layers below that no server can produce. They end with this object.
class Faults : public Blocks {
public:
    ~Faults() {
        takeNothing(false);
        giveNothing(false);
    }

    /// Rings take no bytes.
    void takeNothing(bool does) {
        operations::write.set(
            does ? +[](ShareMemoryEx*, const unsigned char*, unsigned) { return 0; } : nullptr);
    }
    /// Rings give no bytes.
    void giveNothing(bool does) {
        operations::read.set(does ? +[](ShareMemoryEx*, unsigned char*, unsigned) { return 0; }
                                  : nullptr);
    }
};

}  // namespace cabinaudio::test
