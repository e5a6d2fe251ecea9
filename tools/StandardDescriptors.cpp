// SPDX-License-Identifier: Apache-2.0
#include "tools/StandardDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace cabinaudio::tool {

ClosedDescriptors closedStandardDescriptors() {
    ClosedDescriptors closed;
    for (int descriptor = 0; descriptor < 3; ++descriptor)
        closed[static_cast<std::size_t>(descriptor)] =
            fcntl(descriptor, F_GETFD) == -1 && errno == EBADF;
    return closed;
}

void fillStandardDescriptors() {
    int descriptor = open("/dev/null", O_RDWR);
    while (descriptor >= 0 && descriptor < 3)
        descriptor = open("/dev/null", O_RDWR);
    if (descriptor >= 0) close(descriptor);
}

}  // namespace cabinaudio::tool
