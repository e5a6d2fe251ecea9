// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/common/Mutex.h"
#include "plugins/gstreamer/Owner.h"

#include <memory>
#include <utility>

namespace cabinaudio::gstreamer {

/// The stream of a source while it has one. Any thread may call these functions.
template <typename Stream>
class StreamHolder {
public:
    /// Null in the child of a fork().
    [[nodiscard]] std::shared_ptr<Stream> stream() {
        if (!owner.isThisProcess()) return nullptr;
        const plugin::Lock lock(mLock);
        return mStream;
    }
    /// @return the stream before, which ends without the lock
    std::shared_ptr<Stream> exchange(std::shared_ptr<Stream> stream) {
        const plugin::Lock lock(mLock);
        return std::exchange(mStream, std::move(stream));
    }

    // Set at construction.
    const Owner owner{};

protected:
    plugin::Mutex mLock;
    std::shared_ptr<Stream> mStream CABINAUDIO_GUARDED_BY(mLock);
};

}  // namespace cabinaudio::gstreamer
