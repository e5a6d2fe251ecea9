// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Capture.h"

#include "devkit/board/recorder/Recorder.h"
#include "devkit/board/recorder/SharedBlock.h"
#include "devkit/board/run/Descriptor.h"
#include "devkit/board/run/Refusal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace cabinaudio::run {

void beginCapture(const std::string& file, bool withSound) {
    // Not O_TRUNC: a device or a pipe named by mistake stays as it is. Calls and sound are private.
    const Descriptor capture(
        open(file.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0600));
    if (!capture) throw Refusal(withReason("cannot write to " + file));
    struct stat64 found;
    if (fstat64(capture.get(), &found) != 0) throw Refusal(withReason("cannot write to " + file));
    if (!S_ISREG(found.st_mode))
        throw Refusal("cannot record to " + file + ": it is not a regular file");
    const recorder::CaptureBeginning beginning;
    if (ftruncate(capture.get(), 0) != 0 || write(capture.get(), &beginning, sizeof beginning) !=
                                                static_cast<ssize_t>(sizeof beginning)) {
        throw Refusal(withReason("cannot write to " + file));
    }
    setenv(recorder::FILE_VARIABLE, std::filesystem::absolute(file).c_str(), 1);
    setenv(recorder::SOUND_VARIABLE, withSound ? "1" : "", 1);
}

bool isInCapture() {
    const char* file = std::getenv(recorder::FILE_VARIABLE);
    return file != nullptr && file[0] != '\0';
}

}  // namespace cabinaudio::run
