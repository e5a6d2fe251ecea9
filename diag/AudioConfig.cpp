// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/diag/AudioConfig.h>
#include <cabinaudio/foundation/AudioMark.h>

#include "diag/ConfigItems.h"
#include "diag/LineReader.h"
#include "diag/MakeDirectory.h"
#include "foundation/Log.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <limits>
#include <new>

using cabinaudio::LineReader;

namespace {

constexpr char CONFIG_DIRECTORY[] = "/media/flash/nvm/as_server";
constexpr char CONFIG_FILE[] = "/media/flash/nvm/as_server/audio_config";

/// strtol() clamped to the range of the target's 32-bit long on every build.
std::int32_t toNumber(const char* text) {
    constexpr long LEAST = std::numeric_limits<std::int32_t>::min();
    constexpr long MOST = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(std::strtol(text, nullptr, 10), LEAST, MOST));
}

}  // namespace

AudioConfig::AudioConfig(bool readOnly)
    : mReadOnly(readOnly), mLogLevel(AUDIO_LOG_LEVEL_INFO), mEnMark(false), mLock(false) {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    _parseConfigItems();
}

AudioConfig::~AudioConfig() {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    if (!mReadOnly) _storeConfigItems();
    cabinaudio::clearItems(mDumpItems);
    cabinaudio::clearItems(mTraceItems);
}

void AudioConfig::setLogLevel(AudioLogLevel level) {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    mLogLevel = level;
}

AudioLogLevel AudioConfig::getLogLevel() {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    return mLogLevel;
}

void AudioConfig::setEnMark(bool enMark) {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    mEnMark = enMark;
}

bool AudioConfig::getEnMark() {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    return mEnMark;
}

AudioDumpItem* AudioConfig::getDumpItem(const char* tag, const char* usage) {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    return cabinaudio::getItem(mDumpItems, tag, usage, AUDIO_LOG_SITE);
}

AudioTraceItem* AudioConfig::getTraceItem(const char* tag, const char* usage) {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    return cabinaudio::getItem(mTraceItems, tag, usage, AUDIO_LOG_SITE);
}

void AudioConfig::addDumpItem(AudioDumpItem& item) noexcept {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::addItem(mDumpItems, item);
}

void AudioConfig::addTraceItem(AudioTraceItem& item) noexcept {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::addItem(mTraceItems, item);
}

void AudioConfig::removeDumpItem(AudioDumpItem& item) {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::removeItem(mDumpItems, item);
}

void AudioConfig::removeTraceItem(AudioTraceItem& item) {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::removeItem(mTraceItems, item);
}

void AudioConfig::clearDumpItem() {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::clearItems(mDumpItems);
}

void AudioConfig::clearTraceItem() {
    const AudioMark::AutoMark mark("AudioConfig", __func__, __LINE__);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::clearItems(mTraceItems);
}

void AudioConfig::_parseConfigItems() {
    cabinaudio::makeDirectory(CONFIG_DIRECTORY, AUDIO_LOG_SITE);
    try {
        std::ifstream file(CONFIG_FILE);
        LineReader lines(file);
        while (lines.next()) {
            if (lines.startsWith("Dump"))
                _parseDumpItem(lines);
            else if (lines.startsWith("Trace"))
                _parseTraceItem(lines);
            else if (lines.startsWith("Log"))
                _parseLogItem(lines);
        }
    } catch (const std::bad_alloc&) {
        // Diagnostics must not end the process: the settings read so far are used.
    }
}

void AudioConfig::_parseDumpItem(LineReader& lines) {
    AudioDumpItem item = {};
    if (!cabinaudio::readItem(lines, item)) return;
    cabinaudio::addItem(mDumpItems, item);
    AUDIO_LOGI("Parse dump item success.\n");
}

void AudioConfig::_parseTraceItem(LineReader& lines) {
    AudioTraceItem item = {};
    if (!cabinaudio::readItem(lines, item)) return;
    cabinaudio::addItem(mTraceItems, item);
    AUDIO_LOGI("Parse trace item success.\n");
}

void AudioConfig::_parseLogItem(LineReader& lines) {
    const char* const level = lines.nextValue(" level=");
    if (level == nullptr) return;
    mLogLevel = static_cast<AudioLogLevel>(toNumber(level));
    const char* const enMark = lines.nextValue(" enMark=");
    if (enMark == nullptr) return;
    mEnMark = toNumber(enMark) != 0;
    AUDIO_LOGI("Parse log item success.\n");
}

void AudioConfig::_storeConfigItems() {
    cabinaudio::makeDirectory(CONFIG_DIRECTORY, AUDIO_LOG_SITE);
    int error = 0;
    if (_writeConfigItems(error)) return;
    // Logged for every failed write-back, even one that fails in the middle of the file.
    AUDIO_LOGE("Failed to open file(w):%s, error:%s(%d)\n", CONFIG_FILE, std::strerror(error),
               error);
}

/// @param error  gets the reason why not all items are in the file
bool AudioConfig::_writeConfigItems(int& error) {
    errno = 0;
    try {
        std::ofstream file(CONFIG_FILE, std::ios::out | std::ios::trunc);
        cabinaudio::writeItems(file, "Dump", mDumpItems);
        cabinaudio::writeItems(file, "Trace", mTraceItems);
        // Formatted here, because a program's global locale could add separators to the number.
        char level[16] = {};
        std::snprintf(level, sizeof level, "%" PRId32, static_cast<std::int32_t>(mLogLevel));
        file << "Log\n level=" << level << "\n enMark=" << (mEnMark ? '1' : '0') << std::endl;
        file.close();
        error = errno;
        return file.good();
    } catch (const std::exception&) {
        // The stream's buffer could not be allocated. The destructor, which calls this, must not
        // throw.
        error = ENOMEM;
        return false;
    }
}
