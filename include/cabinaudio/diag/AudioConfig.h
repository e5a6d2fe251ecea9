// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/ThreadSafety.h>

#include <cstdint>
#include <list>

namespace cabinaudio {
class LineReader;
}

/// Destination of a stream's PCM dump. Items are identified by tag and usage together.
struct AudioDumpItem {
    char tag[64];       ///< name of the stream's tag, see AudioTypes::getTag()
    char usage[64];     ///< component that dumps; "client": this library
    char outPath[256];  ///< directory of the dump files
};
static_assert(sizeof(AudioDumpItem) == 384, "shared with other users of the file");

/// Destination of a stream's trace; same layout as AudioDumpItem.
struct AudioTraceItem {
    char tag[64];       ///< name of the stream's tag
    char usage[64];     ///< component that traces
    char outPath[256];  ///< output path of the trace
};
static_assert(sizeof(AudioTraceItem) == 384, "shared with other users of the file");

/// Stored only: no log call of the library uses it. The values are the log library's priorities.
enum AudioLogLevel : std::int32_t {
    AUDIO_LOG_LEVEL_DEBUG = 3,
    AUDIO_LOG_LEVEL_INFO = 4,
    AUDIO_LOG_LEVEL_WARN = 5,
    AUDIO_LOG_LEVEL_ERROR = 6,
};

/// The diagnostics settings on flash: which streams are dumped and traced, a log level and a mark
/// switch. Reads "/media/flash/nvm/as_server/audio_config" when it is constructed.
///
/// Threads   Any thread may call; one lock per object. Objects are independent of each other, and
///           the file is not locked.
/// Failure   A missing file or a malformed block is not an error: values that could be read are
///           used, and the rest keep their defaults (no items, level 4, mark switch off).
class CABINAUDIO_API AudioConfig {
public:
    /// Reads the file; creates its directory (last level only) when it is missing.
    /// @param readOnly  false writes the settings back in the destructor
    explicit AudioConfig(bool readOnly);
    /// Unless read-only, overwrites the file with the current settings. A failure is logged.
    ~AudioConfig();
    AudioConfig(const AudioConfig&) = delete;
    AudioConfig& operator=(const AudioConfig&) = delete;

    /// @param level  any number; stored unchanged
    void setLogLevel(AudioLogLevel level);
    /// @return the stored level, 4 unless the file or setLogLevel() says otherwise
    [[nodiscard]] AudioLogLevel getLogLevel();

    /// @param enMark  the mark switch; only stored
    void setEnMark(bool enMark);
    /// @return the mark switch
    [[nodiscard]] bool getEnMark();

    /// @return the stored item of this tag and usage (each truncated to 63 characters); null if
    ///         there is none, or if tag or usage is null. It stays valid until it is removed, the
    ///         list is cleared or the object is destroyed.
    [[nodiscard]] AudioDumpItem* getDumpItem(const char* tag, const char* usage);
    /// As getDumpItem(), for trace items.
    [[nodiscard]] AudioTraceItem* getTraceItem(const char* tag, const char* usage);

    /// Appends a copy; if there is an item of this tag and usage already, replaces only its path.
    /// Texts are truncated where a field has no room for the terminator. Exhausted memory ends the
    /// process.
    void addDumpItem(AudioDumpItem& item) noexcept;
    /// As addDumpItem(), for trace items.
    void addTraceItem(AudioTraceItem& item) noexcept;

    /// Removes the stored item of the same tag and usage, if there is one.
    void removeDumpItem(AudioDumpItem& item);
    /// As removeDumpItem(), for trace items.
    void removeTraceItem(AudioTraceItem& item);

    /// Removes all dump items.
    void clearDumpItem();
    /// Removes all trace items.
    void clearTraceItem();

private:
    template <typename Item>
    using Items = std::list<Item*>;

    CABINAUDIO_LOCAL void _parseConfigItems() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _parseDumpItem(cabinaudio::LineReader& lines) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _parseTraceItem(cabinaudio::LineReader& lines) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _parseLogItem(cabinaudio::LineReader& lines) CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL void _storeConfigItems() CABINAUDIO_REQUIRES(mLock);
    CABINAUDIO_LOCAL bool _writeConfigItems(int& error) CABINAUDIO_REQUIRES(mLock);

    // Set at construction.
    bool mReadOnly;

    // Guarded by mLock. The contents of an item returned to a caller are not protected.
    Items<AudioDumpItem> mDumpItems CABINAUDIO_GUARDED_BY(mLock);
    Items<AudioTraceItem> mTraceItems CABINAUDIO_GUARDED_BY(mLock);
    AudioLogLevel mLogLevel CABINAUDIO_GUARDED_BY(mLock);
    bool mEnMark CABINAUDIO_GUARDED_BY(mLock);

    // Has its own synchronization.
    AudioMutex mLock;
};
