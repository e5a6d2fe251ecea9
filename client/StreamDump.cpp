// SPDX-License-Identifier: Apache-2.0
#include "client/StreamDump.h"

#include "foundation/Make.h"

namespace cabinaudio {

void StreamDump::begin(std::atomic<AudioDump*>& current, AudioTagType tag, const char* name) {
    auto* const dump = make<StreamDump>(tag, name);
    dump->mEarlier = static_cast<StreamDump*>(current.exchange(dump, std::memory_order_acq_rel));
}

void StreamDump::endAll(AudioDump* current) {
    auto* dump = static_cast<StreamDump*>(current);
    while (dump != nullptr) {
        StreamDump* const earlier = dump->mEarlier;
        delete dump;
        dump = earlier;
    }
}

}  // namespace cabinaudio
