// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioAlert.h>
#include <cabinaudio/foundation/AudioTime.h>

#include <android/log.h>

namespace {

const char* orElse(const char* text, const char* otherwise) {
    return text != nullptr ? text : otherwise;
}

}  // namespace

AudioAlert::AutoAlert::AutoAlert(const char* name, std::uint32_t thresholdUs, const char* file,
                                 const char* function, std::uint32_t line)
    : mName(name),
      mThresholdUs(thresholdUs),
      mFile(file),
      mFunction(function),
      mLine(line),
      mStartUs(AudioTime::now()) {}

AudioAlert::AutoAlert::~AutoAlert() {
    const auto elapsedUs = static_cast<std::uint32_t>(AudioTime::now() - mStartUs);
    alert(mName, elapsedUs, mThresholdUs, mFile, mFunction, mLine);
}

/// The log line names the measured place, with an unpadded line number, so AUDIO_LOGW cannot write
/// it.
void AudioAlert::alert(const char* name, std::uint32_t elapsedUs, std::uint32_t thresholdUs,
                       const char* file, const char* function, std::uint32_t line) {
    file = orElse(file, "-");
    function = orElse(function, "-");
    name = orElse(name, "Unknown");
    if (thresholdUs == 0) {
        __android_log_print(ANDROID_LOG_WARN, "AS", "[%s][%s][%u]'%s' cost time %uus.\n", file,
                            function, line, name, elapsedUs);
    } else if (elapsedUs > thresholdUs) {
        __android_log_print(ANDROID_LOG_WARN, "AS", "[%s][%s][%u]'%s' overtime(%uus > %uus).\n",
                            file, function, line, name, elapsedUs, thresholdUs);
    }
}
