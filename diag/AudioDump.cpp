// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/diag/AudioDump.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "diag/MakeDirectory.h"
#include "foundation/Log.h"

#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <new>

AudioDump::AudioDump(bool append)
    : mTag{},
      mName{},
      mUsage{},
      mAppend(append),
      mConfig(true),
      mEnabled(false),
      mRunning(true),
      mLock(false) {}

AudioDump::AudioDump(AudioTagType tag, const char* name, const char* usage, bool append)
    : AudioDump(append) {
    const AudioMutex::AutoLock lock(mLock);
    if (name == nullptr || usage == nullptr) {
        AUDIO_LOGE("Invalid params, name=%" PRIXPTR ", usage=%" PRIXPTR ".\n",
                   reinterpret_cast<std::uintptr_t>(name), reinterpret_cast<std::uintptr_t>(usage));
        return;
    }
    std::snprintf(mTag, sizeof(mTag), "%s", AudioTypes::getTag(tag).c_str());
    std::snprintf(mName, sizeof(mName), "%s", name);
    std::snprintf(mUsage, sizeof(mUsage), "%s", usage);
    mRunning = std::strcmp(usage, "driver") != 0;
    if (!mRunning) return;

    const AudioDumpItem* const item = mConfig.getDumpItem(mTag, mUsage);
    if (item == nullptr || item->outPath[0] == '\0') return;
    AUDIO_LOGI("AUDIO DUMP INIT, tag=%s, name=%s, usage=%s, outPath=%s.\n", mTag, mName, mUsage,
               item->outPath);
    mEnabled = true;
    _init(item->outPath, mTag, mName, mUsage, mAppend);
}

AudioDump::AudioDump(const char* dumpFullPath, const char* desc, bool append) : AudioDump(append) {
    const AudioMutex::AutoLock lock(mLock);
    if (dumpFullPath == nullptr || desc == nullptr) {
        AUDIO_LOGE("Invalid params, dumpFullPath=%" PRIXPTR ", desc=%" PRIXPTR ".\n",
                   reinterpret_cast<std::uintptr_t>(dumpFullPath),
                   reinterpret_cast<std::uintptr_t>(desc));
        return;
    }
    AUDIO_LOGI("AUDIO DUMP INIT, dumpFullPath=%s.\n", dumpFullPath);
    mEnabled = true;
    _init(dumpFullPath, desc, "ignored", "ignored", mAppend);
}

AudioDump::~AudioDump() {
    const AudioMutex::AutoLock lock(mLock);
    _deinit();
}

/// Takes no lock, because every transfer calls this; the caller must not resume during a write.
void AudioDump::write(const unsigned char* data, unsigned len) CABINAUDIO_UNCHECKED_LOCKING {
    if (!mEnabled || !mFile.is_open() || !mRunning || data == nullptr || len == 0) return;
    mFile.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(len));
}

void AudioDump::resume(bool on) {
    const AudioMutex::AutoLock lock(mLock);
    if (on) {
        const AudioDumpItem* const item = mConfig.getDumpItem(mTag, mUsage);
        if (item == nullptr || item->outPath[0] == '\0') {
            AUDIO_LOGE("Failed to resume dump cause NULL item/outPath.\n");
            return;
        }
        mEnabled = true;
        _init(item->outPath, mTag, mName, mUsage, mAppend);
    }
    mRunning = on;
}

/// Deliberate: a file that is open already is not closed first. Opening again then fails, and the
/// failed stream drops what is written later; a dump never continues in a second file.
void AudioDump::_init(const char* dir, const char* tag, const char* name, const char* usage,
                      bool append) {
    cabinaudio::makeDirectory(dir, AUDIO_LOG_SITE);
    char file[256] = {};
    std::snprintf(file, sizeof(file), "%s/%s_%s_%s_%llu.pcm", dir, tag, name, usage,
                  static_cast<unsigned long long>(AudioTime::now()));
    const std::ios::openmode mode = std::ios::out | std::ios::binary;
    try {
        mFile.open(file, append ? mode | std::ios::app : mode);
    } catch (const std::bad_alloc&) {
        mFile.setstate(std::ios::failbit);
    }
    const int error = errno;
    if (!mFile.is_open())
        AUDIO_LOGW("Failed to open dump out file:%s,error:%s(%d)\n",
                   file[0] != '\0' ? file : "null", std::strerror(error), error);
}

void AudioDump::_deinit() {
    if (!mFile.is_open()) return;
    AUDIO_IGNORE(mFile.flush());
    AUDIO_IGNORE(fsync(mFile.fd()) == 0);
    mFile.close();
}
