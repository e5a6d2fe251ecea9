// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/ReadyEvent.h"

#include <sys/eventfd.h>
#include <unistd.h>

namespace cabinaudio::plugin {

ReadyEvent::ReadyEvent() : mDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

ReadyEvent::~ReadyEvent() {
    if (mDescriptor >= 0) close(mDescriptor);
}

void ReadyEvent::become(bool isReady) {
    if (isReady == mIsReady || mDescriptor < 0) return;
    eventfd_t count = 0;
    if (isReady)
        eventfd_write(mDescriptor, 1);
    else
        eventfd_read(mDescriptor, &count);
    mIsReady = isReady;
}

}  // namespace cabinaudio::plugin
